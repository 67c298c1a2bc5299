#pragma once

#include "host/state/jobresult.h"

#include <map>
#include <string>
#include <vector>

namespace Host
{

/// What came of a build: how many of each status, why some failed, and which took longest.
class ZBuildTotals
{
public:
    void Add(const SJobResult& result);
    size_t Count(EJobStatus eStatus) const { return m_counts[static_cast<size_t>(eStatus)]; }
    bool IsGood() const { return Count(EJobStatus::eFailed) + Count(EJobStatus::eCrashed) == 0; }
    uint64_t Bytes() const { return m_nBytes; } ///< packed

    /// Jobs that failed for one reason: texts that differ in names and numbers alone are one.
    struct SCause
    {
        std::string sText; ///< of the first job
        size_t nJobs = 0;
        std::string sFirst; ///< source of the first job
    };
    /// The most frequent first.
    std::vector<SCause> Causes() const;

    struct SSlow
    {
        std::string sId; ///< of the job
        double fSeconds = 0.0;
    };
    /// Of what was packed, the slowest first.
    const std::vector<SSlow>& Slowest() const { return m_slowest; }
    static constexpr size_t MOST_SLOW = 5;

    double fSeconds = 0.0; ///< of the whole run
    bool bInterrupted = false;
    bool bForeseen = false; ///< nothing was done

private:
    size_t m_counts[JOB_STATUS_COUNT] = {};
    uint64_t m_nBytes = 0;
    std::vector<SSlow> m_slowest;
    std::vector<SCause> m_causes; ///< in the order in which they came up
    std::map<std::string, size_t> m_byText;
};

} // namespace Host
