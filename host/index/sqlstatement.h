#pragma once

#include <bit>
#include <cstdint>
#include <sqlite3.h>
#include <string>
#include <string_view>

namespace Host
{

/// One prepared statement: bind in order, step, read. Ready for the next use once there are no more rows.
class ZSqlStatement
{
public:
    ZSqlStatement(sqlite3* pDatabase, const char* szSql)
    {
        sqlite3_prepare_v2(pDatabase, szSql, -1, &m_pStatement, nullptr);
    }
    ~ZSqlStatement() { sqlite3_finalize(m_pStatement); }
    ZSqlStatement(const ZSqlStatement&) = delete;
    ZSqlStatement& operator=(const ZSqlStatement&) = delete;

    /// False when the text is no SQL, or names what the database does not have.
    bool IsSound() const { return m_pStatement != nullptr; }

    /// The text must stay until the statement has run.
    ZSqlStatement& Text(std::string_view text)
    {
        // A null pointer would bind NULL.
        sqlite3_bind_text64(m_pStatement, ++m_nBound, text.data() != nullptr ? text.data() : "", text.size(),
                            SQLITE_STATIC, SQLITE_UTF8);
        return *this;
    }
    ZSqlStatement& Integer(int64_t nValue)
    {
        sqlite3_bind_int64(m_pStatement, ++m_nBound, nValue);
        return *this;
    }
    ZSqlStatement& Unsigned(uint64_t nValue) { return Integer(std::bit_cast<int64_t>(nValue)); }

    /// True when there is a row.
    bool Step(bool& bFailed)
    {
        const int nResult = sqlite3_step(m_pStatement);
        if (nResult == SQLITE_ROW)
            return true;
        bFailed = bFailed || nResult != SQLITE_DONE;
        Reset();
        return false;
    }
    /// For a statement that gives no rows.
    bool Run()
    {
        bool bFailed = false;
        Step(bFailed);
        return !bFailed;
    }
    void Reset()
    {
        sqlite3_reset(m_pStatement);
        m_nBound = 0;
    }

    /// Good until the next step.
    std::string_view ViewAt(int nColumn) const
    {
        const auto* pText = reinterpret_cast<const char*>(sqlite3_column_text(m_pStatement, nColumn));
        return pText != nullptr
                   ? std::string_view(pText, static_cast<size_t>(sqlite3_column_bytes(m_pStatement, nColumn)))
                   : std::string_view();
    }
    std::string TextAt(int nColumn) const { return std::string(ViewAt(nColumn)); }
    int64_t IntegerAt(int nColumn) const { return sqlite3_column_int64(m_pStatement, nColumn); }
    uint64_t UnsignedAt(int nColumn) const { return std::bit_cast<uint64_t>(IntegerAt(nColumn)); }

private:
    sqlite3_stmt* m_pStatement = nullptr;
    int m_nBound = 0;
};

} // namespace Host
