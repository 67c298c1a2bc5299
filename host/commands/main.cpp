#include "host/commands/commands.h"
#include "host/text/hosterror.h"

#include <csignal>
#include <string_view>
#include <unistd.h>

namespace
{

/// Large scene files are mapped; only one that others cut off meanwhile comes here.
void EndOnBusError(int)
{
    constexpr std::string_view TEXT = "animpack: error: a file became shorter while it was read\n";
    [[maybe_unused]] const ssize_t nWritten = ::write(STDERR_FILENO, TEXT.data(), TEXT.size());
    ::_exit(Host::eExit_HostFailed);
}

} // namespace

int main(int nArguments, char** ppArguments)
{
    std::signal(SIGBUS, &EndOnBusError);
    return Host::RunProgram(nArguments, ppArguments);
}
