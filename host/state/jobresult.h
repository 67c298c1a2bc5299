#pragma once

#include "host/files/outputfile.h"
#include "host/index/sourcescan.h"
#include "host/module/job.h"
#include "host/state/reason.h"

#include <vector>

namespace Host
{

enum class EJobStatus
{
    ePacked,
    eUpToDate,
    eFailed,  ///< the packer said no, raised an exception or failed an assertion
    eCrashed, ///< its process ended, or was ended
    eRemoved, ///< what an earlier run packed of a source or take that is gone
    eToPack,  ///< a build would pack it
    eToRemove ///< a build would remove it
};
constexpr size_t JOB_STATUS_COUNT = 7;
std::string_view NameOf(EJobStatus eStatus);

/// What came of a job.
struct SJobResult
{
    SJob job;
    EJobStatus eStatus = EJobStatus::eFailed;
    std::vector<SMessage> messages;
    SPublication publication; ///< of a packed file that is complete and waits to be published; else empty
    std::string sFile;        ///< of the packed resource, below the output folder; empty when there is none
    uint64_t nBytes = 0;
    SFileStamp stamp; ///< of that file
    uint64_t nHash = 0;
    double fSeconds = 0.0; ///< what it needs from others and waits for not counted
    std::vector<SDependency> dependencies;
    std::vector<SReason> why; ///< it was not up to date, as far as that was asked for
    SSourceScan scan;         ///< of a scan; of one that failed, what it had found by then
    std::string sScan;        ///< the same as the index keeps it, while it is to be saved; its hash is nHash

    bool IsGood() const { return eStatus == EJobStatus::ePacked || eStatus == EJobStatus::eUpToDate; }
    const std::string* FirstError() const;
};

} // namespace Host
