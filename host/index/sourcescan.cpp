#include "host/index/sourcescan.h"

#include "host/text/jsonwriter.h"
#include "host/text/words.h"

#include <algorithm>

namespace Host
{

namespace
{

/// Where the extension begins, dot included; the end when there is none. A name is never empty.
size_t ExtensionOf(std::string_view name)
{
    const size_t nDot = name.rfind('.');
    return nDot == std::string_view::npos || nDot == 0 ? name.size() : nDot;
}

/// What follows "?/", or the file's name.
std::string_view LastName(std::string_view id)
{
    const size_t nMark = id.find("?/");
    return id.substr(nMark != std::string_view::npos ? nMark + 2 : id.rfind('/') + 1);
}

} // namespace

void WriteReferences(ZJsonWriter& json, const std::vector<std::string>& references)
{
    json.Key("references");
    json.Open('[');
    for (const std::string& sId : references)
        json.Text(sId);
    json.Close(']');
}

void WriteProperties(ZJsonWriter& json, const SSourceScan::TProperties& properties)
{
    json.Key("properties");
    json.Open('{');
    for (const auto& [sKey, sValue] : properties)
        json.TextField(sKey, sValue);
    json.Close('}');
}

std::string ScanLine(const SSourceScan& scan)
{
    ZJsonWriter json;
    json.Open('{');
    json.TextField("source", scan.sSource);
    json.BoolField("ok", scan.sError.empty());
    json.OptionalField("error", scan.sError);
    WriteReferences(json, scan.references);
    WriteProperties(json, scan.properties);
    json.ListField("subResources", scan.subResources,
                   [&json](const SSourceScan::SSubResource& entry)
                   {
                       json.Open('{');
                       json.TextField("id", entry.sId);
                       json.TextField("source", entry.sSource);
                       WriteReferences(json, entry.references);
                       WriteProperties(json, entry.properties);
                       json.Close('}');
                   });
    json.Close('}');
    return json.Take();
}

std::string ThereIs(const std::vector<std::string>& ids, std::string_view wanted, std::string_view kind)
{
    constexpr size_t MOST = 12;
    const auto nameOf = [](std::string_view id) { return std::string(id.substr(std::min(id.find('?'), id.size()))); };
    std::vector<std::string> names;
    for (const std::string& sId : ids)
        if (kind.empty() || ToLower(KindOfEntry(sId)) == kind)
            names.push_back(nameOf(sId));
    if (names.empty())
        return std::string("there is ") + (ids.empty() ? "nothing" : "no " + std::string(kind)) +
               " in it that is marked to be packed";
    std::string sText = names.size() == 1 ? "there is " : "there are ";
    for (size_t n = 0; n < std::min(names.size(), MOST); ++n)
        sText += (n == 0 ? "" : n + 1 == names.size() ? " and " : ", ") + names[n];
    if (names.size() > MOST)
        sText += " and " + std::to_string(names.size() - MOST) + " more";
    const std::string sNearest = nameOf(wanted).empty() ? std::string() : NearestName(nameOf(wanted), names);
    return sNearest.empty() ? sText : sText + "; is '" + sNearest + "' meant?";
}

std::string_view NameOfEntry(std::string_view id)
{
    const std::string_view name = LastName(id);
    return name.substr(0, ExtensionOf(name));
}

std::string_view KindOfEntry(std::string_view id)
{
    const std::string_view name = LastName(id);
    return name.substr(std::min(ExtensionOf(name) + 1, name.size()));
}

} // namespace Host
