#include "host/adopt/adoption.h"
#include "host/commands/commands.h"
#include "host/show/adopttext.h"
#include "host/text/hosterror.h"

namespace Host
{

int RunAdopt(const SOptions& options, ZConsole& console)
{
    SAdoptSettings settings;
    settings.files = options.sources;
    settings.sAssets = options.session.sAssets;
    while (settings.sAssets.size() > 1 && settings.sAssets.ends_with('/'))
        settings.sAssets.pop_back();
    settings.sFolder = options.sFolder;
    settings.sName = options.sName;
    settings.eRoot = options.eRoot;
    settings.bKeepGeometry = options.bKeepGeometry;
    settings.bDryRun = options.bDryRun;
    const SAdoptSummary summary = Adopt(settings,
                                        [&](const SAdopted& result)
                                        {
                                            if (!result.sError.empty())
                                                console.Diagnostic(ESeverity::eError, result.sFile, result.sError);
                                            for (const SMessage& message : result.messages)
                                                console.Diagnostic(message.eSeverity, result.sFile, message.sText);
                                            if (console.IsJson())
                                                console.Output(AdoptLine(result));
                                            else if (result.sError.empty())
                                                console.Output(AdoptText(result));
                                        });
    if (console.IsJson())
        console.Output(AdoptSummaryLine(summary));
    else
        console.Summary(AdoptSummaryText(summary, options.bDryRun), summary.nRefused == 0);
    return summary.nRefused == 0 ? eExit_Done : eExit_AssetsFailed;
}

} // namespace Host
