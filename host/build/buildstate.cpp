#include "host/build/buildstate.h"

#include "host/files/resourceids.h"
#include "host/index/sqlstatement.h"
#include "host/text/hosterror.h"
#include "host/text/textformat.h"
#include "host/text/words.h"
#include "os/files.h"
#include "os/process.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <unordered_set>
#include <utility>

namespace Host
{

namespace
{

/// Raise it when the tables change: the old state is thrown away, and all is packed once more.
constexpr int LAYOUT = 2;
constexpr int APPLICATION = 0x5a414e49;
/// Records in one transaction: its flush to the disk takes longer than packing a small take.
constexpr size_t BATCH = 200;

constexpr const char TABLES[] = R"(
CREATE TABLE run(one INTEGER PRIMARY KEY CHECK(one = 1), cut_short INTEGER NOT NULL, assets TEXT NOT NULL);
CREATE TABLE job(
  id TEXT PRIMARY KEY, component TEXT NOT NULL, tools TEXT NOT NULL, platform TEXT NOT NULL, parameters TEXT NOT NULL,
  file TEXT NOT NULL, size INTEGER NOT NULL, time INTEGER NOT NULL, hash INTEGER NOT NULL
) WITHOUT ROWID;
CREATE TABLE dependency(
  job TEXT NOT NULL, position INTEGER NOT NULL, id TEXT NOT NULL, derived INTEGER NOT NULL, present INTEGER NOT NULL,
  size INTEGER NOT NULL, time INTEGER NOT NULL, hash INTEGER NOT NULL, PRIMARY KEY(job, position)
) WITHOUT ROWID;
INSERT INTO run VALUES(1, 0, '');
)";

/// Tables and indexes of a database, as the statements that made them.
std::string SchemaOf(sqlite3* pDatabase)
{
    ZSqlStatement statement(pDatabase, "SELECT name, sql FROM sqlite_schema ORDER BY name");
    std::string sSchema;
    bool bFailed = !statement.IsSound();
    while (!bFailed && statement.Step(bFailed))
        sSchema += statement.TextAt(0) + ": " + statement.TextAt(1) + '\n';
    return bFailed ? std::string() : sSchema;
}

/// https://www.sqlite.org/uri.html
std::string UriOf(const std::string& sPath, const char* szParameters)
{
    std::string sUri = "file:";
    for (const char c : sPath)
        if (c == '%' || c == '?' || c == '#')
            sUri += Formatted("%%%02x", static_cast<unsigned int>(c));
        else
            sUri += c;
    return sUri + szParameters;
}

bool MakeTables(sqlite3* pDatabase)
{
    return sqlite3_exec(pDatabase, TABLES, nullptr, nullptr, nullptr) == SQLITE_OK &&
           sqlite3_exec(pDatabase, ZScanIndex::Tables(), nullptr, nullptr, nullptr) == SQLITE_OK;
}

/// Whether all tables are there and have the columns that this program gives them.
bool HasOurTables(sqlite3* pDatabase)
{
    sqlite3* pModel = nullptr;
    const bool bSame =
        sqlite3_open(":memory:", &pModel) == SQLITE_OK && MakeTables(pModel) && SchemaOf(pModel) == SchemaOf(pDatabase);
    sqlite3_close(pModel);
    return bSame;
}

} // namespace

void ZBuildState::SDatabaseCloser::operator()(sqlite3* pDatabase) const
{
    sqlite3_close(pDatabase);
}

ZBuildState::ZBuildState(const std::string& sPath, const FNotice& notice)
{
    std::string sWhy;
    if (Open(sPath, EOpen::eMake, sWhy))
        return;
    Close();
    std::error_code error;
    for (const char* szTail : {"", "-journal", "-wal", "-shm"})
        std::filesystem::remove(sPath + szTail, error);
    notice("the build state '" + sPath + "' is made anew: " + sWhy);
    if (!Open(sPath, EOpen::eMake, sWhy))
        throw ZHostError("the build state '" + sPath + "' can't be made: " + sWhy, "choose another folder with --out");
}

ZBuildState::ZBuildState(const std::string& sPath) : ZBuildState(sPath, EOpen::eUse) {}

ZBuildState::ZBuildState(const std::string& sPath, EOpen eOpen)
{
    std::string sWhy;
    if (!Open(sPath, eOpen, sWhy))
        throw ZHostError("the build state '" + sPath + "' can't be used: " + sWhy, "'animpack scan' makes it anew");
}

