#include "host/show/scantext.h"

#include "host/files/resourceids.h"

namespace Host
{

namespace
{

std::string Property(const SSourceScan::SSubResource& entry, const char* szKey)
{
    const auto it = entry.properties.find(szKey);
    return it != entry.properties.end() ? it->second : std::string();
}

std::string PropertiesText(const SSourceScan::TProperties& properties, const char* szIndent)
{
    std::string sText;
    for (const auto& [sKey, sValue] : properties)
        sText.append(szIndent).append(sKey).append(": ").append(sValue) += '\n';
    return sText;
}

std::string ReferencesText(const std::vector<std::string>& references, const char* szIndent)
{
    std::string sText;
    for (const std::string& sId : references)
        sText.append(szIndent).append("refers to ").append(sId) += '\n';
    return sText;
}

} // namespace

std::string ScanText(const SSourceScan& scan, bool bAll)
{
    std::string sText = scan.sSource + '\n';
    if (bAll)
        sText += ReferencesText(scan.references, "  ") + PropertiesText(scan.properties, "  ");
    for (const SSourceScan::SSubResource& entry : scan.subResources)
    {
        sText += "  " + ToStd(ToId(entry.sId).GetRootParameters());
        for (const char* szKey : {"SequenceDuration", "SequenceTrackTypes", "CutsequenceRigResource"})
            if (const std::string sValue = Property(entry, szKey); !bAll && !sValue.empty())
                (sText += "  ") += sValue;
        sText += '\n';
        if (bAll)
            sText += ReferencesText(entry.references, "    ") + PropertiesText(entry.properties, "    ");
    }
    if (scan.subResources.empty())
        sText += "  nothing to pack\n";
    return sText;
}

} // namespace Host
