#include "host/build/treebuild.h"
#include "host/commands/commands.h"
#include "host/show/buildtext.h"
#include "host/show/jobtext.h"
#include "host/text/hosterror.h"

namespace Host
{

namespace
{

int BuildOnce(const SOptions& options, ZConsole& console)
{
    ZHostSession session(options.session, console,
                         options.bForesee ? ZHostSession::EUse::eLooksAhead : ZHostSession::EUse::eWrites);
    const ZBuildTotals totals = ZTreeBuild(session, console, options.sources, options.platforms)
                                    .Run(
                                        [&](const SJobResult& result)
                                        {
                                            console.Job(result);
                                            if (console.IsJson())
                                                console.Output(JobLine(result, session.Out()));
                                        });
    if (console.IsJson())
        console.Output(BuildSummaryLine(totals));
    console.Epilogue(BuildStoryText(totals));
    console.Summary(BuildSummaryText(totals), totals.IsGood() && !totals.bInterrupted);
    if (totals.bInterrupted)
        return eExit_Interrupted;
    return totals.IsGood() ? eExit_Done : eExit_AssetsFailed;
}

} // namespace

int RunBuild(const SOptions& options, ZConsole& console)
{
    return BuildOnce(options, console);
}

} // namespace Host
