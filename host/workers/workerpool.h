#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <sys/types.h>
#include <vector>

namespace Host
{

/// Lines of text over a connected socket, in both directions. A line holds no line feed.
class ZLineChannel
{
public:
    explicit ZLineChannel(int nSocket) : m_nSocket(nSocket) {}
    ZLineChannel(const ZLineChannel&) = delete;
    ZLineChannel& operator=(const ZLineChannel&) = delete;
    ~ZLineChannel();

    /// False when the other side is gone.
    bool Send(const std::string& sLine);
    /// The next line; waits for it. False when the other side is gone.
    bool Receive(std::string& sLine);

    /// Takes what has arrived, without waiting. False when the other side is gone, or sends a line without end.
    bool Collect();
    /// A line that was collected.
    bool Next(std::string& sLine);

    int Socket() const { return m_nSocket; }

    static constexpr size_t LONGEST_LINE = size_t(256) << 20;

private:
    int m_nSocket;
    std::string m_sReceived;
    size_t m_nTaken = 0;    ///< of m_sReceived
    size_t m_nSearched = 0; ///< without a line feed found
};

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
    /// The worker is idle or waits for others: its time does not count until the next Send().
    void StopClock(size_t nWorker) { m_workers[nWorker].bClock = false; }
    /// Ends a worker that can't be talked to any more; Wait() will tell of its end, with this reason.
    void Kill(size_t nWorker, const std::string& sReason);

    struct SEvent
    {
        size_t nWorker = 0;
        bool bEnded = false; ///< else a line has come
        std::string sText;   ///< the line, or why the worker ended
        pid_t nProcess = 0;  ///< that ended
    };
    /// What comes next from any worker, the lines of each in their order. False when fSeconds have passed.
    bool Wait(SEvent& event, double fSeconds);

    /// Whether SWorkerLimits::nMemory acts: not under sanitizers, whose own memory is beyond any bound that is of use.
    static bool BoundsMemory();

    /// How a process ended, in words: "SIGSEGV (Segmentation fault)".
    static std::string DescribeEnd(int nStatus);

private:
    using TClock = std::chrono::steady_clock;
    struct SWorker
    {
        pid_t nProcess = 0;
        std::unique_ptr<ZLineChannel> pChannel;
        bool bClock = false;
        bool bGone = false; ///< its channel has ended
        TClock::time_point deadline;
        std::string sKilledFor;
    };

    void Start(SWorker& worker);
    [[noreturn]] void RunWorker(int nSocket, pid_t nParent);
    std::string End(SWorker& worker);
    bool NextEvent(SEvent& event);

    std::vector<SWorker> m_workers;
    SWorkerLimits m_limits;
    FWorkerMain m_workerMain;
    size_t m_nFirst = 0; ///< the worker to ask first, so that none is always last
};

} // namespace Host
