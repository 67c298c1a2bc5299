#pragma once

#include "host/files/contenthash.h"
#include "host/index/sourcescan.h"

#include <functional>
#include <memory>

struct sqlite3;

namespace Host
{

class ZSqlStatement;

/// What scans found, as a table of the build state's database: a row for each source, with what EncodeScan() made of
/// it. Lives no longer than the database; writes within the transaction that is open.
///
/// Rows depend on what was saved and in which order, on nothing else.
class ZScanIndex
{
public:
    /// SQL that makes the table.
    static const char* Table();

    explicit ZScanIndex(sqlite3* pDatabase);
    ~ZScanIndex();
    ZScanIndex(const ZScanIndex&) = delete;
    ZScanIndex& operator=(const ZScanIndex&) = delete;

    /// False when the database does not have the table, with the columns, that it should have.
    bool IsSound() const;

    // Each is false when the database fails.
    bool Save(const std::string& sSource, const std::string& sScan); ///< instead of what was known of the source
    bool Remove(const std::string& sSource);
    /// `bFound` tells whether there is such a source.
    bool Find(const std::string& sSource, std::string& sScan, bool& bFound);

    struct SSource
    {
        std::string sId;
        SFileStamp stamp; ///< of the file when it was scanned
    };
    struct SEntry
    {
        std::string sId;
        std::string sSource;
        bool bIsSource = false; ///< the entry of a source itself
        std::vector<std::string> references;
        SSourceScan::TProperties properties;
    };
    /// All entries, source by source. The function may take the entry's parts. False for a text that is none, too.
    bool Visit(const std::function<void(SEntry&)>& function);

private:
    sqlite3* m_pDatabase;
    std::unique_ptr<ZSqlStatement> m_pFind, m_pSave, m_pRemove;
};

} // namespace Host
