#pragma once

#include "host/module/job.h"

#include <deque>
#include <span>
#include <string_view>
#include <vector>

namespace Host
{

/// Jobs that wait, in their order but for what saves reading a file again: a worker keeps the scene it read last.
class ZJobQueue
{
public:
    /// Tells source files apart, 0 stands for none. Two that share a number take a little longer and do no harm.
    using TFile = size_t;
    /// The source file in a job's identifier, which all jobs of one file share.
    static TFile FileOf(std::string_view id);

    bool IsEmpty() const { return m_waiting.empty(); }
    size_t Size() const { return m_waiting.size(); }
    void Add(const SJob& job) { m_waiting.push_back({job, FileOf(job.sId)}); }
    void AddFirst(const SJob& job) { m_waiting.push_front({job, FileOf(job.sId)}); }
    void Clear();

    /// The next one for a worker: of the file that it read last, else of a file that no worker has, else the first.
    SJob Take(TFile own, std::span<const TFile> ofAll);

    /// A job that can't start before something that runs is done; Resume() puts those in front.
    void Postpone(const SJob& job) { m_postponed.push_back({job, FileOf(job.sId)}); }
    void Resume();

private:
    static constexpr size_t MOST_OUT_OF_TURN = 64; ///< jobs that one may overtake

    struct SWaiting
    {
        SJob job;
        TFile file;
    };
    std::deque<SWaiting> m_waiting;
    std::vector<SWaiting> m_postponed;
};

} // namespace Host
