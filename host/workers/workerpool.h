#pragma once

#include "os/forkedprocess.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Host
{

using Os::ZLineChannel;

/// Bounds on a worker, so that one bad file does not eat the machine.
struct SWorkerLimits
{
    uint64_t nMemory = 0;  ///< bytes of its own data; 0: no bound
    double fSeconds = 0.0; ///< between two lines while its clock runs; 0: no bound
};

/// Worker processes, forked when first needed and again when one has ended. They share what this process has loaded by
/// then, so it must not have started a thread.
///
/// A worker runs the pool's function on its end of a channel and ends with it. It never outlives this process.
class ZWorkerPool
{
public:
    using FWorkerMain = std::function<void(ZLineChannel&)>;

    ZWorkerPool(size_t nWorkers, const SWorkerLimits& limits, FWorkerMain workerMain);
    ~ZWorkerPool();
    ZWorkerPool(const ZWorkerPool&) = delete;
    ZWorkerPool& operator=(const ZWorkerPool&) = delete;

    size_t Size() const { return m_workers.size(); }

    /// Starts the worker if it does not run, and its clock. A worker that is gone by then shows in Wait(). ZHostError
    /// when no process can be made.
    void Send(size_t nWorker, const std::string& sLine);
    /// The same with the next Send(), or when nothing more is there to be told by Wait().
    void Queue(size_t nWorker, const std::string& sLine);
    /// A quiet worker's lines are looked for every few milliseconds, and when it needs an answer or has nothing more to
    /// do: to be woken for each of many short jobs takes two processes longer than the jobs' own lines.
    void SetQuiet(size_t nWorker, bool bQuiet) { m_workers[nWorker].bQuiet = bQuiet; }
    /// The worker is idle or waits for others: its time does not count until the next Send().
    void StopClock(size_t nWorker) { m_workers[nWorker].bClock = false; }
    /// Ends a worker that can't be talked to any more; Wait() will tell of its end, with this reason.
    void Kill(size_t nWorker, const std::string& sReason);

    struct SEvent
    {
        size_t nWorker = 0;
        bool bEnded = false;         ///< else a line has come
        std::string sText;           ///< the line, or why the worker ended
        Os::TProcessId nProcess = 0; ///< that ended
    };
    /// What comes next from any worker, the lines of each in their order. False when fSeconds have passed, or when an
    /// interrupt is noted meanwhile.
    bool Wait(SEvent& event, double fSeconds);

private:
    using TClock = std::chrono::steady_clock;
    static constexpr auto LOOK = std::chrono::milliseconds(2);
    struct SWorker
    {
        Os::SForkedProcess process;
        bool bClock = false;
        bool bGone = false; ///< its channel has ended
        bool bQuiet = false;
        bool bSlow = false; ///< said nothing when it was looked at last: to be woken by it costs less than to look
        TClock::time_point deadline;
        std::string sKilledFor;
    };

    void Start(SWorker& worker);
    int RunWorker(ZLineChannel& channel) const;
    std::string End(SWorker& worker);
    bool NextEvent(SEvent& event);
    TClock::time_point DeadlineFromNow() const;
    void SendQueued();

    Os::ZBell m_bell;
    std::vector<SWorker> m_workers;
    SWorkerLimits m_limits;
    FWorkerMain m_workerMain;
    size_t m_nFirst = 0; ///< the worker to ask first, so that none is always last
};

} // namespace Host
