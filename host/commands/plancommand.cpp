#include "host/commands/commands.h"
#include "host/files/outputplace.h"
#include "host/module/moduleloader.h"
#include "host/plan/depfile.h"
#include "host/plan/farm.h"
#include "host/plan/ninjaplan.h"
#include "host/plan/slurmplan.h"
#include "host/show/plantext.h"
#include "host/text/hosterror.h"
#include "os/interrupt.h"

#include <filesystem>
#include <set>

namespace Host
{

namespace
{

SPlanPlace PlaceOf(const SOptions& options, const ZHostSession& session)
{
    SPlanPlace place;
    place.sModule = std::filesystem::canonical(options.session.sModule).string();
    place.tools = ToolFiles(place.sModule);
    place.sProgram = place.tools.front();
    place.sTools = HashOfTools(place.sModule);
    place.sAssets = session.Tree().Root();
    place.sOut = std::filesystem::weakly_canonical(session.Out()).string();
    if (!options.sOutput.empty())
        place.sManifest = std::filesystem::absolute(options.sOutput).lexically_normal().string();
    place.sFolder = std::filesystem::current_path().string();
    place.sWritten = options.sOutput;
    // From its own folder, and from the one where it is written the first time.
    std::set<std::string> names{std::filesystem::path(place.sManifest).filename().string()};
    if (const std::filesystem::path written = options.sOutput; written.is_relative())
        names.insert(written.lexically_normal().string());
    names.erase("");
    place.manifestNames.assign(names.begin(), names.end());
    place.platforms = options.platforms;
    return place;
}

/// Where the manifest goes, before anything is done for it; empty for standard output.
std::string FindPlace(const SOptions& options, const ZHostSession& session)
{
    return options.sOutput.empty() ? std::string()
                                   : OutputPlaceOfReader(options.sOutput, session.Tree(), session.Out());
}

void Write(const SOptions& options, const std::string& sPlace, ZConsole& console, const std::string& sText)
{
    if (!sPlace.empty())
        WriteIfOther(sPlace, sText);
    if (console.IsJson())
        console.Output(PlanLine(options.sFormat, options.sOutput, sText));
    else if (sPlace.empty())
        console.Output(sText);
}

int PlanNinja(const SOptions& options, ZConsole& console)
{
    ZHostSession session(options.session, console, ZHostSession::EUse::eReads);
    const std::string sPlace = FindPlace(options, session);
    const SResourcePlan plan = PlanResources(session, options.platforms);
    if (Os::Interrupted())
        return eExit_Interrupted;
    const SPlanPlace place = PlaceOf(options, session);
    std::vector<std::string> leftOut;
    const std::string sText = NinjaManifest(plan, place, leftOut);
    for (const std::string& sLeftOut : leftOut)
        console.Diagnostic(ESeverity::eWarning, sLeftOut, "is left out of the plan: its name has a line feed");
    Write(options, sPlace, console, sText);
    // What can't be read has an edge of its own, which fails with the reason; this one has done its work, and one that
    // fails would keep ninja from all the others.
    return eExit_Done;
}

int PlanSlurm(const SOptions& options, ZConsole& console)
{
    // Alone: shares that are at work have their plan there.
    ZHostSession session(options.session, console, ZHostSession::EUse::eWrites);
    const std::string sPlace = FindPlace(options, session);
    const ZAssetTree::SSources sources = session.SourcesOf({});
    for (const ZAssetTree::SSources::SFolder& folder : sources.unreadable)
        console.Diagnostic(ESeverity::eError, folder.sId, folder.sWhy);
    const SPlanPlace place = PlaceOf(options, session);
    ZFarm farm(place.sOut);
    SSlurmPlan plan;
    plan.sProgram = place.sProgram;
    plan.sModule = place.sModule;
    plan.sAssets = place.sAssets;
    plan.sOut = place.sOut;
    plan.sFarm = farm.Folder();
    plan.platforms = options.platforms;
    plan.nShares = farm.WriteShares(session.Tree(), sources.ids, options.nShares);
    plan.nCores = options.nCores;
    Write(options, sPlace, console, SlurmScript(plan));
    console.Notice(std::to_string(sources.ids.size()) + " sources in " + std::to_string(plan.nShares) + " shares");
    return sources.unreadable.empty() ? eExit_Done : eExit_AssetsFailed;
}

} // namespace

int RunPlan(const SOptions& options, ZConsole& console)
{
    return options.sFormat == "slurm" ? PlanSlurm(options, console) : PlanNinja(options, console);
}

} // namespace Host
