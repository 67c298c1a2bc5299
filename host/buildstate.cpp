#include "host/buildstate.h"

#include "host/hosterror.h"
#include "host/resourceids.h"

#include <bit>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sqlite3.h>
#include <string_view>
#include <sys/file.h>
#include <unistd.h>

namespace Host
{

namespace
{

/// Raise it when the tables change: the old state is thrown away, and all is packed once more.
constexpr int LAYOUT = 1;
constexpr int APPLICATION = 0x5a414e49;
/// Records in one transaction: its flush to the disk takes longer than packing a small take.
constexpr size_t BATCH = 200;

constexpr const char LOCK_FILE[] = "/animpack.lock";

constexpr const char TABLES[] = R"(
CREATE TABLE IF NOT EXISTS run(one INTEGER PRIMARY KEY CHECK(one = 1), cut_short INTEGER NOT NULL);
CREATE TABLE IF NOT EXISTS job(
  id TEXT PRIMARY KEY, component TEXT NOT NULL, tools TEXT NOT NULL, platform TEXT NOT NULL, parameters TEXT NOT NULL,
  file TEXT NOT NULL, size INTEGER NOT NULL, time INTEGER NOT NULL, hash INTEGER NOT NULL, scan TEXT NOT NULL
) WITHOUT ROWID;
CREATE TABLE IF NOT EXISTS dependency(
  job TEXT NOT NULL, position INTEGER NOT NULL, id TEXT NOT NULL, derived INTEGER NOT NULL, present INTEGER NOT NULL,
  size INTEGER NOT NULL, time INTEGER NOT NULL, hash INTEGER NOT NULL, PRIMARY KEY(job, position)
) WITHOUT ROWID;
INSERT OR IGNORE INTO run VALUES(1, 0);
)";

} // namespace

class ZBuildState::ZStatement
{
public:
    ZStatement(sqlite3* pDatabase, const char* szSql)
    {
        sqlite3_prepare_v2(pDatabase, szSql, -1, &m_pStatement, nullptr);
    }
    ~ZStatement() { sqlite3_finalize(m_pStatement); }
    ZStatement(const ZStatement&) = delete;
    ZStatement& operator=(const ZStatement&) = delete;

