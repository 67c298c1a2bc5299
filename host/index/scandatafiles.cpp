#include "host/index/scandatafiles.h"

#include "base/pointers/tcomponentsharedptr.h"
#include "host/files/outputpath.h"
#include "host/files/resourceids.h"
#include "host/module/hostmodule.h"
#include "resource/_shared/_internal/resourcescandata.h"

#include <algorithm>

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

} // namespace

std::string ZScanDataFiles::Add(const SSourceScan& scan)
{
    const std::string sPlace = ReportPathOf(ToId(scan.sSource), "scan");
    ZOutputFile file;
    if (sPlace.empty() || !file.Open(m_sOut + '/' + sPlace + ".scandata"))
        return sPlace.empty() ? "no file can stand for it" : file.Error();
    try
    {
        const TComponentScope<IOutputStream> stream(CreateFileOutputStream(file));
        WriteResourceScanData(stream.Get(), DataOf(scan));
    }
    catch (const SAssertionFailed& e)
    {
        return "its scan data can't be written: assertion failed: " + e.sExpression;
    }
    SPublication publication;
    if (!file.Release(Os::OwnProcess(), publication))
        return file.Error();
    m_complete.push_back(publication);
    return {};
}

std::vector<std::string> ZScanDataFiles::Publish()
{
    std::vector<std::string> errors = PublishFiles(m_complete);
    std::erase(errors, "");
    return errors;
}

} // namespace Host
