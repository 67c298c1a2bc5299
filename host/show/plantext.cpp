#include "host/show/plantext.h"

#include "host/text/jsonwriter.h"

namespace Host
{

std::string PlanLine(const std::string& sFormat, const std::string& sFile, const std::string& sManifest)
{
    ZJsonWriter json;
    json.Open('{');
    json.TextField("format", sFormat);
    json.OptionalField("file", sFile);
    if (sFile.empty())
        json.TextField("manifest", sManifest);
    json.Close('}');
    return json.Take();
}

} // namespace Host