    bool IsSound() const { return m_pStatement != nullptr; }
    ZStatement& Text(const std::string& sText)
    {
        sqlite3_bind_text64(m_pStatement, ++m_nBound, sText.data(), sText.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
        return *this;
    }
    ZStatement& Integer(int64_t nValue)
    {
        sqlite3_bind_int64(m_pStatement, ++m_nBound, nValue);
        return *this;
    }
    /// True when there is a row. The statement is ready for the next use when there is none.
    bool Step(bool& bFailed)
    {
        const int nResult = sqlite3_step(m_pStatement);
        if (nResult == SQLITE_ROW)
            return true;
        bFailed = nResult != SQLITE_DONE;
        Reset();
        return false;
    }
    void Reset()
    {
        sqlite3_reset(m_pStatement);
        m_nBound = 0;
    }
    std::string TextAt(int nColumn) const
    {
        const auto* pText = reinterpret_cast<const char*>(sqlite3_column_text(m_pStatement, nColumn));
        return pText != nullptr ? std::string(pText, static_cast<size_t>(sqlite3_column_bytes(m_pStatement, nColumn)))
                                : std::string();
    }
    int64_t IntegerAt(int nColumn) const { return sqlite3_column_int64(m_pStatement, nColumn); }
    uint64_t UnsignedAt(int nColumn) const { return std::bit_cast<uint64_t>(IntegerAt(nColumn)); }

private:
    sqlite3_stmt* m_pStatement = nullptr;
    int m_nBound = 0;
};

void ZBuildState::SDatabaseCloser::operator()(sqlite3* pDatabase) const
{
    sqlite3_close(pDatabase);
}

ZBuildState::ZBuildState(const std::string& sPath, const FNotice& notice)
{
    std::string sWhy;
    if (Open(sPath, sWhy))
        return;
    Close();
    std::error_code error;
    for (const char* szTail : {"", "-journal", "-wal", "-shm"})
        std::filesystem::remove(sPath + szTail, error);
    notice("the build state '" + sPath + "' is made anew: " + sWhy);
    if (!Open(sPath, sWhy))
        throw ZHostError("the build state '" + sPath + "' can't be made: " + sWhy, "choose another folder with --out");
}

ZBuildState::~ZBuildState()
{
    if (m_nPending != 0)
        sqlite3_exec(m_pDatabase.get(), "COMMIT", nullptr, nullptr, nullptr);
    Close();
}

void ZBuildState::Close()
{
    for (auto* ppStatement :
         {&m_pFind, &m_pFindDependencies, &m_pSave, &m_pSaveDependency, &m_pRemove, &m_pRemoveDependencies})
        ppStatement->reset();
    m_pDatabase.reset();
}

bool ZBuildState::Open(const std::string& sPath, std::string& sWhy)
{
    sqlite3* pOpened = nullptr;
    const int nOpened = sqlite3_open_v2(sPath.empty() ? ":memory:" : sPath.c_str(), &pOpened,
                                        SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
    m_pDatabase.reset(pOpened);
    sqlite3* pDatabase = m_pDatabase.get();
    const auto fail = [&]
    {
        sWhy = pDatabase != nullptr ? sqlite3_errmsg(pDatabase) : "out of memory";
        return false;
    };
    if (nOpened != SQLITE_OK)
        return fail();
    sqlite3_busy_timeout(pDatabase, 5000);
    const auto number = [&](const char* szSql, int64_t& nValue)
    {
        ZStatement statement(pDatabase, szSql);
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
    if (nTables != 0 && (nLayout != LAYOUT || nApplication != APPLICATION))
    {
        sWhy = "it is of another version of this program";
        return false;
    }
    ZStatement check(pDatabase, "PRAGMA quick_check(1)");
    bool bFailed = !check.IsSound();
    if (bFailed || !check.Step(bFailed))
        return fail();
    if (check.TextAt(0) != "ok")
    {
        sWhy = check.TextAt(0);
        return false;
    }
    check.Reset();
    // A run that is killed loses its last records and nothing else, so nobody waits for the disk here.
    if (sqlite3_exec(pDatabase, "PRAGMA synchronous = OFF; PRAGMA journal_mode = TRUNCATE;", nullptr, nullptr,
                     nullptr) != SQLITE_OK)
        return fail();
    if (nTables == 0)
    {
        const std::string sMarks = "PRAGMA user_version = " + std::to_string(LAYOUT) +
                                   "; PRAGMA application_id = " + std::to_string(APPLICATION);
        if (sqlite3_exec(pDatabase, sMarks.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK ||
            sqlite3_exec(pDatabase, TABLES, nullptr, nullptr, nullptr) != SQLITE_OK)
            return fail();
    }
    const auto prepare = [&](std::unique_ptr<ZStatement>& pStatement, const char* szSql)
    {
        pStatement = std::make_unique<ZStatement>(pDatabase, szSql);
        return pStatement->IsSound();
    };
    return (prepare(m_pFind, "SELECT component, tools, file, size, time, hash, scan FROM job WHERE id = ?") &&
            prepare(m_pFindDependencies, "SELECT id, derived, present, size, time, hash FROM dependency WHERE job = ? "
                                         "ORDER BY position") &&
            prepare(m_pSave, "INSERT OR REPLACE INTO job VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?, ?)") &&
            prepare(m_pSaveDependency, "INSERT INTO dependency VALUES(?, ?, ?, ?, ?, ?, ?, ?)") &&
            prepare(m_pRemove, "DELETE FROM job WHERE id = ?") &&
            prepare(m_pRemoveDependencies, "DELETE FROM dependency WHERE job = ?")) ||
           fail();
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

void ZBuildState::Pending()
{
    const auto now = std::chrono::steady_clock::now();
    if (m_nPending >= BATCH || (m_nPending != 0 && now - m_pendingSince > std::chrono::seconds(1)))
        Commit();
    if (m_nPending++ != 0)
        return;
    m_pendingSince = now;
    Execute("BEGIN");
}

void ZBuildState::Commit()
{
    if (m_nPending == 0)
        return;
    m_nPending = 0;
    Execute("COMMIT");
}

bool ZBuildState::Find(const std::string& sId, SBuildRecord& record)
{
    bool bFailed = false;
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
    record.sScan = m_pFind->TextAt(6);
    m_pFind->Reset();
    m_pFindDependencies->Text(sId);
    while (m_pFindDependencies->Step(bFailed))
    {
        const ZStatement& row = *m_pFindDependencies;
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
    Remove(record.sId);
    const ZResourceID id = ToId(record.sId);
    std::string sParameters;
    for (const ZString& parameter : id.GetParameters())
        sParameters += (sParameters.empty() ? "" : "|") + ToStd(parameter);
    bool bFailed = false;
    m_pSave->Text(record.sId).Text(record.sComponent).Text(record.sTools).Text(ToStd(id.GetPlatformFromExtension()));
    m_pSave->Text(sParameters).Text(record.sFile).Integer(std::bit_cast<int64_t>(record.stamp.nSize));
    m_pSave->Integer(record.stamp.nTime).Integer(std::bit_cast<int64_t>(record.nHash)).Text(record.sScan);
    m_pSave->Step(bFailed);
    int64_t nPosition = 0;
    for (const SDependency& dependency : record.dependencies)
    {
        if (bFailed)
            break;
        m_pSaveDependency->Text(record.sId).Integer(nPosition++).Text(dependency.sId);
        m_pSaveDependency->Integer(dependency.eKind == SDependency::eDerived).Integer(dependency.stamp.bExists);
        m_pSaveDependency->Integer(std::bit_cast<int64_t>(dependency.stamp.nSize)).Integer(dependency.stamp.nTime);
        m_pSaveDependency->Integer(std::bit_cast<int64_t>(dependency.nHash)).Step(bFailed);
    }
    if (bFailed)
        Fail("the build state can't be written");
}

void ZBuildState::Remove(const std::string& sId)
{
    Pending();
    bool bFailed = false, bFailedToo = false;
    m_pRemove->Text(sId).Step(bFailed);
    m_pRemoveDependencies->Text(sId).Step(bFailedToo);
    if (bFailed || bFailedToo)
        Fail("the build state can't be written");
}

bool ZBuildState::BeginRun()
{
    ZStatement statement(m_pDatabase.get(), "SELECT cut_short FROM run");
    bool bFailed = false;
    const bool bCutShort = statement.IsSound() && statement.Step(bFailed) && statement.IntegerAt(0) != 0;
    statement.Reset();
    Commit();
    Execute("UPDATE run SET cut_short = 1");
    return bCutShort;
}

void ZBuildState::EndRun()
{
    Commit();
    Execute("UPDATE run SET cut_short = 0");
}

ZOutputLock::ZOutputLock(const std::string& sOut, const ZBuildState::FNotice& notice)
{
    const std::string sHint = "choose a folder that can be written to with --out";
    std::error_code error;
    std::filesystem::create_directories(sOut, error);
    if (error)
        throw ZHostError("the output folder '" + sOut + "' can't be made: " + error.message(), sHint);
    m_nFile = ::open((sOut + LOCK_FILE).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (m_nFile < 0)
        throw ZHostError("the output folder '" + sOut + "' can't be written to: " + std::strerror(errno), sHint);
    if (::flock(m_nFile, LOCK_EX | LOCK_NB) != 0)
    {
        notice("waiting for another run that writes to '" + sOut + "'");
        while (::flock(m_nFile, LOCK_EX) != 0)
            if (errno != EINTR)
                throw ZHostError("the output folder '" + sOut + "' can't be locked: " + std::strerror(errno));
    }
    m_bHeld = true;
}

ZOutputLock::ZOutputLock(const std::string& sOut)
    : m_nFile(::open((sOut + LOCK_FILE).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666))
{
    m_bHeld = m_nFile >= 0 && ::flock(m_nFile, LOCK_EX | LOCK_NB) == 0;
}

ZOutputLock::~ZOutputLock()
{
    if (m_nFile >= 0)
        ::close(m_nFile);
}

} // namespace Host
