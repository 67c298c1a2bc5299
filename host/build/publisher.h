#pragma once

#include "host/state/jobresult.h"
#include "host/workers/workerpool.h"

#include <chrono>

namespace Host
{

/// Publishes packed files in a process of its own, the last one of the pool, many at a time: what has come in while the
/// files before were flushed. The others need not wait for the disk.
class ZPublisher
{
public:
    explicit ZPublisher(ZWorkerPool& pool) : m_pool(pool), m_nWorker(pool.Size() - 1) {}

    size_t Worker() const { return m_nWorker; }
    void Add(const std::string& sId, const SPublication& file);
    /// Starts a batch when enough have come in, or the first has waited a moment: many at a time cost hardly more than
    /// one. With bHurry at once: no more will come soon, or somebody waits for one of them.
    void Continue(bool bHurry);
    bool HasWaiting() const { return m_atWork.ids.empty() && !m_waiting.ids.empty(); }
    bool IsIdle() const { return m_atWork.ids.empty() && m_waiting.ids.empty(); }
    /// Whether a passing file is still to be published.
    bool Has(const std::string& sPassingPath) const;

    struct SOutcome
    {
        std::string sId;
        std::string sError; ///< empty when the file stands in its place
    };
    /// For the line that the process sent.
    std::vector<SOutcome> OnPublished(const std::vector<std::string>& errors);
    /// For its end.
    std::vector<SOutcome> OnEnd(const std::string& sWhy);

private:
    using TClock = std::chrono::steady_clock;
    static constexpr size_t BATCH = 32; ///< worth a start at once
    static constexpr auto PATIENCE = std::chrono::milliseconds(10);

    void Start();

    ZWorkerPool& m_pool;
    size_t m_nWorker;
    struct SBatch
    {
        std::vector<std::string> ids;
        std::vector<SPublication> files;
    };
    SBatch m_waiting, m_atWork;
    TClock::time_point m_waitingSince;
};

} // namespace Host
