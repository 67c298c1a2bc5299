#include "os/process.h"

#include <csignal>
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
