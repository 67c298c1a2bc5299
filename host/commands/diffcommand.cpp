#include "host/commands/commands.h"
#include "host/module/hostmodule.h"
#include "host/show/difftext.h"
#include "host/text/hosterror.h"

namespace Host
{

int RunDiff(const SOptions& options, ZConsole& console)
{
    RegisterHostModules();
    SDiffTotals totals;
    DiffPacked(options.sources[0], options.sources[1],
               [&](const SFileDifference& difference)
               {
                   totals.Add(difference);
                   if (console.IsJson())
                       console.Output(DiffLine(difference));
                   else if (const std::string sText = DiffText(difference); !sText.empty())
                       console.Output(sText);
               });
    if (console.IsJson())
        console.Output(DiffSummaryLine(totals));
    console.Summary(DiffSummaryText(totals), totals.IsSame());
    return totals.IsSame() ? eExit_Done : eExit_AssetsFailed;
}

} // namespace Host
