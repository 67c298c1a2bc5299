#include "host/commands/commands.h"
#include "host/text/hosterror.h"
#include "os/interrupt.h"
#include "os/process.h"

int main(int nArguments, char** ppArguments)
{
    Os::OpenStandardStreams();
    Os::ExitOnInterrupt(Host::eExit_Interrupted);
    Os::ExitOnLostMapping("animpack: error: a file became shorter while it was read\n", Host::eExit_HostFailed);
    return Host::RunProgram(nArguments, ppArguments);
}
