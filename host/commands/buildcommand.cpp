#include "host/build/treebuild.h"
#include "host/commands/commands.h"
#include "host/show/buildtext.h"
#include "host/show/jobtext.h"
#include "host/text/hosterror.h"

namespace Host
{

int RunBuild(const SOptions& options, ZConsole& console)
{
    ZHostSession session(options.session, console, ZHostSession::EUse::eWrites);
    const SBuildTotals totals = ZTreeBuild(session, console, options.sources, options.platforms)
                                    .Run(
                                        [&](const SJobResult& result)
                                        {
                                            console.Job(result);
                                            if (console.IsJson())
                                                console.Output(JobLine(result, session.Out()));
                                        });
    if (console.IsJson())
        console.Output(BuildSummaryLine(totals));
    console.Summary(BuildSummaryText(totals), totals.IsGood() && !totals.bInterrupted);
    if (totals.bInterrupted)
        return eExit_Interrupted;
    return totals.IsGood() ? eExit_Done : eExit_AssetsFailed;
}

} // namespace Host
