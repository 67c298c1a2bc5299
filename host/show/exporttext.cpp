#include "host/show/exporttext.h"

#include "host/text/jsonwriter.h"
#include "host/text/textformat.h"

namespace Host
{

std::string ExportLine(const SPackedAnimation& packed, const std::string& sError, const SGltfTake& take)
{
    ZJsonWriter json;
    json.Open('{');
    json.TextField("id", packed.sId);
    json.OptionalField("platform", packed.sPlatform);
    json.OptionalField("error", sError);
    if (sError.empty())
    {
        json.UnsignedField("frames", take.nFrames);
        json.UnsignedField("channels", take.channels.size());
        uint64_t nBytes = 0;
        for (const SGltfChannel& channel : take.channels)
            nBytes += channel.sKeys.size();
        json.UnsignedField("keyBytes", nBytes);
    }
    json.Close('}');
    return json.Take();
}

std::string ExportSummaryLine(const SExportSummary& summary)
{
    ZJsonWriter json;
    json.Open('{');
    json.ObjectField("summary",
                     [&]
                     {
                         json.OptionalField("file", summary.nTakes != 0 ? summary.sFile : std::string());
                         json.UnsignedField("takes", summary.nTakes);
                         json.UnsignedField("failed", summary.nFailed);
                         json.UnsignedField("bytes", summary.nBytes);
                         json.UnsignedField("keyBytes", summary.nKeyBytes);
                     });
    json.Close('}');
    return json.Take();
}

std::string ExportSummaryText(const SExportSummary& summary)
{
    std::string sText = Counted(summary.nTakes, "take");
    if (summary.nTakes != 0)
        sText += " in " + summary.sFile + ", " + BytesText(summary.nBytes) +
                 Formatted(", %.0f %% of it keys",
                           100.0 * static_cast<double>(summary.nKeyBytes) / static_cast<double>(summary.nBytes));
    else
        sText += ", nothing written";
    if (summary.nFailed != 0)
        sText += ", " + std::to_string(summary.nFailed) + " failed";
    return sText;
}

} // namespace Host
