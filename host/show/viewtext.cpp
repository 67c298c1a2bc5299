#include "host/show/viewtext.h"

#include "host/text/jsonwriter.h"
#include "host/text/textformat.h"

namespace Host
{

std::string ViewLine(const SPackedAnimation& packed, const std::string& sError, bool bShown)
{
    ZJsonWriter json;
    json.Open('{');
    json.TextField("id", packed.sId);
    json.OptionalField("platform", packed.sPlatform);
    json.OptionalField("error", sError);
    json.BoolField("shown", bShown);
    json.Close('}');
    return json.Take();
}

std::string ViewSummaryLine(const SViewSummary& summary)
{
    ZJsonWriter json;
    json.Open('{');
    json.ObjectField("summary",
                     [&]
                     {
                         json.TextField("file", summary.sFile);
                         json.UnsignedField("takes", summary.nTakes);
                         json.UnsignedField("failed", summary.nFailed);
                         json.UnsignedField("bytes", summary.nBytes);
                     });
    json.Close('}');
    return json.Take();
}

std::string ViewSummaryText(const SViewSummary& summary)
{
    return Counted(summary.nTakes, "take") + " on " + summary.sFile + ", " + BytesText(summary.nBytes) +
           (summary.nFailed != 0 ? ", " + std::to_string(summary.nFailed) + " failed" : std::string());
}

} // namespace Host
