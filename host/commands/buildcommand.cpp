#include "host/build/treebuild.h"
#include "host/build/treewatch.h"
#include "host/commands/commands.h"
#include "host/plan/farm.h"
#include "host/show/buildtext.h"
#include "host/show/jobtext.h"
#include "host/text/hosterror.h"
#include "host/text/textformat.h"
#include "os/interrupt.h"

namespace Host
{

namespace
{

ZBuildTotals Build(const SOptions& options, ZHostSession& session, ZConsole& console,
                   const ZJobScheduler::FReport& report)
{
    if (options.sStage.empty())
        return ZTreeBuild(session, console, options.sources, options.platforms).Run(report);
    ZFarm farm(session.Out());
    const ZFarm::STask task{session, console, options.platforms, report};
    return options.sStage == "rigs"     ? farm.PackRigs(task, options.nShare)
           : options.sStage == "gather" ? farm.GatherRigs(task)
           : options.sStage == "takes"  ? farm.PackAll(task, options.nShare)
                                        : farm.Finish(task);
}

/// `sCause`: what has changed, for a build that nobody has asked for.
int BuildOnce(const SOptions& options, ZConsole& console, const std::string& sCause = {})
{
    ZHostSession session(options.session, console,
                         options.bForesee ? ZHostSession::EUse::eLooksAhead : ZHostSession::EUse::eWrites);
    const ZBuildTotals totals = Build(options, session, console,
                                      [&](const SJobResult& result)
                                      {
                                          console.Job(result, sCause.empty());
                                          if (console.IsJson())
                                              console.Output(JobLine(result, session.Out()));
                                      });
    if (console.IsJson())
        console.Output(BuildSummaryLine(totals));
    if (sCause.empty())
        console.Epilogue(BuildStoryText(totals));
    console.Summary(sCause + BuildSummaryText(totals), totals.IsGood() && !totals.bInterrupted);
    if (totals.bInterrupted)
        return eExit_Interrupted;
    return totals.IsGood() ? eExit_Done : eExit_AssetsFailed;
}

/// "12:04:31  props/lever.fbx and 2 more: "
std::string CauseText(const std::vector<std::string>& changed, const std::string& sRoot)
{
    const std::string& sFirst = changed.front();
    return ClockText() + "  " + (sFirst.starts_with(sRoot + '/') ? sFirst.substr(sRoot.size() + 1) : sFirst) +
           (changed.size() > 1 ? " and " + std::to_string(changed.size() - 1) + " more: " : ": ");
}

int Watch(const SOptions& options, ZConsole& console)
{
    const Os::ZInterruptNote note;
    const std::string sRoot = ZAssetTree(options.session.sAssets).Root();
    // Before the first build, so that nothing changes unseen.
    std::vector<std::string> leftOut{options.session.sOut};
    if (!options.sLogFile.empty())
        leftOut.push_back(options.sLogFile);
    ZTreeWatch watch(sRoot, leftOut);
    BuildOnce(options, console);
    if (!Os::Interrupted())
        console.Notice("watching " + std::to_string(watch.FolderCount()) + " folders of '" + sRoot +
                       "', Ctrl-C ends it");
    SOptions later = options;
    later.session.bForce = false;
    while (true)
    {
        const std::vector<std::string> changed = watch.Wait();
        if (changed.empty())
            return eExit_Interrupted;
        try
        {
            BuildOnce(later, console, CauseText(changed, sRoot));
        }
        catch (const ZHostError& error)
        {
            // A disk that was full need not stay so.
            console.Error(error);
        }
    }
}

} // namespace

int RunBuild(const SOptions& options, ZConsole& console)
{
    return options.bWatch ? Watch(options, console) : BuildOnce(options, console);
}

} // namespace Host
