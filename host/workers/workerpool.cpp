#include "host/workers/workerpool.h"

#include "host/text/hosterror.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Host
{

namespace
{

#if defined(__SANITIZE_ADDRESS__)
constexpr bool BOUND_MEMORY = false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool BOUND_MEMORY = false;
#else
constexpr bool BOUND_MEMORY = true;
#endif
#else
constexpr bool BOUND_MEMORY = true;
#endif

/// Looks at a process that is ending, about a millisecond apart.
constexpr int PATIENCE = 2000;

/// Of data, not of address space: scenes of many gigabytes are mapped and hardly read.
void BoundMemory(uint64_t nBytes)
{
    struct rlimit limit
    {
    };
    if (!BOUND_MEMORY || nBytes == 0 || ::getrlimit(RLIMIT_DATA, &limit) != 0)
        return;
    limit.rlim_cur = std::min<rlim_t>(nBytes, limit.rlim_max);
    ::setrlimit(RLIMIT_DATA, &limit);
}

} // namespace

ZLineChannel::~ZLineChannel()
{
    ::close(m_nSocket);
}

bool ZLineChannel::Send(const std::string& sLine)
{
    const std::string sText = sLine + '\n';
    size_t nSent = 0;
    while (nSent < sText.size())
    {
        const ssize_t n = ::send(m_nSocket, sText.data() + nSent, sText.size() - nSent, MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return false;
        nSent += static_cast<size_t>(n);
    }
    return true;
}

bool ZLineChannel::Next(std::string& sLine)
{
    const size_t nEnd = m_sReceived.find('\n', std::max(m_nSearched, m_nTaken));
    if (nEnd == std::string::npos)
    {
        m_sReceived.erase(0, m_nTaken);
        m_nTaken = 0;
        m_nSearched = m_sReceived.size();
        return false;
    }
    sLine.assign(m_sReceived, m_nTaken, nEnd - m_nTaken);
    m_nTaken = m_nSearched = nEnd + 1;
    return true;
}

bool ZLineChannel::Collect()
{
    char buffer[65536];
    while (true)
    {
        const ssize_t n = ::recv(m_nSocket, buffer, sizeof buffer, MSG_DONTWAIT);
        if (n > 0)
            m_sReceived.append(buffer, static_cast<size_t>(n));
        if (m_sReceived.size() - m_nTaken > LONGEST_LINE)
            return false;
        if (n > 0 || (n < 0 && errno == EINTR))
            continue;
        return n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK);
    }
}

bool ZLineChannel::Receive(std::string& sLine)
{
    while (!Next(sLine))
    {
        struct pollfd ready = {m_nSocket, POLLIN, 0};
        if (::poll(&ready, 1, -1) < 0 && errno != EINTR)
            return false;
        if (ready.revents != 0 && !Collect())
            return Next(sLine);
    }
    return true;
}

ZWorkerPool::ZWorkerPool(size_t nWorkers, const SWorkerLimits& limits, FWorkerMain workerMain)
    : m_workers(std::max<size_t>(nWorkers, 1)), m_limits(limits), m_workerMain(std::move(workerMain))
{
}

ZWorkerPool::~ZWorkerPool()
{
    // Idle workers end with their channel; one that is still at work would keep this process waiting.
    for (SWorker& worker : m_workers)
        if (worker.nProcess != 0 && worker.bClock)
            ::kill(worker.nProcess, SIGKILL);
    for (SWorker& worker : m_workers)
        worker.pChannel.reset();
    for (SWorker& worker : m_workers)
        if (worker.nProcess != 0)
            End(worker);
}

void ZWorkerPool::Start(SWorker& worker)
{
    int sockets[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets) != 0)
        throw ZHostError(std::string("no channel to a worker can be made: ") + std::strerror(errno));
    // What stands in the buffers now would be written by both.
    std::fflush(nullptr);
    const pid_t nParent = ::getpid();
    const pid_t nProcess = ::fork();
    if (nProcess < 0)
    {
        const std::string sWhy = std::strerror(errno);
        ::close(sockets[0]);
        ::close(sockets[1]);
        throw ZHostError("no worker process can be made: " + sWhy);
    }
    if (nProcess == 0)
    {
        ::close(sockets[0]);
        for (SWorker& other : m_workers)
            other.pChannel.reset();
        RunWorker(sockets[1], nParent);
    }
    ::close(sockets[1]);
    worker = SWorker();
    worker.nProcess = nProcess;
    worker.pChannel = std::make_unique<ZLineChannel>(sockets[0]);
}

void ZWorkerPool::RunWorker(int nSocket, pid_t nParent)
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    std::signal(SIGBUS, SIG_DFL); // the parent tells what it means
    if (::getppid() != nParent)
        ::_exit(0);
    // Whatever a module prints must not get between the lines of standard output.
    ::dup2(STDERR_FILENO, STDOUT_FILENO);
    BoundMemory(m_limits.nMemory);
    try
    {
        ZLineChannel channel(nSocket);
        m_workerMain(channel);
    }
    catch (const std::exception& e)
    {
        std::fprintf(stderr, "animpack worker: %s\n", e.what());
        std::fflush(nullptr);
        ::_exit(1);
    }
    std::fflush(nullptr);
    // The parent's objects, copied by the fork, are not this process's to end.
    ::_exit(0);
}

