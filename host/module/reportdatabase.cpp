#include "host/module/reportdatabase.h"

#include "host/text/hosterror.h"

namespace Host
{

ZReportDatabase::ZReportDatabase(const ZResourceID& id, const std::string& sPath) : m_id(id)
{
    if (!m_file.Open(sPath))
        Fail();
    SetResourceDatabase(this);
}

ZReportDatabase::~ZReportDatabase()
{
    SetResourceDatabase(nullptr);
}

void ZReportDatabase::Fail() const
{
    throw ZHostError(m_file.Error(), "choose another folder with --out, or another identifier with --save");
}

IOutputStream* ZReportDatabase::OpenOutputStream(const ZResourceID& id)
{
    return id == m_id ? CreateFileOutputStream(m_file) : nullptr;
}

void ZReportDatabase::Publish()
{
    if (!m_file.Publish())
        Fail();
}

} // namespace Host
