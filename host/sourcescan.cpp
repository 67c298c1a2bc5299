#include "host/sourcescan.h"

#include <nlohmann/json.hpp>

namespace Host
{

SSourceScan ReadSourceScan(const std::string& sLine)
{
    SSourceScan scan;
    try
    {
        const nlohmann::json json = nlohmann::json::parse(sLine);
        scan.sSource = json.at("source").get<std::string>();
        if (!json.at("error").is_null())
            scan.sError = json.at("error").get<std::string>();
        for (const auto& entry : json.at("subResources"))
            scan.subResources.push_back(
                {entry.at("id").get<std::string>(), entry.at("properties").get<std::map<std::string, std::string>>()});
    }
    catch (const nlohmann::json::exception& e)
    {
        scan.sError = e.what();
        scan.subResources.clear();
    }
    return scan;
}

} // namespace Host
