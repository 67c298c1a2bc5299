#include "samples/effectcompiler/childprocess.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace Samples
{

namespace
{

void Limit(int nResource, uint64_t nMost)
{
    const struct rlimit limit = {static_cast<rlim_t>(nMost), static_cast<rlim_t>(nMost)};
    ::setrlimit(static_cast<__rlimit_resource>(nResource), &limit);
}

/// What asks a process to end and lets it clean up.
sigset_t EndingSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int nSignal : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&signals, nSignal);
    return signals;
}

bool IsAskedToEnd()
{
    sigset_t pending;
    return ::sigpending(&pending) == 0 && (sigismember(&pending, SIGINT) == 1 || sigismember(&pending, SIGTERM) == 1 ||
                                           sigismember(&pending, SIGHUP) == 1);
}

/// Between fork and exec: nothing here allocates or takes a lock.
[[noreturn]] void Become(const char* szProgram, char* const* ppArguments, char* const* ppEnvironment,
                         const char* szOutput, const char* szError, const SProcessLimits& limits, int nReport)
{
    // A group of its own, so that what the program starts can be ended with it.
    ::setpgid(0, 0);
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    std::signal(SIGPIPE, SIG_DFL);
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    Limit(RLIMIT_CPU, limits.nProcessorSeconds);
    Limit(RLIMIT_AS, limits.nMemory);
    Limit(RLIMIT_FSIZE, limits.nOutputBytes);
    Limit(RLIMIT_CORE, 0);
    const int nInput = ::open("/dev/null", O_RDONLY);
    const int nOutput = ::open(szOutput, O_WRONLY | O_CREAT | O_TRUNC, 0600);
    const int nError = ::open(szError, O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (nInput >= 0 && nOutput >= 0 && nError >= 0 && ::dup2(nInput, STDIN_FILENO) >= 0 &&
        ::dup2(nOutput, STDOUT_FILENO) >= 0 && ::dup2(nError, STDERR_FILENO) >= 0)
        ::execve(szProgram, ppArguments, ppEnvironment);
    const int nWhy = errno;
    [[maybe_unused]] const ssize_t nWritten = ::write(nReport, &nWhy, sizeof nWhy);
    ::_exit(127);
}

SProcessEnd WaitFor(pid_t nProcess, double fSeconds)
{
    using TClock = std::chrono::steady_clock;
    const auto deadline =
        TClock::now() + std::chrono::duration_cast<TClock::duration>(std::chrono::duration<double>(fSeconds));
    auto pause = std::chrono::microseconds(200);
    int nStatus = 0;
    bool bTimedOut = false;
    while (::waitpid(nProcess, &nStatus, bTimedOut ? 0 : WNOHANG) == 0)
    {
        if (IsAskedToEnd())
            ::kill(-nProcess, SIGKILL); // again and again until it is gone: it may not lead its group yet
        if (TClock::now() >= deadline)
        {
            ::kill(-nProcess, SIGKILL);
            bTimedOut = true;
        }
        else
        {
            std::this_thread::sleep_for(pause);
            pause = std::min(pause * 2, std::chrono::microseconds(5000));
        }
    }
    // Whatever it has left behind.
    ::kill(-nProcess, SIGKILL);
    if (bTimedOut)
        return {SProcessEnd::eTimedOut, 0};
    if (WIFSIGNALED(nStatus))
        return {SProcessEnd::eKilled, WTERMSIG(nStatus)};
    return {SProcessEnd::eExited, WEXITSTATUS(nStatus)};
}

std::vector<char*> Pointers(std::vector<std::string>& words)
{
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (std::string& sWord : words)
        pointers.push_back(sWord.data());
    pointers.push_back(nullptr);
    return pointers;
}

} // namespace

SProcessEnd RunProcess(const std::string& sProgram, const std::vector<std::string>& arguments,
                       const std::string& sOutputFile, const std::string& sErrorFile, const SProcessLimits& limits)
{
    std::vector<std::string> words{sProgram};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<std::string> environment;
    for (const char* szName : {"PATH", "HOME", "TMPDIR", "LD_LIBRARY_PATH"})
        if (const char* szValue = std::getenv(szName))
            environment.push_back(std::string(szName) + '=' + szValue);
    environment.emplace_back("LC_ALL=C");
    const std::vector<char*> wordPointers = Pointers(words);
    const std::vector<char*> environmentPointers = Pointers(environment);

    int report[2];
    if (::pipe2(report, O_CLOEXEC) != 0)
        return {SProcessEnd::eNotStarted, errno};
    const pid_t nProcess = ::fork();
    if (nProcess == 0)
        Become(sProgram.c_str(), wordPointers.data(), environmentPointers.data(), sOutputFile.c_str(),
               sErrorFile.c_str(), limits, report[1]);
    const int nForkError = errno;
    ::close(report[1]);
    if (nProcess < 0)
    {
        ::close(report[0]);
        return {SProcessEnd::eNotStarted, nForkError};
    }
    // Ends at once when the program has started: its end of the pipe is closed then.
    int nWhy = 0;
    const bool bStarted = ::read(report[0], &nWhy, sizeof nWhy) != sizeof nWhy;
    ::close(report[0]);
    const SProcessEnd end = WaitFor(nProcess, limits.fSeconds);
    return bStarted ? end : SProcessEnd{SProcessEnd::eNotStarted, nWhy};
}

std::string FindProgram(const std::string& sName)
{
    const char* szPath = std::getenv("PATH");
    const std::string sPath = szPath != nullptr ? szPath : "/usr/bin:/bin";
    for (size_t nStart = 0; nStart <= sPath.size();)
    {
        const size_t nEnd = std::min(sPath.find(':', nStart), sPath.size());
        std::string sFile = sPath.substr(nStart, nEnd - nStart) + '/' + sName;
        std::error_code error;
        if (nEnd > nStart && std::filesystem::is_regular_file(sFile, error) && ::access(sFile.c_str(), X_OK) == 0)
            return sFile;
        nStart = nEnd + 1;
    }
    return {};
}

ZScratchFolder::ZScratchFolder(const std::string& sParent)
{
    const char* szDefault = std::getenv("TMPDIR");
    std::string sFolder = !sParent.empty()                               ? sParent
                          : szDefault != nullptr && szDefault[0] != '\0' ? szDefault
                                                                         : "/tmp";
    m_sPath = sFolder + "/effect-XXXXXX";
    const sigset_t ending = EndingSignals();
    ::pthread_sigmask(SIG_BLOCK, &ending, &m_before);
    if (::mkdtemp(m_sPath.data()) == nullptr)
    {
        const std::error_code error(errno, std::generic_category());
        ::pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
        throw std::system_error(error, "no temporary folder can be made in '" + sFolder + "'");
    }
}

ZScratchFolder::~ZScratchFolder()
{
    std::error_code error;
    std::filesystem::remove_all(m_sPath, error);
    ::pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
}

} // namespace Samples
