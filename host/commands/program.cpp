#include "host/commands/commands.h"
#include "host/commands/effectcommand.h"
#include "host/text/hosterror.h"

#include <cstdio>
#include <new>

namespace Host
{

namespace
{

constexpr struct
{
    std::string_view name;
    int (*pRun)(const SOptions& options, ZConsole& console);
} COMMANDS[] = {
    {"scan", &RunScan},       {"pack", &RunPack},   {"build", &RunBuild},   {"query", &RunQuery},
    {"inspect", &RunInspect}, {"stats", &RunStats}, {"verify", &RunVerify}, {"scene", &RunScene},
    {"effect", &RunEffect},   {"mark", &RunMark},
};

} // namespace

int RunProgram(int nArguments, const char* const* ppArguments)
{
    SOptions options;
    int nExitCode = eExit_Done;
    if (!ReadCommandLine(nArguments, ppArguments, options, nExitCode))
        return nExitCode;
    ZConsole console(options);
    try
    {
        for (const auto& command : COMMANDS)
            if (command.name == options.sCommand)
                return command.pRun(options, console);
        throw ZUsageError("there is no command '" + options.sCommand + "'");
    }
    catch (const ZUsageError& e)
    {
        console.Notice(std::string("error: ") + e.what());
        return eExit_WrongUsage;
    }
    catch (const ZHostError& e)
    {
        console.Error(e);
    }
    catch (const std::bad_alloc&)
    {
        console.Error(ZHostError("out of memory"));
    }
    catch (const std::exception& e)
    {
        console.Error(ZHostError(e.what()));
    }
    return eExit_HostFailed;
}

} // namespace Host
