#include "host/commands/commands.h"
#include "host/commands/packedchoice.h"
#include "host/files/outputfile.h"
#include "host/files/outputplace.h"
#include "host/module/hostmodule.h"
#include "host/show/viewtext.h"
#include "host/text/hosterror.h"
#include "host/verify/verification.h"
#include "host/view/pagefile.h"

#include <filesystem>

namespace Host
{

namespace
{

/// What the page is called: the words that were asked for, or the asset tree.
std::string TitleOf(const SOptions& options)
{
    if (!options.sources.empty())
    {
        std::string sTitle;
        for (size_t n = 0; n < options.sources.size() && n < 3; ++n)
            sTitle += (n != 0 ? ", " : "") + options.sources[n];
        return options.sources.size() > 3 ? sTitle + " …" : sTitle;
    }
    std::error_code error;
    const std::filesystem::path assets = std::filesystem::weakly_canonical(options.session.sAssets, error);
    return assets.has_filename() ? assets.filename().string() : options.session.sAssets;
}

} // namespace

int RunView(const SOptions& options, ZConsole& console)
{
    RegisterHostModules();
    const ZAssetTree tree(options.session.sAssets);
    const std::string sPlace = OutputPlaceOfReader(options.sOutputFile, tree, options.session.sOut);
    SViewSummary summary{options.sOutputFile};
    const auto tell = [&](const SPackedAnimation& packed, const std::string& sError, bool bShown)
    {
        summary.nTakes += bShown;
        summary.nFailed += !sError.empty();
        if (!sError.empty())
            console.Diagnostic(ESeverity::eError, packed.sId, sError);
        if (console.IsJson())
            console.Output(ViewLine(packed, sError, bShown));
    };

    ZPageFile page;
    const SPackedChoice choice = ChoosePacked(options, tree, true);
    for (const std::string& sWord : choice.missing)
    {
        const std::string sError = "there is no packed animation of it in '" + options.session.sOut + "'";
        tell({sWord, "", ""}, sError, false);
        page.AddFailed(FailedRow(sWord, "", sError));
    }
    ZVerification({tree,
                   options.session.sOut,
                   options.session.nWorkers,
                   {options.session.nMemoryLimit, options.session.fJobTimeout},
                   &EncodePageClip},
                  choice.packed)
        .Run(
            [&](size_t n, const SVerified& result)
            {
                const SPackedAnimation& packed = choice.packed[n];
                SPageClip clip;
                const bool bShown = DecodePageClip(result.sShown, clip);
                tell(packed, result.sError, bShown);
                bShown ? page.Add(clip) : page.AddFailed(FailedRow(packed.sId, packed.sPlatform, result.sError));
            },
            [&](size_t nDone, const SPackedAnimation& one) { console.Progress(nDone, choice.packed.size(), one.sId); });

    const std::string sPage = page.Take(TitleOf(options));
    summary.nBytes = sPage.size();
    ZOutputFile file;
    if (!file.Open(sPlace) || !file.Write(sPage.data(), sPage.size()) || !file.Publish())
        throw ZHostError(file.Error());
    if (console.IsJson())
        console.Output(ViewSummaryLine(summary));
    else
        console.Summary(ViewSummaryText(summary), summary.nFailed == 0);
    return summary.nFailed == 0 ? eExit_Done : eExit_AssetsFailed;
}

} // namespace Host
