#include "host/commands/commands.h"
#include "host/files/outputpath.h"
#include "host/files/resourceids.h"
#include "host/module/hostmodule.h"
#include "host/show/statstext.h"
#include "host/state/packedids.h"
#include "host/text/hosterror.h"

namespace Host
{

int RunStats(const SOptions& options, ZConsole& console)
{
    RegisterHostModules();
    const std::string& sOut = options.session.sOut;
    if (!options.sSaveId.empty() && ReportPathOf(ToId(options.sSaveId), "pc").empty())
        throw ZUsageError("'" + options.sSaveId + "' is no identifier of a file, such as assembly:/stats/memory.txt");
    const std::vector<SPackedAnimation> found = FindPackedAnimations(
        sOut, options.bPlatformGiven ? options.platforms : std::vector<std::string>(), PackedIds(sOut));
    std::map<std::string, SPlatformMemory> platforms;
    bool bAllGood = true;
    for (const SPackedAnimation& packed : found)
    {
        const SMeasured measured = MeasurePacked(packed);
        AddMeasured(measured, platforms);
        if (console.IsJson())
            console.Output(MeasuredLine(measured));
        if (!measured.sError.empty())
            console.Diagnostic(ESeverity::eError, packed.sId, measured.sError);
        bAllGood &= measured.sError.empty();
    }
    if (found.empty())
        console.Notice("there are no packed animations in '" + sOut + "'" +
                       (options.bPlatformGiven ? " for this platform" : ""));
    if (console.IsJson())
        console.Output(StatsSummaryLine(platforms));
    for (const auto& [sName, memory] : platforms)
    {
        if (!console.IsJson())
            console.Output((platforms.size() > 1 ? "== " + sName + " ==\n" : std::string()) +
                           StatsText(memory, options.nTop));
        if (!options.sSaveId.empty())
            console.Notice("the report for " + sName + " stands in '" +
                           SaveReport(sOut, options.sSaveId, sName, memory) + "'");
    }
    return bAllGood ? eExit_Done : eExit_AssetsFailed;
}

} // namespace Host
