#include "host/index/scandata.h"

#include "host/files/resourceids.h"

namespace Host
{

namespace
{

TArray<ZResourceID> IdsOf(const std::vector<std::string>& texts)
{
    TArray<ZResourceID> ids;
    for (const std::string& sText : texts)
        ids.Add(ToId(sText));
    return ids;
}

TMap<ZString, ZString> MapOf(const SSourceScan::TProperties& properties)
{
    TMap<ZString, ZString> map;
    for (const auto& [sKey, sValue] : properties)
        map[ToZString(sKey)] = ToZString(sValue);
    return map;
}

std::vector<std::string> TextsOf(const TArray<ZResourceID>& ids)
{
    std::vector<std::string> texts;
    for (const ZResourceID& id : ids)
        texts.push_back(ToStd(id));
    return texts;
}

SSourceScan::TProperties TextsOf(const TMap<ZString, ZString>& properties)
{
    SSourceScan::TProperties texts;
    for (const auto& [key, value] : properties)
        texts[ToStd(key)] = ToStd(value);
    return texts;
}

} // namespace

SResourceScanData DataOf(const SSourceScan& scan)
{
    SResourceScanData data;
    data.fileReferencedResources = IdsOf(scan.references);
    data.fileProperties = MapOf(scan.properties);
    for (const SSourceScan::SSubResource& entry : scan.subResources)
    {
        SSubResourceScanData& subResource = data.subResources.Add(SSubResourceScanData());
        subResource.resourceID = ToId(entry.sId);
        subResource.sourceResourceID = ToId(entry.sSource);
        subResource.referencedResources = IdsOf(entry.references);
        subResource.properties = MapOf(entry.properties);
    }
    return data;
}

void FillScan(SSourceScan& scan, SResourceScanData& data)
{
    scan.references = TextsOf(data.fileReferencedResources);
    scan.properties = TextsOf(data.fileProperties);
    for (SSubResourceScanData& entry : data.subResources)
    {
        scan.subResources.push_back({ToStd(entry.resourceID), ToStd(entry.sourceResourceID),
                                     TextsOf(entry.referencedResources), TextsOf(entry.properties)});
        entry = {};
    }
}

} // namespace Host
