#include "host/commands/commands.h"
#include "host/commands/packedchoice.h"
#include "host/export/gltffile.h"
#include "host/files/outputfile.h"
#include "host/files/outputplace.h"
#include "host/module/hostmodule.h"
#include "host/show/exporttext.h"
#include "host/text/hosterror.h"
#include "host/verify/verification.h"

namespace Host
{

int RunExport(const SOptions& options, ZConsole& console)
{
    RegisterHostModules();
    const ZAssetTree tree(options.session.sAssets);
    const std::string sPlace = OutputPlaceOfReader(options.sOutputFile, tree, options.session.sOut);
    size_t nFailed = 0;
    const auto tell = [&](const SPackedAnimation& packed, const std::string& sError, const SGltfTake& take)
    {
        nFailed += !sError.empty();
        if (!sError.empty())
            console.Diagnostic(ESeverity::eError, packed.sId, sError);
        if (console.IsJson())
            console.Output(ExportLine(packed, sError, take));
    };

    const SPackedChoice choice = ChoosePacked(options, tree, true);
    for (const std::string& sWord : choice.missing)
        tell({sWord, "", ""}, "there is no packed animation of it in '" + options.session.sOut + "'", {});
    std::vector<SGltfTake> takes;
    ZVerification({tree,
                   options.session.sOut,
                   options.session.nWorkers,
                   {options.session.nMemoryLimit, options.session.fJobTimeout},
                   GltfTakeEncoder(options.bSource)},
                  choice.packed)
        .Run(
            [&](size_t n, const SVerified& result)
            {
                SGltfTake take;
                const std::string sError = result.sShown.empty() ? result.sError : DecodeGltfTake(result.sShown, take);
                tell(choice.packed[n], sError, take);
                if (sError.empty())
                    takes.push_back(std::move(take));
            },
            [&](size_t nDone, const SPackedAnimation& one) { console.Progress(nDone, choice.packed.size(), one.sId); });

    const size_t nTakes = takes.size();
    SExportSummary summary{options.sOutputFile, nTakes, nFailed};
    if (nTakes != 0)
    {
        const SGltfFile gltf = MakeGltfFile(std::move(takes));
        summary.nBytes = gltf.sBytes.size();
        summary.nKeyBytes = gltf.nKeyBytes;
        ZOutputFile file;
        if (!file.Open(sPlace) || !file.Write(gltf.sBytes.data(), gltf.sBytes.size()) || !file.Publish())
            throw ZHostError(file.Error());
    }
    if (console.IsJson())
        console.Output(ExportSummaryLine(summary));
    else
        console.Summary(ExportSummaryText(summary), nFailed == 0);
    return nFailed == 0 ? eExit_Done : eExit_AssetsFailed;
}

} // namespace Host
