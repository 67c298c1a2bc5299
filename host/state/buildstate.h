#pragma once

#include "host/index/scanindex.h"
#include "host/state/jobresult.h"
#include "host/state/statedatabase.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace Host
{

/// What is known of one job that was done: a packed resource, or a scan.
struct SBuildRecord
{
    std::string sId; ///< as in SJob
    std::string sComponent;
    std::string sTools; ///< hash of the tools that did it
    std::string sFile;  ///< below the output folder; empty for a scan
    SFileStamp stamp;   ///< of that file
    uint64_t nHash = 0; ///< of its content, or of what the scan said
    std::vector<SDependency> dependencies;
};

/// The state of the output folder between runs: one SQLite file in it. A job that failed has no record.
///
/// One process uses it at a time (ZOutputLock). Records are written in batches: after a kill some are lost, and what
/// they told is done again.
class ZBuildState
{
public:
    using FNotice = std::function<void(const std::string&)>;

    /// Opens or makes the file. One that is damaged or of another layout is made anew, with a notice. ZHostError when
    /// there is no writing there. An empty path keeps all in memory.
    ZBuildState(const std::string& sPath, const FNotice& notice);
    /// Opens a file that is there, to look into it: makes nothing anew. ZHostError when it is damaged or of another
    /// layout.
    explicit ZBuildState(const std::string& sPath);
    /// Takes over all that the state in a file tells. ZHostError as above.
    void Take(const std::string& sPath);
    /// The same of some sources, with the packed resources of one extension, or all, and what those were made with. The
    /// file must not be written to meanwhile, and is not looked through for damage: it may be large.
    void Take(const std::string& sPath, const std::vector<std::string>& sources, std::string_view extension = {});
    /// Writes all to a file, which appears complete or not at all.
    void SaveTo(const std::string& sPath);

    ~ZBuildState();
    ZBuildState(const ZBuildState&) = delete;
    ZBuildState& operator=(const ZBuildState&) = delete;

    bool Find(const std::string& sId, SBuildRecord& record);
    void Save(const SBuildRecord& record);
    /// The record of a scan with what EncodeScan() made of it; the record's hash is that of this text.
    void Save(const SBuildRecord& record, const std::string& sScan);
    void Remove(const std::string& sId);
    /// Of all packed resources, without dependencies; the function must not write.
    void VisitPacked(const std::function<void(SBuildRecord&)>& function);
    /// Packed resources that a packed resource was made with.
    std::vector<std::string> NeedsOf(const std::string& sId);

    /// Of the packed resource at a place below the output folder; empty when none is known there.
    std::string IdOfFile(const std::string& sFile);

    /// What a scan found, if that is all there and as it was saved.
    bool FindScan(const SBuildRecord& record, SSourceScan& scan);
    /// The same with the identifiers of sub-resources alone.
    bool FindScanNames(const SBuildRecord& record, SSourceScan& scan);
    std::vector<ZScanIndex::SSource> ScannedSources();
    /// Forgets scanned sources that are not on the list, which is sorted, nor below one of the folders.
    void KeepSources(const std::vector<std::string>& sources, const std::vector<std::string>& folders);
    void VisitEntries(const std::function<void(ZScanIndex::SEntry&)>& function);

    /// Root of the asset tree that was worked on last; empty when none was.
    std::string Assets();
    void SetAssets(const std::string& sRoot);

    /// Writes what is pending.
    void Commit();

    /// Whether the last run that wrote here was cut short. From here on it is this one that has to end well.
    bool BeginRun();
    void EndRun();

private:
    ZBuildState(const std::string& sPath, ZStateDatabase::EOpen eOpen);
    bool Open(const std::string& sPath, ZStateDatabase::EOpen eOpen, std::string& sWhy);
    std::vector<std::string> IdsFrom(const std::string& sFirst, const std::string& sBehind);
    void TakeRecord(ZBuildState& other, const std::string& sId);
    void Close();
    bool FindScanText(const SBuildRecord& record, std::string& sScan);
    void Execute(const char* szSql);
    void Begin();
    void SetCutShort(bool bCutShort);
    void Pending();
    [[noreturn]] void Fail(const char* szWhat) const;

    ZStateDatabase m_database;
    std::unique_ptr<ZSqlStatement> m_pFind, m_pSave, m_pRemove;
    std::unique_ptr<ZScanIndex> m_pIndex;
    bool m_bBegun = false; ///< a transaction, for reading at first: locks are taken once, not for each question
    size_t m_nPending = 0;
    std::chrono::steady_clock::time_point m_pendingSince;
};

constexpr const char STATE_FILE[] = "animpack.db";

} // namespace Host
