#pragma once

#include "host/files/contenthash.h"
#include "host/files/outputfile.h"
#include "host/index/sourcescan.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Host
{

/// One thing to do, done in a worker process.
struct SJob
{
    enum EKind
    {
        eScan, ///< sId is a source's identifier
        ePack  ///< sId is a derived identifier in its canonical spelling
    };
    EKind eKind = ePack;
    std::string sId;

    /// The source that diagnostics name: for a packed resource what it is made from.
    std::string Source() const;
    /// Empty when nothing here makes it.
    std::string Component() const;
};

enum class ESeverity
{
    eInfo,
    eWarning,
    eError
};
std::string_view NameOf(ESeverity eSeverity);

struct SMessage
{
    ESeverity eSeverity = ESeverity::eInfo;
    std::string sText;
};

enum class EJobStatus
{
    ePacked,
    eUpToDate,
    eFailed, ///< the packer said no, raised an exception or failed an assertion
    eCrashed ///< its process ended, or was ended
};
std::string_view NameOf(EJobStatus eStatus);

/// Something that a job looked at. When it is not the same any more, the job's result is stale.
struct SDependency
{
    enum EKind
    {
        eSource,  ///< a file of the asset tree, there or not
        eDerived, ///< a packed resource; nHash is that of its file
    };
    EKind eKind = eSource;
    std::string sId; ///< identifier of the file, or canonical derived identifier
    SFileStamp stamp;
    uint64_t nHash = 0; ///< 0: unknown, size and time decide
};

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
    SSourceScan scan; ///< of a scan; of one that failed, what it had found by then

    bool IsGood() const { return eStatus == EJobStatus::ePacked || eStatus == EJobStatus::eUpToDate; }
    const std::string* FirstError() const;
};

// The lines between host and worker. Each is one JSON object.

/// Host to worker: a job to do. With bPublishLater its file, if it is no other job's need, is left to be published.
std::string EncodeJob(const SJob& job, bool bPublishLater);
/// Host to worker: the answer to "need".
std::string EncodeAnswer(std::string_view answer, std::string_view why);
/// Worker to host.
std::string EncodeMessage(const SMessage& message);
std::string EncodeNeed(std::string_view id);
std::string EncodeResult(const SJobResult& result);
/// Host to worker: files to publish, and the answer, an error or an empty text for each.
std::string EncodePublish(const std::vector<SPublication>& files);
std::string EncodePublished(const std::vector<std::string>& errors);

/// Any line that either side may get. False for what is none: the other side is not to be trusted any more.
struct SLine
{
    enum EKind
    {
        eJob,
        eAnswer,
        eMessage,
        eNeed,
        eResult,
        ePublish,
        ePublished
    };
    EKind eKind = eJob;
    SJob job;
    bool bPublishLater = false;
    std::vector<SPublication> files;
    std::vector<std::string> errors;
    std::string sText; ///< answer, or identifier needed
    std::string sWhy;
    SMessage message;
    SJobResult result;
};
bool DecodeLine(std::string_view text, SLine& line);

/// Answers to a worker that needs a packed resource.
constexpr std::string_view ANSWER_READY = "ready";     ///< its file stands in its place
constexpr std::string_view ANSWER_PACK = "pack";       ///< make it now, inside the job that needs it
constexpr std::string_view ANSWER_FAILED = "failed";   ///< its own job tells why
constexpr std::string_view ANSWER_REFUSED = "refused"; ///< there is no job that would tell why

} // namespace Host