void ZWorkerPool::Send(size_t nWorker, const std::string& sLine)
{
    SWorker& worker = m_workers[nWorker];
    if (worker.nProcess == 0)
        Start(worker);
    worker.bClock = true;
    worker.deadline =
        TClock::now() + std::chrono::duration_cast<TClock::duration>(std::chrono::duration<double>(m_limits.fSeconds));
    if (!worker.pChannel->Send(sLine))
        worker.bGone = true;
}

void ZWorkerPool::Kill(size_t nWorker, const std::string& sReason)
{
    SWorker& worker = m_workers[nWorker];
    worker.sKilledFor = sReason;
    worker.bGone = true;
    if (worker.nProcess != 0)
        ::kill(worker.nProcess, SIGKILL);
}

std::string ZWorkerPool::End(SWorker& worker)
{
    int nStatus = 0;
    // The channel ends a little before the process; one that goes on without a channel is of no use.
    for (int nTry = 0;; ++nTry)
    {
        const pid_t nEnded = ::waitpid(worker.nProcess, &nStatus, WNOHANG);
        if (nEnded == worker.nProcess || (nEnded < 0 && errno != EINTR))
            break;
        if (nTry == PATIENCE)
            ::kill(worker.nProcess, SIGKILL);
        ::usleep(nTry < 20 ? 100 : 1000);
    }
    const std::string sWhy = worker.sKilledFor.empty() ? DescribeEnd(nStatus) : worker.sKilledFor;
    worker = SWorker();
    return sWhy;
}

bool ZWorkerPool::BoundsMemory()
{
    return BOUND_MEMORY;
}

std::string ZWorkerPool::DescribeEnd(int nStatus)
{
    if (!WIFSIGNALED(nStatus))
        return "ended with the exit status " + std::to_string(WEXITSTATUS(nStatus));
    const int nSignal = WTERMSIG(nStatus);
    const char* szName = ::sigabbrev_np(nSignal);
    const char* szText = ::sigdescr_np(nSignal);
    std::string sText = szName != nullptr ? std::string("SIG") + szName : "signal " + std::to_string(nSignal);
    if (szText != nullptr)
        sText += std::string(" (") + szText + ')';
    if (nSignal == SIGKILL)
        sText += ", perhaps because the system ran out of memory";
    if (nSignal == SIGBUS)
        sText += ", perhaps because a file became shorter while it was read";
    return sText;
}

bool ZWorkerPool::NextEvent(SEvent& event)
{
    for (size_t i = 0; i < m_workers.size(); ++i)
    {
        const size_t n = (m_nFirst + i) % m_workers.size();
        SWorker& worker = m_workers[n];
        if (worker.nProcess == 0)
            continue;
        event.nWorker = n;
        event.bEnded = false;
        // Of a worker that is gone, what it still said comes first; of one that was killed, nothing.
        if (worker.sKilledFor.empty() && worker.pChannel->Next(event.sText))
        {
            worker.deadline = TClock::now() + std::chrono::duration_cast<TClock::duration>(
                                                  std::chrono::duration<double>(m_limits.fSeconds));
            m_nFirst = n + 1;
            return true;
        }
        if (worker.bGone)
        {
            event.bEnded = true;
            event.nProcess = worker.nProcess;
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
    while (!NextEvent(event))
    {
        std::vector<struct pollfd> sockets;
        std::vector<size_t> owners;
        TClock::time_point wake = end;
        for (size_t n = 0; n < m_workers.size(); ++n)
        {
            const SWorker& worker = m_workers[n];
            if (worker.nProcess == 0)
                continue;
            sockets.push_back({worker.pChannel->Socket(), POLLIN, 0});
            owners.push_back(n);
            if (worker.bClock && m_limits.fSeconds > 0.0)
                wake = std::min(wake, worker.deadline);
        }
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(wake - TClock::now()).count() + 1;
        const int nReady =
            ::poll(sockets.data(), sockets.size(), static_cast<int>(std::clamp<int64_t>(left, 0, 60000)));
        const TClock::time_point now = TClock::now();
        for (size_t i = 0; i < sockets.size(); ++i)
        {
            SWorker& worker = m_workers[owners[i]];
            if (nReady > 0 && sockets[i].revents != 0)
                worker.bGone |= !worker.pChannel->Collect();
            else if (worker.bClock && m_limits.fSeconds > 0.0 && now >= worker.deadline)
                Kill(owners[i], "took longer than " + std::to_string(static_cast<int64_t>(m_limits.fSeconds)) +
                                    " seconds (see --job-timeout)");
        }
        if (nReady <= 0 && now >= end)
            return NextEvent(event);
    }
    return true;
}

} // namespace Host
