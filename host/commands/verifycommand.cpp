#include "host/commands/commands.h"
#include "host/commands/packedchoice.h"
#include "host/module/hostmodule.h"
#include "host/show/verifytext.h"
#include "host/text/hosterror.h"
#include "host/text/textformat.h"
#include "host/verify/verification.h"

namespace Host
{

int RunVerify(const SOptions& options, ZConsole& console)
{
    RegisterHostModules();
    const std::string& sOut = options.session.sOut;
    const ZAssetTree tree(options.session.sAssets);
    size_t nFailed = 0;
    const auto tell = [&](const SPackedAnimation& packed, const std::string& sError, const SVerified& result)
    {
        nFailed += !sError.empty();
        if (!sError.empty())
            console.Diagnostic(ESeverity::eError, packed.sId, sError);
        if (console.IsJson())
            console.Output(VerifyLine(packed, sError, result));
    };

    const SPackedChoice choice = ChoosePacked(options, tree, false);
    for (const std::string& sWord : choice.missing)
        tell({sWord, "", ""}, "there is no packed animation of it in '" + sOut + "'", {});
    const std::vector<SPackedAnimation>& packed = choice.packed;
    if (choice.bNothingThere && options.sources.empty())
        console.Notice("there are no packed animations in '" + sOut + "'");

    ZVerifyTable table;
    ZVerification({tree, sOut, options.session.nWorkers, {options.session.nMemoryLimit, options.session.fJobTimeout}},
                  packed)
        .Run(
            [&](size_t n, const SVerified& result)
            {
                std::string sError = result.sError;
                if (sError.empty())
                {
                    table.Add(packed[n], result);
                    sError = BoundsText(result, options.fMaxMillimetres, options.fMaxDegrees);
                }
                tell(packed[n], sError, result);
            },
            [&](size_t nDone, const SPackedAnimation& one) { console.Progress(nDone, packed.size(), one.sId); });
    if (!console.IsJson() && !table.IsEmpty())
        console.Output(table.Text());
    console.Summary(Counted(packed.size(), "animation") + table.WorstText() +
                        (nFailed != 0 ? ", " + std::to_string(nFailed) + " failed" : ""),
                    nFailed == 0);
    return nFailed == 0 ? eExit_Done : eExit_AssetsFailed;
}

} // namespace Host
