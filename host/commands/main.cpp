#include "host/commands/commands.h"
#include "host/text/hosterror.h"
#include "os/interrupt.h"
#include "os/process.h"

#include <algorithm>
#include <string_view>

namespace
{

bool AsksForJson(int nArguments, char** ppArguments)
{
    return std::any_of(ppArguments, ppArguments + nArguments,
                       [](const char* szWord) { return std::string_view(szWord) == "--json"; });
}

} // namespace

int main(int nArguments, char** ppArguments)
{
    Os::OpenStandardStreams();
    Os::TellOnInterrupt(AsksForJson(nArguments, ppArguments) ? "{\"error\":\"interrupted\"}\n" : "",
                        "animpack: interrupted\n");
    Os::ExitOnInterrupt(Host::eExit_Interrupted);
    Os::IgnoreLostReaders();
    Os::ExitOnLostMapping("animpack: error: a file became shorter while it was read\n", Host::eExit_HostFailed);
    return Host::RunProgram(nArguments, ppArguments);
}
