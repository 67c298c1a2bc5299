#include "host/index/scanindex.h"

#include "host/index/scantext.h"
#include "host/index/sqlstatement.h"

namespace Host
{

const char* ZScanIndex::Table()
{
    return "CREATE TABLE scan(source TEXT PRIMARY KEY, content TEXT NOT NULL);";
}

ZScanIndex::ZScanIndex(sqlite3* pDatabase)
    : m_pDatabase(pDatabase),
      m_pFind(std::make_unique<ZSqlStatement>(pDatabase, "SELECT content FROM scan WHERE source = ?")),
      m_pSave(std::make_unique<ZSqlStatement>(pDatabase, "INSERT OR REPLACE INTO scan VALUES(?, ?)")),
      m_pRemove(std::make_unique<ZSqlStatement>(pDatabase, "DELETE FROM scan WHERE source = ?"))
{
}

ZScanIndex::~ZScanIndex() = default;

bool ZScanIndex::IsSound() const
{
    return m_pFind->IsSound() && m_pSave->IsSound() && m_pRemove->IsSound();
}

bool ZScanIndex::Save(const std::string& sSource, const std::string& sScan)
{
    return m_pSave->Text(sSource).Text(sScan).Run();
}

bool ZScanIndex::Remove(const std::string& sSource)
{
    return m_pRemove->Text(sSource).Run();
}

bool ZScanIndex::Find(const std::string& sSource, std::string& sScan, bool& bFound)
{
    bool bFailed = false;
    bFound = m_pFind->Text(sSource).Step(bFailed);
    if (bFound)
    {
        sScan = m_pFind->TextAt(0);
        m_pFind->Reset();
    }
    return !bFailed;
}

bool ZScanIndex::Visit(const std::function<void(SEntry&)>& function)
{
    bool bFailed = false;
    ZSqlStatement sources(m_pDatabase, "SELECT content FROM scan ORDER BY rowid");
    while (sources.IsSound() && sources.Step(bFailed))
    {
        ZScanTextReader reader(sources.ViewAt(0));
        SSourceScan scan;
        if (!reader.Head(scan))
            return false;
        SEntry entry{scan.sSource, scan.sSource, true, std::move(scan.references), std::move(scan.properties)};
        function(entry);
        for (SSourceScan::SSubResource sub; reader.Next(sub);)
        {
            entry = {std::move(sub.sId), scan.sSource, false, std::move(sub.references), std::move(sub.properties)};
            function(entry);
        }
        if (!reader.Good())
            return false;
    }
    return sources.IsSound() && !bFailed;
}

} // namespace Host