ZBuildState::~ZBuildState()
{
    if (m_bBegun)
        sqlite3_exec(m_pDatabase.get(), "COMMIT", nullptr, nullptr, nullptr);
    Close();
}

void ZBuildState::Close()
{
    m_pIndex.reset();
    for (auto* ppStatement :
         {&m_pFind, &m_pFindDependencies, &m_pSave, &m_pSaveDependency, &m_pRemove, &m_pRemoveDependencies})
        ppStatement->reset();
    m_pDatabase.reset();
}

bool ZBuildState::Open(const std::string& sPath, EOpen eOpen, std::string& sWhy)
{
    const bool bMake = eOpen == EOpen::eMake;
    sqlite3* pOpened = nullptr;
    // Immutable: no locks are asked for, which disks of a network may not have.
    const int nOpened =
        eOpen == EOpen::eLookUp
            ? sqlite3_open_v2(UriOf(sPath, "?immutable=1").c_str(), &pOpened,
                              SQLITE_OPEN_READONLY | SQLITE_OPEN_URI | SQLITE_OPEN_NOMUTEX, nullptr)
            : sqlite3_open_v2(sPath.empty() ? ":memory:" : sPath.c_str(), &pOpened,
                              SQLITE_OPEN_READWRITE | (bMake ? SQLITE_OPEN_CREATE : 0) | SQLITE_OPEN_NOMUTEX, nullptr);
    m_pDatabase.reset(pOpened);
    sqlite3* pDatabase = m_pDatabase.get();
    const auto fail = [&]
    {
        sWhy = pDatabase != nullptr ? sqlite3_errmsg(pDatabase) : "out of memory";
        const int nCode = pDatabase != nullptr ? sqlite3_errcode(pDatabase) : SQLITE_NOMEM;
        // All else is the fault of the disk, its owner or another process, and the file may be as good as ever.
        if (bMake && nCode != SQLITE_CORRUPT && nCode != SQLITE_NOTADB && nCode != SQLITE_ERROR)
            throw ZHostError("the build state '" + sPath + "' can't be used: " + sWhy,
                             "is there room on the disk, and may it be written to? --out names another folder");
        return false;
    };
    if (nOpened != SQLITE_OK)
        return fail();
    sqlite3_busy_timeout(pDatabase, 5000);
    const auto number = [&](const char* szSql, int64_t& nValue)
    {
        ZSqlStatement statement(pDatabase, szSql);
        bool bFailed = !statement.IsSound();
        if (bFailed || !statement.Step(bFailed))
            return false;
        nValue = statement.IntegerAt(0);
        return true;
    };
    int64_t nLayout = 0, nApplication = 0, nTables = 0;
    if (!number("PRAGMA user_version", nLayout) || !number("PRAGMA application_id", nApplication) ||
        !number("SELECT count(*) FROM sqlite_schema", nTables))
        return fail();
    const bool bOurs = nLayout == LAYOUT && nApplication == APPLICATION;
    if (!bOurs && (nTables != 0 || !bMake))
    {
        sWhy = "it is of another version of this program";
        return false;
    }
    ZSqlStatement check(pDatabase, eOpen == EOpen::eLookUp ? "SELECT 'ok'" : "PRAGMA quick_check(1)");
    bool bFailed = !check.IsSound();
    if (bFailed || !check.Step(bFailed))
        return fail();
    if (check.ViewAt(0) != "ok")
    {
        sWhy = check.TextAt(0);
        std::replace(sWhy.begin(), sWhy.end(), '\n', ' ');
        return false;
    }
    check.Reset();
    if (bMake)
    {
        // A run that is killed loses its last records and nothing else, so nobody waits for the disk here.
        if (sqlite3_exec(pDatabase, "PRAGMA synchronous = OFF; PRAGMA journal_mode = TRUNCATE;", nullptr, nullptr,
                         nullptr) != SQLITE_OK)
            return fail();
        const std::string sMarks = "PRAGMA user_version = " + std::to_string(LAYOUT) +
                                   "; PRAGMA application_id = " + std::to_string(APPLICATION);
        if (nTables == 0 &&
            (sqlite3_exec(pDatabase, "BEGIN", nullptr, nullptr, nullptr) != SQLITE_OK ||
             sqlite3_exec(pDatabase, sMarks.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK ||
             !MakeTables(pDatabase) || sqlite3_exec(pDatabase, "COMMIT", nullptr, nullptr, nullptr) != SQLITE_OK))
            return fail();
    }
    if (!HasOurTables(pDatabase))
    {
        sWhy = "it lacks tables or has other ones";
        return false;
    }
    return Prepare() || fail();
}

bool ZBuildState::Prepare()
{
    sqlite3* pDatabase = m_pDatabase.get();
    const auto prepare = [&](std::unique_ptr<ZSqlStatement>& pStatement, const char* szSql)
    {
        pStatement = std::make_unique<ZSqlStatement>(pDatabase, szSql);
        return pStatement->IsSound();
    };
    m_pIndex = std::make_unique<ZScanIndex>(pDatabase);
    return m_pIndex->IsSound() &&
           prepare(m_pFind, "SELECT component, tools, file, size, time, hash FROM job WHERE id = ?") &&
           prepare(m_pFindDependencies, "SELECT id, derived, present, size, time, hash FROM dependency WHERE job = ? "
                                        "ORDER BY position") &&
           prepare(m_pSave, "INSERT OR REPLACE INTO job VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?)") &&
           prepare(m_pSaveDependency, "INSERT INTO dependency VALUES(?, ?, ?, ?, ?, ?, ?, ?)") &&
           prepare(m_pRemove, "DELETE FROM job WHERE id = ?") &&
           prepare(m_pRemoveDependencies, "DELETE FROM dependency WHERE job = ?");
}

void ZBuildState::Fail(const char* szWhat) const
{
    throw ZHostError(std::string(szWhat) + ": " + sqlite3_errmsg(m_pDatabase.get()),
                     "is there room on the disk? Removing the file '" + std::string(STATE_FILE) +
                         "' in the output folder starts anew");
}

void ZBuildState::Execute(const char* szSql)
{
    if (sqlite3_exec(m_pDatabase.get(), szSql, nullptr, nullptr, nullptr) != SQLITE_OK)
        Fail("the build state can't be written");
}

void ZBuildState::Begin()
{
    if (!m_bBegun)
        Execute("BEGIN");
    m_bBegun = true;
}

void ZBuildState::Pending()
{
    const auto now = std::chrono::steady_clock::now();
    if (m_nPending >= BATCH || (m_nPending != 0 && now - m_pendingSince > std::chrono::seconds(1)))
        Commit();
    if (m_nPending++ == 0)
        m_pendingSince = now;
    Begin();
}

void ZBuildState::Commit()
{
    if (m_nPending == 0)
        return;
    m_nPending = 0;
    m_bBegun = false;
    Execute("COMMIT");
}

bool ZBuildState::Find(const std::string& sId, SBuildRecord& record)
{
    bool bFailed = false;
    Begin();
    if (!m_pFind->Text(sId).Step(bFailed))
    {
        if (bFailed)
            Fail("the build state can't be read");
        return false;
    }
    record = {};
    record.sId = sId;
    record.sComponent = m_pFind->TextAt(0);
    record.sTools = m_pFind->TextAt(1);
    record.sFile = m_pFind->TextAt(2);
    record.stamp = {true, m_pFind->UnsignedAt(3), m_pFind->IntegerAt(4)};
    record.nHash = m_pFind->UnsignedAt(5);
    m_pFind->Reset();
    m_pFindDependencies->Text(sId);
    while (m_pFindDependencies->Step(bFailed))
    {
        const ZSqlStatement& row = *m_pFindDependencies;
        SDependency& dependency = record.dependencies.emplace_back();
        dependency.sId = row.TextAt(0);
        dependency.eKind = row.IntegerAt(1) != 0 ? SDependency::eDerived : SDependency::eSource;
        dependency.stamp = {row.IntegerAt(2) != 0, row.UnsignedAt(3), row.IntegerAt(4)};
        dependency.nHash = row.UnsignedAt(5);
    }
    if (bFailed)
        Fail("the build state can't be read");
    return true;
}

void ZBuildState::Save(const SBuildRecord& record)
{
    RemoveRecord(record.sId);
    const ZResourceID id = ToId(record.sId);
    const std::string sPlatform = ToStd(id.GetPlatformFromExtension());
    std::string sParameters;
    for (const ZString& parameter : id.GetParameters())
        sParameters.append(sParameters.empty() ? "" : "|").append(parameter.View());
    m_pSave->Text(record.sId).Text(record.sComponent).Text(record.sTools).Text(sPlatform).Text(sParameters);
    m_pSave->Text(record.sFile).Unsigned(record.stamp.nSize).Integer(record.stamp.nTime).Unsigned(record.nHash);
    if (!m_pSave->Run())
        Fail("the build state can't be written");
    int64_t nPosition = 0;
    for (const SDependency& dependency : record.dependencies)
    {
        m_pSaveDependency->Text(record.sId).Integer(nPosition++).Text(dependency.sId);
        m_pSaveDependency->Integer(dependency.eKind == SDependency::eDerived).Integer(dependency.stamp.bExists);
        m_pSaveDependency->Unsigned(dependency.stamp.nSize).Integer(dependency.stamp.nTime).Unsigned(dependency.nHash);
        if (!m_pSaveDependency->Run())
            Fail("the build state can't be written");
    }
}

void ZBuildState::Save(const SBuildRecord& record, const SSourceScan& scan)
{
    Save(record);
    if (!m_pIndex->Save(scan))
        Fail("the scan index can't be written");
}

std::vector<std::string> ZBuildState::IdsFrom(const std::string& sFirst, const std::string& sBehind)
{
    std::vector<std::string> ids;
    ZSqlStatement statement(m_pDatabase.get(), "SELECT id FROM job WHERE id >= ? AND id < ? ORDER BY id");
    bool bFailed = !statement.IsSound();
    if (!bFailed)
        statement.Text(sFirst).Text(sBehind);
    while (!bFailed && statement.Step(bFailed))
        ids.push_back(statement.TextAt(0));
    if (bFailed)
        Fail("the build state can't be read");
    return ids;
}

void ZBuildState::TakeRecord(ZBuildState& other, const std::string& sId)
{
    SBuildRecord record;
    SSourceScan scan;
    if (!other.Find(sId, record))
        return;
    if (!record.sFile.empty())
        Save(record);
    else if (other.FindScan(record, scan))
        Save(record, scan);
}

void ZBuildState::Take(const std::string& sPath)
{
    ZBuildState other(sPath, EOpen::eLookUp);
    for (const std::string& sId : other.IdsFrom("", "\xff"))
        TakeRecord(other, sId);
}

void ZBuildState::Take(const std::string& sPath, const std::vector<std::string>& sources, std::string_view extension)
{
    ZBuildState other(sPath, EOpen::eLookUp);
    std::unordered_set<std::string> taken;
    for (const std::string& sSource : sources)
    {
        if (extension.empty())
            TakeRecord(other, sSource);
        const std::string sStart = '<' + ToLower(sSource);
        std::vector<std::string> pending;
        // Behind the file's own name comes what is in it, or the end of the identifier.
        for (const char c : {'?', '>'})
            for (std::string& sId : other.IdsFrom(sStart + c, sStart + static_cast<char>(c + 1)))
                if (extension.empty() || ToId(sId).GetExtension().View() == extension)
                    pending.push_back(std::move(sId));
        while (!pending.empty())
        {
            const std::string sId = std::move(pending.back());
            pending.pop_back();
            if (!taken.insert(sId).second)
                continue;
            TakeRecord(other, sId);
            for (std::string& sNeed : other.NeedsOf(sId))
                pending.push_back(std::move(sNeed));
        }
    }
}

void ZBuildState::SaveTo(const std::string& sPath)
{
    Commit();
    if (std::exchange(m_bBegun, false))
        Execute("COMMIT");
    // Another machine's try at the same may be under way.
    const std::string sPassing = sPath + '.' + Os::MachineName() + '-' + std::to_string(Os::OwnProcess());
    Os::RemoveFile(sPassing);
    ZSqlStatement statement(m_pDatabase.get(), "VACUUM INTO ?");
    if (!statement.IsSound() || !statement.Text(sPassing).Run())
        Fail(("the build state can't be written to '" + sPassing + "'").c_str());
    std::error_code error = Os::FlushFile(sPassing);
    if (!error)
        error = Os::RenameFile(sPassing, sPath);
    if (error)
        throw ZHostError("'" + sPath + "' can't be written: " + error.message());
}

void ZBuildState::RemoveRecord(const std::string& sId)
{
    Pending();
    if (!m_pRemove->Text(sId).Run() || !m_pRemoveDependencies->Text(sId).Run())
        Fail("the build state can't be written");
}

void ZBuildState::Remove(const std::string& sId)
{
    RemoveRecord(sId);
    if (!m_pIndex->Remove(sId))
        Fail("the scan index can't be written");
}

void ZBuildState::VisitPacked(const std::function<void(SBuildRecord&)>& function)
{
    Begin();
    ZSqlStatement all(m_pDatabase.get(), "SELECT id, file, size, time, hash FROM job WHERE file <> '' ORDER BY id");
    bool bFailed = !all.IsSound();
    while (!bFailed && all.Step(bFailed))
    {
        SBuildRecord record;
        record.sId = all.TextAt(0);
        record.sFile = all.TextAt(1);
        record.stamp = {true, all.UnsignedAt(2), all.IntegerAt(3)};
        record.nHash = all.UnsignedAt(4);
        function(record);
    }
    if (bFailed)
        Fail("the build state can't be read");
}

std::vector<std::string> ZBuildState::NeedsOf(const std::string& sId)
{
    std::vector<std::string> needs;
    SBuildRecord record;
    if (Find(sId, record))
        for (const SDependency& dependency : record.dependencies)
            if (dependency.eKind == SDependency::eDerived)
                needs.push_back(dependency.sId);
    return needs;
}

std::string ZBuildState::IdOfFile(const std::string& sFile)
{
    ZSqlStatement statement(m_pDatabase.get(), "SELECT id FROM job WHERE file = ?");
    bool bFailed = false;
    return statement.IsSound() && statement.Text(sFile).Step(bFailed) ? statement.TextAt(0) : std::string();
}

bool ZBuildState::FindScan(const SBuildRecord& record, SSourceScan& scan)
{
    bool bFound = false;
    Begin();
    if (!m_pIndex->Find(record.sId, scan, bFound))
        Fail("the scan index can't be read");
    return bFound && HashOfScan(scan) == record.nHash;
}

bool ZBuildState::FindScanNames(const SBuildRecord& record, SSourceScan& scan)
{
    bool bFound = false;
    Begin();
    if (!m_pIndex->FindNames(record.sId, scan, bFound))
        Fail("the scan index can't be read");
    return bFound;
}

std::vector<ZScanIndex::SSource> ZBuildState::ScannedSources()
{
    std::vector<ZScanIndex::SSource> sources;
    if (!m_pIndex->Sources(sources))
        Fail("the scan index can't be read");
    return sources;
}

void ZBuildState::KeepSources(const std::vector<std::string>& sources, const std::vector<std::string>& folders)
{
    for (const ZScanIndex::SSource& known : ScannedSources())
        if (!std::binary_search(sources.begin(), sources.end(), known.sId) &&
            std::none_of(folders.begin(), folders.end(),
                         [&known](const std::string& sFolder) { return known.sId.starts_with(sFolder); }))
            Remove(known.sId);
    Commit();
}

void ZBuildState::VisitEntries(const std::function<void(ZScanIndex::SEntry&)>& function)
{
    if (!m_pIndex->Visit(function))
        Fail("the scan index can't be read");
}

std::string ZBuildState::Assets()
{
    ZSqlStatement statement(m_pDatabase.get(), "SELECT assets FROM run");
    bool bFailed = false;
    return statement.IsSound() && statement.Step(bFailed) ? statement.TextAt(0) : std::string();
}

void ZBuildState::SetAssets(const std::string& sRoot)
{
    if (Assets() == sRoot)
        return;
    Pending();
    ZSqlStatement statement(m_pDatabase.get(), "UPDATE run SET assets = ?");
    if (!statement.IsSound() || !statement.Text(sRoot).Run())
        Fail("the build state can't be written");
    statement.Reset();
    Commit();
}

bool ZBuildState::BeginRun()
{
    Commit();
    ZSqlStatement statement(m_pDatabase.get(), "SELECT cut_short FROM run");
    bool bFailed = false;
    const bool bCutShort = statement.IsSound() && statement.Step(bFailed) && statement.IntegerAt(0) != 0;
    statement.Reset();
    SetCutShort(true);
    return bCutShort;
}

void ZBuildState::EndRun()
{
    SetCutShort(false);
}

void ZBuildState::SetCutShort(bool bCutShort)
{
    Pending();
    Execute(bCutShort ? "UPDATE run SET cut_short = 1" : "UPDATE run SET cut_short = 0");
    Commit();
}

} // namespace Host
