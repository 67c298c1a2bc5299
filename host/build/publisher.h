#pragma once

#include "host/build/jobresult.h"
#include "host/workers/workerpool.h"

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

    struct SOutcome
    {
        std::string sId;
        std::string sError; ///< empty when the file stands in its place
    };
    /// For the line that the process sent. Goes on with what has come in meanwhile.
    std::vector<SOutcome> OnPublished(const std::vector<std::string>& errors);
    /// For its end.
    std::vector<SOutcome> OnEnd(const std::string& sWhy);

private:
    void Start();

    ZWorkerPool& m_pool;
    size_t m_nWorker;
    struct SBatch
    {
        std::vector<std::string> ids;
        std::vector<SPublication> files;
    };
    SBatch m_waiting, m_atWork;
};

} // namespace Host
