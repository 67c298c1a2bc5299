#include "host/workers/workerpool.h"

#include "host/text/hosterror.h"
#include "host/text/textformat.h"
#include "os/interrupt.h"

#include <algorithm>
#include <cstdio>
#include <vector>

namespace Host
{

namespace
{

/// Neither a clock nor an integer has room for any number of seconds.
double Bounded(double fSeconds)
{
    constexpr double MOST = 1e8;
    return fSeconds < MOST ? fSeconds : MOST;
}

} // namespace

ZWorkerPool::ZWorkerPool(size_t nWorkers, const SWorkerLimits& limits, FWorkerMain workerMain)
    : m_workers(std::max<size_t>(nWorkers, 1)), m_limits(limits), m_workerMain(std::move(workerMain))
{
    m_limits.fSeconds = Bounded(m_limits.fSeconds);
}

ZWorkerPool::~ZWorkerPool()
{
    // Idle workers end with their channel; one that is still at work would keep this process waiting.
    for (SWorker& worker : m_workers)
        if (worker.process.nProcess != 0 && worker.bClock)
            Os::KillProcess(worker.process.nProcess);
    for (SWorker& worker : m_workers)
        worker.process.pChannel.reset();
    for (SWorker& worker : m_workers)
        if (worker.process.nProcess != 0)
            End(worker);
}

void ZWorkerPool::Start(SWorker& worker)
{
    worker = SWorker();
    const auto letGo = [this]
    {
        for (SWorker& other : m_workers)
            other.process.pChannel.reset();
    };
    if (const std::error_code error = Os::ForkProcess(
            m_bell, m_limits.nMemory, letGo, [this](ZLineChannel& channel) { return RunWorker(channel); },
            worker.process))
        throw ZHostError("no worker process can be made: " + error.message());
}

int ZWorkerPool::RunWorker(ZLineChannel& channel) const
{
    try
    {
        m_workerMain(channel);
        return 0;
    }
    catch (const std::exception& e)
    {
        std::fprintf(stderr, "animpack worker: %s\n", e.what());
        return 1;
    }
}

ZWorkerPool::TClock::time_point ZWorkerPool::DeadlineFromNow() const
{
    return TClock::now() +
           std::chrono::duration_cast<TClock::duration>(std::chrono::duration<double>(m_limits.fSeconds));
}

void ZWorkerPool::Queue(size_t nWorker, const std::string& sLine)
{
    SWorker& worker = m_workers[nWorker];
    if (worker.process.nProcess == 0)
        Start(worker);
    worker.bClock = true;
    worker.deadline = DeadlineFromNow();
    worker.process.pChannel->Queue(sLine);
}

void ZWorkerPool::Send(size_t nWorker, const std::string& sLine)
{
    Queue(nWorker, sLine);
    m_workers[nWorker].bGone |= !m_workers[nWorker].process.pChannel->SendQueued();
}

void ZWorkerPool::SendQueued()
{
    for (SWorker& worker : m_workers)
        if (worker.process.nProcess != 0 && worker.process.pChannel->HasQueued())
            worker.bGone |= !worker.process.pChannel->SendQueued();
}

void ZWorkerPool::Kill(size_t nWorker, const std::string& sReason)
{
    SWorker& worker = m_workers[nWorker];
    worker.sKilledFor = sReason;
    worker.bGone = true;
    if (worker.process.nProcess != 0)
        Os::KillProcess(worker.process.nProcess);
}

std::string ZWorkerPool::End(SWorker& worker)
{
    const std::string sEnd = Os::AwaitEnd(worker.process.nProcess);
    const std::string sWhy = worker.sKilledFor.empty() ? sEnd : worker.sKilledFor;
    worker = SWorker();
    return sWhy;
}

bool ZWorkerPool::NextEvent(SEvent& event)
{
    for (size_t i = 0; i < m_workers.size(); ++i)
    {
        const size_t n = (m_nFirst + i) % m_workers.size();
        SWorker& worker = m_workers[n];
        if (worker.process.nProcess == 0)
            continue;
        event.nWorker = n;
        event.bEnded = false;
        // Of a worker that is gone, what it still said comes first; of one that was killed, nothing.
        if (worker.sKilledFor.empty() && worker.process.pChannel->Next(event.sText))
        {
            worker.deadline = DeadlineFromNow();
            m_nFirst = n + 1;
            return true;
        }
        if (worker.bGone)
        {
            event.bEnded = true;
            event.nProcess = worker.process.nProcess;
            event.sText = End(worker);
            return true;
        }
    }
    return false;
}

bool ZWorkerPool::Wait(SEvent& event, double fSeconds)
{
    const TClock::time_point end =
        TClock::now() + std::chrono::duration_cast<TClock::duration>(std::chrono::duration<double>(fSeconds));
    const bool bNews = !Os::Interrupted();
    while (!NextEvent(event))
    {
        SendQueued();
        std::vector<Os::SLineWait> waits;
        std::vector<size_t> owners;
        TClock::time_point wake = end;
        const TClock::time_point look = TClock::now() + LOOK;
        for (size_t n = 0; n < m_workers.size(); ++n)
        {
            const SWorker& worker = m_workers[n];
            if (worker.process.nProcess == 0)
                continue;
            const bool bQuiet = worker.bQuiet && !worker.bSlow && !worker.bGone && m_bell.IsThere();
            waits.push_back({worker.process.pChannel.get(), bQuiet});
            owners.push_back(n);
            if (bQuiet)
                wake = std::min(wake, look);
            if (worker.bClock && m_limits.fSeconds > 0.0)
                wake = std::min(wake, worker.deadline);
        }
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(wake - TClock::now()).count();
        const bool bAny = Os::WaitForLines(waits, m_bell, static_cast<int>(std::clamp<int64_t>(left, 0, 60000)));
        const TClock::time_point now = TClock::now();
        for (size_t i = 0; i < waits.size(); ++i)
        {
            SWorker& worker = m_workers[owners[i]];
            const bool bLook = waits[i].bQuiet && now >= look;
            if (waits[i].bReady || bLook)
            {
                worker.bGone |= !worker.process.pChannel->Collect();
                worker.bSlow = (bLook || worker.bSlow) && !worker.process.pChannel->HasNext();
            }
            else if (worker.bClock && m_limits.fSeconds > 0.0 && now >= worker.deadline)
                Kill(owners[i], Formatted("took longer than %g seconds (see --job-timeout)", m_limits.fSeconds));
        }
        if (!bAny && (now >= end || (bNews && Os::Interrupted())))
            return NextEvent(event);
    }
    return true;
}

} // namespace Host
