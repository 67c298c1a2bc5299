#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace Host
{

/// What a scan said of a source, read back from its JSON line.
struct SSourceScan
{
    struct SSubResource
    {
        std::string sId;
        std::map<std::string, std::string> properties;
    };
    std::string sSource;
    std::string sError; ///< empty when the scan succeeded
    std::vector<SSubResource> subResources;
};

/// Nothing but the source when the line is none of a scan.
SSourceScan ReadSourceScan(const std::string& sLine);

} // namespace Host
