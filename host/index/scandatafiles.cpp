#include "host/index/scandatafiles.h"

#include "base/pointers/tcomponentsharedptr.h"
#include "host/files/outputpath.h"
#include "host/files/resourceids.h"
#include "host/index/scandata.h"
#include "host/text/hosterror.h"
#include "resource/_shared/_internal/resourcescandata.h"

#include <algorithm>

namespace Host
{

ZScanDataFiles::~ZScanDataFiles()
{
    for (const SPublication& file : m_complete)
        Os::RemoveFile(file.sPassingPath);
}

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
    if (!file.Release(publication))
        return file.Error();
    m_complete.push_back(publication);
    ++m_nCount;
    return {};
}

std::vector<std::string> ZScanDataFiles::Publish()
{
    std::vector<std::string> errors = PublishFiles(std::exchange(m_complete, {}));
    std::erase(errors, "");
    return errors;
}

} // namespace Host
