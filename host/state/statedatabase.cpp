#include "host/state/statedatabase.h"

#include "host/index/scanindex.h"
#include "host/index/sqlstatement.h"
#include "host/text/hosterror.h"
#include "host/text/textformat.h"

#include <algorithm>

namespace Host
{

namespace
{

/// Raise it when the tables change: the old state is thrown away, and all is packed once more.
constexpr int LAYOUT = 3;
constexpr int APPLICATION = 0x5a414e49;
constexpr const char TABLES[] = R"(
CREATE TABLE run(one INTEGER PRIMARY KEY CHECK(one = 1), cut_short INTEGER NOT NULL, assets TEXT NOT NULL);
CREATE TABLE job(
  id TEXT PRIMARY KEY, component TEXT NOT NULL, tools TEXT NOT NULL, platform TEXT NOT NULL, parameters TEXT NOT NULL,
  file TEXT NOT NULL, size INTEGER NOT NULL, time INTEGER NOT NULL, hash INTEGER NOT NULL, dependencies TEXT NOT NULL
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
           sqlite3_exec(pDatabase, ZScanIndex::Table(), nullptr, nullptr, nullptr) == SQLITE_OK;
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

void ZStateDatabase::SCloser::operator()(sqlite3* pDatabase) const
{
    sqlite3_close(pDatabase);
}

bool ZStateDatabase::Open(const std::string& sPath, EOpen eOpen, std::string& sWhy)
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
    return true;
}

} // namespace Host
