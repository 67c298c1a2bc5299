#include "host/module/job.h"

#include "host/files/derivedkinds.h"
#include "host/files/resourceids.h"

namespace Host
{

std::string SJob::Source() const
{
    return eKind == eScan ? sId : ToStd(ToId(sId).GetSourceResourceID());
}

std::string SJob::Component() const
{
    if (eKind == ePack)
    {
        const SDerivedKind* pKind = FindDerivedKind(ToId(sId).GetExtension().View());
        return pKind != nullptr ? std::string(pKind->component) : std::string();
    }
    const std::string_view scanner = ScannerOf(ToId(sId).GetExtension().View());
    return std::string(scanner.empty() ? DefaultScanner() : scanner);
}

std::string_view NameOf(ESeverity eSeverity)
{
    constexpr std::string_view names[] = {"info", "warning", "error"};
    return names[static_cast<int>(eSeverity)];
}

} // namespace Host
