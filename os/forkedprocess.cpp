#include "os/forkedprocess.h"

#include "os/errors.h"
#include "os/interrupt.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Os
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

[[noreturn]] void RunCopy(int nSocket, const ZBell& bell, TProcessId nParent, uint64_t nMemory,
                          const std::function<int(ZLineChannel&)>& main)
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    std::signal(SIGBUS, SIG_DFL); // the parent tells what it means
    if (::getppid() != nParent)
        ::_exit(0);
    // Whatever a module prints must not get between the lines of standard output.
    ::dup2(STDERR_FILENO, STDOUT_FILENO);
    BoundMemory(nMemory);
    int nExitCode = 0;
    {
        ZLineChannel channel(nSocket, &bell);
        nExitCode = main(channel);
    }
    std::fflush(nullptr);
    // The parent's objects, copied by the fork, are not this process's to end.
    ::_exit(nExitCode);
}

} // namespace

std::error_code ForkProcess(const ZBell& bell, uint64_t nMemory, const std::function<void()>& beforeMain,
                            const std::function<int(ZLineChannel&)>& main, SForkedProcess& process)
{
    int sockets[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets) != 0)
        return LastError();
    // What stands in the buffers now would be written by both.
    std::fflush(nullptr);
    const TProcessId nParent = ::getpid();
    // One that comes before the copy ignores it would be answered twice.
    sigset_t all, before;
    sigfillset(&all);
    ::pthread_sigmask(SIG_BLOCK, &all, &before);
    const TProcessId nProcess = ::fork();
    const int nForkError = errno;
    if (nProcess == 0)
        IgnoreInterrupts();
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (nProcess == 0)
    {
        ::close(sockets[0]);
        beforeMain();
        RunCopy(sockets[1], bell, nParent, nMemory, main);
    }
    const std::error_code error =
        nProcess < 0 ? std::error_code(nForkError, std::generic_category()) : std::error_code();
    ::close(sockets[1]);
    if (error)
        ::close(sockets[0]);
    else
        process = {nProcess, std::make_unique<ZLineChannel>(sockets[0])};
    return error;
}

void KillProcess(TProcessId nProcess)
{
    ::kill(nProcess, SIGKILL);
}

std::string AwaitEnd(TProcessId nProcess)
{
    int nStatus = 0;
    // The channel ends a little before the process; one that goes on without a channel is of no use.
    for (int nTry = 0;; ++nTry)
    {
        const TProcessId nEnded = ::waitpid(nProcess, &nStatus, WNOHANG);
        if (nEnded == nProcess || (nEnded < 0 && errno != EINTR))
            break;
        if (nTry == PATIENCE)
            ::kill(nProcess, SIGKILL);
        ::usleep(nTry < 20 ? 100 : 1000);
    }
    return DescribeEnd(nStatus);
}

std::string DescribeEnd(int nStatus)
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

bool BoundsMemory()
{
    return BOUND_MEMORY;
}

} // namespace Os
