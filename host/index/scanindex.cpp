#include "host/index/scanindex.h"

#include "host/index/sqlstatement.h"

#include <algorithm>

namespace Host
{

namespace
{

// Position 0 is the source itself. Names of properties are few and stand in every entry, hence the numbers.
constexpr const char TABLES[] = R"(
CREATE TABLE entry(
  number INTEGER PRIMARY KEY, source TEXT NOT NULL, position INTEGER NOT NULL, id TEXT NOT NULL, file TEXT NOT NULL,
  UNIQUE(source, position));
CREATE TABLE reference(
  entry INTEGER NOT NULL, position INTEGER NOT NULL, id TEXT NOT NULL, PRIMARY KEY(entry, position)) WITHOUT ROWID;
CREATE TABLE property_name(number INTEGER PRIMARY KEY, name TEXT NOT NULL UNIQUE);
CREATE TABLE property(
  entry INTEGER NOT NULL, name INTEGER NOT NULL, value TEXT NOT NULL, PRIMARY KEY(entry, name)) WITHOUT ROWID;
)";

} // namespace

const char* ZScanIndex::Tables()
{
    return TABLES;
}

ZScanIndex::ZScanIndex(sqlite3* pDatabase) : m_pDatabase(pDatabase)
{
    const auto prepare = [pDatabase](std::unique_ptr<ZSqlStatement>& pStatement, const char* szSql)
    { pStatement = std::make_unique<ZSqlStatement>(pDatabase, szSql); };
    prepare(m_pFindEntries, "SELECT number, id, file FROM entry WHERE source = ? ORDER BY position");
    prepare(m_pFindReferences, "SELECT id FROM reference WHERE entry = ? ORDER BY position");
    prepare(m_pFindProperties, "SELECT n.name, p.value FROM property p JOIN property_name n ON n.number = p.name "
                               "WHERE p.entry = ?");
    prepare(m_pSaveEntry, "INSERT INTO entry VALUES(NULL, ?, ?, ?, ?)");
    prepare(m_pSaveReference, "INSERT INTO reference VALUES(?, ?, ?)");
    prepare(m_pSaveProperty, "INSERT INTO property VALUES(?, ?, ?)");
    prepare(m_pSaveName, "INSERT INTO property_name VALUES(NULL, ?)");
    prepare(m_pFindName, "SELECT number FROM property_name WHERE name = ?");
    prepare(m_pRemoveReferences, "DELETE FROM reference WHERE entry IN (SELECT number FROM entry WHERE source = ?)");
    prepare(m_pRemoveProperties, "DELETE FROM property WHERE entry IN (SELECT number FROM entry WHERE source = ?)");
    prepare(m_pRemoveEntries, "DELETE FROM entry WHERE source = ?");
}

ZScanIndex::~ZScanIndex() = default;

bool ZScanIndex::IsSound() const
{
    const auto all = {&m_pFindEntries,      &m_pFindReferences,   &m_pFindProperties, &m_pSaveEntry,
                      &m_pSaveReference,    &m_pSaveProperty,     &m_pSaveName,       &m_pFindName,
                      &m_pRemoveReferences, &m_pRemoveProperties, &m_pRemoveEntries};
    return std::all_of(all.begin(), all.end(), [](const auto* ppStatement) { return (*ppStatement)->IsSound(); });
}

bool ZScanIndex::PropertyNumber(const std::string& sName, int64_t& nNumber)
{
    const auto [it, bNew] = m_names.try_emplace(sName, 0);
    if (bNew)
    {
        bool bFailed = false;
        if (m_pFindName->Text(sName).Step(bFailed))
        {
            it->second = m_pFindName->IntegerAt(0);
            m_pFindName->Reset();
        }
        else if (!bFailed && m_pSaveName->Text(sName).Run())
            it->second = sqlite3_last_insert_rowid(m_pDatabase);
        else
        {
            m_names.erase(it);
            return false;
        }
    }
    nNumber = it->second;
    return true;
}

bool ZScanIndex::SaveEntry(const std::string& sSource, int64_t nPosition, const std::string& sId,
                           const std::string& sFile, const std::vector<std::string>& references,
                           const SSourceScan::TProperties& properties)
{
    if (!m_pSaveEntry->Text(sSource).Integer(nPosition).Text(sId).Text(sFile).Run())
        return false;
    const int64_t nEntry = sqlite3_last_insert_rowid(m_pDatabase);
    int64_t n = 0;
    for (const std::string& sReference : references)
        if (!m_pSaveReference->Integer(nEntry).Integer(n++).Text(sReference).Run())
            return false;
    for (const auto& [sKey, sValue] : properties)
    {
        int64_t nName = 0;
        if (!PropertyNumber(sKey, nName) || !m_pSaveProperty->Integer(nEntry).Integer(nName).Text(sValue).Run())
            return false;
    }
    return true;
}

