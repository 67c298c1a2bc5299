#pragma once

#include "host/files/contenthash.h"
#include "host/index/sourcescan.h"

#include <functional>
#include <memory>
#include <unordered_map>

struct sqlite3;

namespace Host
{

class ZSqlStatement;

/// What scans found, as tables of the build state's database: an entry for each source and each of its sub-resources,
/// with references and properties. Lives no longer than the database; writes within the transaction that is open.
///
/// Rows depend on what was saved and in which order, on nothing else.
class ZScanIndex
{
public:
    /// SQL that makes the tables.
    static const char* Tables();

    explicit ZScanIndex(sqlite3* pDatabase);
    ~ZScanIndex();
    ZScanIndex(const ZScanIndex&) = delete;
    ZScanIndex& operator=(const ZScanIndex&) = delete;

    /// False when the database does not have the tables, with the columns, that they should have.
    bool IsSound() const;

    // Each is false when the database fails.
    bool Save(const SSourceScan& scan); ///< instead of what was known of the source
    bool Remove(const std::string& sSource);
    /// `bFound` tells whether there is such a source.
    bool Find(const std::string& sSource, SSourceScan& scan, bool& bFound);
    /// The same with the identifiers of sub-resources alone.
    bool FindNames(const std::string& sSource, SSourceScan& scan, bool& bFound);

    struct SSource
    {
        std::string sId;
        SFileStamp stamp; ///< of the file when it was scanned
    };
    /// All sources, by identifier.
    bool Sources(std::vector<SSource>& sources);

    struct SEntry
    {
        std::string sId;
        std::string sSource;
        bool bIsSource = false; ///< the entry of a source itself
        std::vector<std::string> references;
        SSourceScan::TProperties properties;
    };
    /// All entries, source by source. The function may take the entry's parts.
    bool Visit(const std::function<void(SEntry&)>& function);

private:
    bool PropertyNumber(const std::string& sName, int64_t& nNumber);
    bool SaveEntry(const std::string& sSource, int64_t nPosition, const std::string& sId, const std::string& sFile,
                   const std::vector<std::string>& references, const SSourceScan::TProperties& properties);

    sqlite3* m_pDatabase;
    std::unique_ptr<ZSqlStatement> m_pFindEntries, m_pFindReferences, m_pFindProperties, m_pSaveEntry, m_pSaveReference,
        m_pSaveProperty, m_pSaveName, m_pFindName, m_pRemoveReferences, m_pRemoveProperties, m_pRemoveEntries;
    std::unordered_map<std::string, int64_t> m_names; ///< that are known to be there
};

} // namespace Host
