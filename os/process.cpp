#include "os/process.h"

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace Os
{

namespace
{

std::string_view g_lostMappingText;
int g_nLostMappingCode = 0;

void OnBusError(int)
{
    [[maybe_unused]] const ssize_t nWritten =
        ::write(STDERR_FILENO, g_lostMappingText.data(), g_lostMappingText.size());
    ::_exit(g_nLostMappingCode);
}

} // namespace

TProcessId OwnProcess()
{
    return ::getpid();
}

TProcessId ParentProcess()
{
    return ::getppid();
}

std::string MachineName()
{
    char szName[256] = {};
    return ::gethostname(szName, sizeof szName - 1) == 0 ? szName : std::string();
}

void OpenStandardStreams()
{
    for (const int nStream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (::fcntl(nStream, F_GETFD) < 0)
            // The lowest number that is free, which is this one.
            static_cast<void>(::open("/dev/null", O_RDONLY));
}

void ExitNow(int nExitCode)
{
    ::_exit(nExitCode);
}

void ExitOnLostMapping(std::string_view text, int nExitCode)
{
    g_lostMappingText = text;
    g_nLostMappingCode = nExitCode;
    std::signal(SIGBUS, &OnBusError);
}

} // namespace Os