bool ZScanIndex::Save(const SSourceScan& scan)
{
    if (!Remove(scan.sSource) ||
        !SaveEntry(scan.sSource, 0, scan.sSource, scan.sSource, scan.references, scan.properties))
        return false;
    int64_t nPosition = 0;
    for (const SSourceScan::SSubResource& entry : scan.subResources)
        if (!SaveEntry(scan.sSource, ++nPosition, entry.sId, entry.sSource, entry.references, entry.properties))
            return false;
    return true;
}

bool ZScanIndex::Remove(const std::string& sSource)
{
    return m_pRemoveReferences->Text(sSource).Run() && m_pRemoveProperties->Text(sSource).Run() &&
           m_pRemoveEntries->Text(sSource).Run();
}

bool ZScanIndex::Find(const std::string& sSource, SSourceScan& scan, bool& bFound)
{
    bool bFailed = false;
    scan = {};
    bFound = false;
    m_pFindEntries->Text(sSource);
    while (m_pFindEntries->Step(bFailed))
    {
        std::vector<std::string>* pReferences = &scan.references;
        SSourceScan::TProperties* pProperties = &scan.properties;
        if (bFound)
        {
            SSourceScan::SSubResource& entry = scan.subResources.emplace_back();
            entry.sId = m_pFindEntries->TextAt(1);
            entry.sSource = m_pFindEntries->TextAt(2);
            pReferences = &entry.references;
            pProperties = &entry.properties;
        }
        else
            scan.sSource = m_pFindEntries->TextAt(1);
        bFound = true;
        const int64_t nEntry = m_pFindEntries->IntegerAt(0);
        m_pFindReferences->Integer(nEntry);
        while (m_pFindReferences->Step(bFailed))
            pReferences->push_back(m_pFindReferences->TextAt(0));
        m_pFindProperties->Integer(nEntry);
        while (m_pFindProperties->Step(bFailed))
            pProperties->emplace(m_pFindProperties->TextAt(0), m_pFindProperties->TextAt(1));
    }
    return !bFailed;
}

bool ZScanIndex::FindNames(const std::string& sSource, SSourceScan& scan, bool& bFound)
{
    bool bFailed = false;
    scan = {};
    scan.sSource = sSource;
    bFound = false;
    m_pFindEntries->Text(sSource);
    for (; m_pFindEntries->Step(bFailed); bFound = true)
        if (bFound)
            scan.subResources.push_back({m_pFindEntries->TextAt(1), m_pFindEntries->TextAt(2), {}, {}});
    return !bFailed;
}

bool ZScanIndex::Sources(std::vector<SSource>& sources)
{
    bool bFailed = false;
    ZSqlStatement all(m_pDatabase,
                      "SELECT e.source, d.present, d.size, d.time FROM entry e "
                      "LEFT JOIN dependency d ON d.job = e.source AND d.id = e.source WHERE e.position = 0 "
                      "ORDER BY e.source");
    while (all.IsSound() && all.Step(bFailed))
        sources.push_back({all.TextAt(0), {all.IntegerAt(1) != 0, all.UnsignedAt(2), all.IntegerAt(3)}});
    return all.IsSound() && !bFailed;
}

/// Three runs through the tables side by side, all in the order of the entries' numbers.
bool ZScanIndex::Visit(const std::function<void(SEntry&)>& function)
{
    bool bFailed = false;
    std::unordered_map<int64_t, std::string> names;
    ZSqlStatement allNames(m_pDatabase, "SELECT number, name FROM property_name");
    while (allNames.IsSound() && allNames.Step(bFailed))
        names.emplace(allNames.IntegerAt(0), allNames.TextAt(1));
    ZSqlStatement entries(m_pDatabase, "SELECT number, source, position, id FROM entry ORDER BY number");
    ZSqlStatement references(m_pDatabase, "SELECT entry, id FROM reference ORDER BY entry, position");
    ZSqlStatement properties(m_pDatabase, "SELECT entry, name, value FROM property ORDER BY entry");
    if (!allNames.IsSound() || !entries.IsSound() || !references.IsSound() || !properties.IsSound())
        return false;
    bool bReference = references.Step(bFailed);
    bool bProperty = properties.Step(bFailed);
    while (entries.Step(bFailed))
    {
        SEntry entry;
        const int64_t nEntry = entries.IntegerAt(0);
        entry.sSource = entries.TextAt(1);
        entry.bIsSource = entries.IntegerAt(2) == 0;
        entry.sId = entries.TextAt(3);
        for (; bReference && references.IntegerAt(0) <= nEntry; bReference = references.Step(bFailed))
            if (references.IntegerAt(0) == nEntry)
                entry.references.push_back(references.TextAt(1));
        for (; bProperty && properties.IntegerAt(0) <= nEntry; bProperty = properties.Step(bFailed))
            if (properties.IntegerAt(0) == nEntry)
                entry.properties.emplace(names[properties.IntegerAt(1)], properties.TextAt(2));
        if (!bFailed)
            function(entry);
    }
    return !bFailed;
}

} // namespace Host
