#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace Host
{

class ZJsonWriter;

/// What a scan said of a source.
struct SSourceScan
{
    using TProperties = std::map<std::string, std::string, std::less<>>;

    struct SSubResource
    {
        std::string sId;
        std::string sSource;
        std::vector<std::string> references;
        TProperties properties;
    };
    std::string sSource;
    std::string sError; ///< empty when the scan succeeded
    std::vector<std::string> references;
    TProperties properties;
    std::vector<SSubResource> subResources; ///< in the scanner's order
};

/// As one line of JSON, the form in which scans are told to users.
std::string ScanLine(const SSourceScan& scan);

// Lists of identifiers and tables of properties as the lines have them.
void WriteReferences(ZJsonWriter& json, const std::vector<std::string>& references);
void WriteProperties(ZJsonWriter& json, const SSourceScan::TProperties& properties);

/// Tells what there is, for one who asked for what there is not: "there are ?/walk.take and ?/run.take; is ... meant?".
/// A kind narrows it. The texts of both are identifiers of sub-resources.
std::string ThereIs(const std::vector<std::string>& ids, std::string_view wanted, std::string_view kind);

/// Name and extension of a sub-resource: "walk" and "take" of "assembly:/a.fbx?/walk.take". A source has the name and
/// the extension of its file.
std::string_view NameOfEntry(std::string_view id);
std::string_view KindOfEntry(std::string_view id);

} // namespace Host
