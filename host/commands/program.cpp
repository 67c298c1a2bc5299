#include "host/commands/commands.h"
#include "host/files/outputplace.h"
#include "host/text/hosterror.h"

#include <algorithm>
#include <filesystem>
#include <new>

namespace Host
{

namespace
{

constexpr struct
{
    std::string_view name;
    int (*pRun)(const SOptions& options, ZConsole& console);
    bool bOneFile;      ///< reads one file in this process: memory that runs out is that file's failure
    bool bSums = false; ///< its last line tells of an interrupt, too
} COMMANDS[] = {
    // clang-format off
    {"scan", &RunScan, false},
    {"pack", &RunPack, false},
    {"build", &RunBuild, false, true},
    {"query", &RunQuery, false},
    {"stats", &RunStats, false},
    {"verify", &RunVerify, false},
    {"inspect", &RunInspect, true},
    {"scene", &RunScene, true},
    {"mark", &RunMark, true},
    {"effect", &RunEffect, true},
    {"adopt", &RunAdopt, false},
    {"export", &RunExport, false},
    {"plan", &RunPlan, false},
    {"view", &RunView, false},
    {"diff", &RunDiff, false},
    // clang-format on
};

/// A terminal or a pipe is no worse for it.
void CheckLog(const SOptions& options)
{
    std::error_code error;
    if (std::filesystem::is_regular_file(options.sLogFile, error))
        OutputPlaceOfReader(options.sLogFile, ZAssetTree(options.session.sAssets), options.session.sOut);
}

} // namespace

int RunProgram(int nArguments, const char* const* ppArguments)
{
    SOptions options;
    int nExitCode = eExit_Done;
    if (!ReadCommandLine(nArguments, ppArguments, options, nExitCode))
        return nExitCode;
    ZConsole console(options);
    const auto* pCommand = std::find_if(std::begin(COMMANDS), std::end(COMMANDS),
                                        [&options](const auto& command) { return command.name == options.sCommand; });
    try
    {
        if (!options.sLogFile.empty())
        {
            CheckLog(options);
            console.OpenLog(options.sLogFile);
        }
        if (pCommand == std::end(COMMANDS))
            throw ZUsageError("there is no command '" + options.sCommand + "'");
        const int nResult = pCommand->pRun(options, console);
        if (nResult == eExit_Interrupted && !pCommand->bSums)
            console.Interrupted();
        return nResult;
    }
    catch (const ZUsageError& e)
    {
        console.Error(ZHostError(e.what()));
        return eExit_WrongUsage;
    }
    catch (const ZHostError& e)
    {
        console.Error(e);
    }
    catch (const std::bad_alloc&)
    {
        if (pCommand->bOneFile && !options.sources.empty())
        {
            console.Failure(options.sources.front(), "there is not enough memory for this file");
            return eExit_AssetsFailed;
        }
        console.Error(ZHostError("out of memory"));
    }
    catch (const std::exception& e)
    {
        console.Error(ZHostError(e.what()));
    }
    return eExit_HostFailed;
}

} // namespace Host
