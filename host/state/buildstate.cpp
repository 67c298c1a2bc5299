#include "host/state/buildstate.h"

#include "host/files/resourceids.h"
#include "host/index/scantext.h"
#include "host/index/sqlstatement.h"
#include "host/state/dependencyfields.h"
#include "host/text/hosterror.h"
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

/// Records in one transaction: its flush to the disk takes longer than packing a small take.
constexpr size_t BATCH = 200;

} // namespace

ZBuildState::ZBuildState(const std::string& sPath, const FNotice& notice)
{
    std::string sWhy;
    if (Open(sPath, ZStateDatabase::EOpen::eMake, sWhy))
        return;
    Close();
    std::error_code error;
    for (const char* szTail : {"", "-journal", "-wal", "-shm"})
        std::filesystem::remove(sPath + szTail, error);
    notice("the build state '" + sPath + "' is made anew: " + sWhy);
    if (!Open(sPath, ZStateDatabase::EOpen::eMake, sWhy))
        throw ZHostError("the build state '" + sPath + "' can't be made: " + sWhy, "choose another folder with --out");
}

ZBuildState::ZBuildState(const std::string& sPath) : ZBuildState(sPath, ZStateDatabase::EOpen::eUse) {}

ZBuildState::ZBuildState(const std::string& sPath, ZStateDatabase::EOpen eOpen)
{
    std::string sWhy;
    if (!Open(sPath, eOpen, sWhy))
        throw ZHostError("the build state '" + sPath + "' can't be used: " + sWhy, "'animpack scan' makes it anew");
}

ZBuildState::~ZBuildState()
{
    if (m_bBegun)
        sqlite3_exec(m_database.Get(), "COMMIT", nullptr, nullptr, nullptr);
    Close();
}

void ZBuildState::Close()
{
    m_pIndex.reset();
    for (auto* ppStatement : {&m_pFind, &m_pSave, &m_pRemove})
        ppStatement->reset();
    m_database.Close();
}

bool ZBuildState::Open(const std::string& sPath, ZStateDatabase::EOpen eOpen, std::string& sWhy)
{
    if (!m_database.Open(sPath, eOpen, sWhy))
        return false;
    sqlite3* pDatabase = m_database.Get();
    const auto prepare = [&](std::unique_ptr<ZSqlStatement>& pStatement, const char* szSql)
    {
        pStatement = std::make_unique<ZSqlStatement>(pDatabase, szSql);
        return pStatement->IsSound();
    };
    m_pIndex = std::make_unique<ZScanIndex>(pDatabase);
    if (m_pIndex->IsSound() &&
        prepare(m_pFind, "SELECT component, tools, file, size, time, hash, dependencies FROM job WHERE id = ?") &&
        prepare(m_pSave, "INSERT OR REPLACE INTO job VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?, ?)") &&
        prepare(m_pRemove, "DELETE FROM job WHERE id = ?"))
        return true;
    sWhy = sqlite3_errmsg(pDatabase);
    return false;
}

void ZBuildState::Fail(const char* szWhat) const
{
    throw ZHostError(std::string(szWhat) + ": " + sqlite3_errmsg(m_database.Get()),
                     "is there room on the disk? Removing the file '" + std::string(STATE_FILE) +
                         "' in the output folder starts anew");
}

void ZBuildState::Execute(const char* szSql)
{
    if (sqlite3_exec(m_database.Get(), szSql, nullptr, nullptr, nullptr) != SQLITE_OK)
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
    ZFieldReader dependencies(m_pFind->ViewAt(6));
    ReadDependencies(dependencies, record.dependencies);
    m_pFind->Reset();
    // One that can't be read is as good as none: the job is done again.
    return dependencies.Good();
}

void ZBuildState::Save(const SBuildRecord& record)
{
    Pending();
    const ZResourceID id = ToId(record.sId);
    const std::string sPlatform = ToStd(id.GetPlatformFromExtension());
    std::string sParameters;
    for (const ZString& parameter : id.GetParameters())
        sParameters.append(sParameters.empty() ? "" : "|").append(parameter.View());
    ZFieldWriter dependencies;
    WriteDependencies(dependencies, record.dependencies);
    const std::string sDependencies = dependencies.Take();
    m_pSave->Text(record.sId).Text(record.sComponent).Text(record.sTools).Text(sPlatform).Text(sParameters);
    m_pSave->Text(record.sFile).Unsigned(record.stamp.nSize).Integer(record.stamp.nTime).Unsigned(record.nHash);
    if (!m_pSave->Text(sDependencies).Run())
        Fail("the build state can't be written");
}

void ZBuildState::Save(const SBuildRecord& record, const std::string& sScan)
{
    Save(record);
    if (!m_pIndex->Save(record.sId, sScan))
        Fail("the scan index can't be written");
}

std::vector<std::string> ZBuildState::IdsFrom(const std::string& sFirst, const std::string& sBehind)
{
    std::vector<std::string> ids;
    ZSqlStatement statement(m_database.Get(), "SELECT id FROM job WHERE id >= ? AND id < ? ORDER BY id");
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
    std::string sScan;
    if (!other.Find(sId, record))
        return;
    if (!record.sFile.empty())
        Save(record);
    else if (other.FindScanText(record, sScan))
        Save(record, sScan);
}

void ZBuildState::Take(const std::string& sPath)
{
    ZBuildState other(sPath, ZStateDatabase::EOpen::eLookUp);
    for (const std::string& sId : other.IdsFrom("", "\xff"))
        TakeRecord(other, sId);
}

void ZBuildState::Take(const std::string& sPath, const std::vector<std::string>& sources, std::string_view extension)
{
    ZBuildState other(sPath, ZStateDatabase::EOpen::eLookUp);
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
    ZSqlStatement statement(m_database.Get(), "VACUUM INTO ?");
    if (!statement.IsSound() || !statement.Text(sPassing).Run())
        Fail(("the build state can't be written to '" + sPassing + "'").c_str());
    std::error_code error = Os::FlushFile(sPassing);
    if (!error)
        error = Os::RenameFile(sPassing, sPath);
    if (error)
        throw ZHostError("'" + sPath + "' can't be written: " + error.message());
}

void ZBuildState::Remove(const std::string& sId)
{
    Pending();
    if (!m_pRemove->Text(sId).Run())
        Fail("the build state can't be written");
    if (!m_pIndex->Remove(sId))
        Fail("the scan index can't be written");
}

void ZBuildState::VisitPacked(const std::function<void(SBuildRecord&)>& function)
{
    Begin();
    ZSqlStatement all(m_database.Get(), "SELECT id, file, size, time, hash FROM job WHERE file <> '' ORDER BY id");
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
    ZSqlStatement statement(m_database.Get(), "SELECT id FROM job WHERE file = ?");
    bool bFailed = false;
    return statement.IsSound() && statement.Text(sFile).Step(bFailed) ? statement.TextAt(0) : std::string();
}

bool ZBuildState::FindScanText(const SBuildRecord& record, std::string& sScan)
{
    bool bFound = false;
    Begin();
    if (!m_pIndex->Find(record.sId, sScan, bFound))
        Fail("the scan index can't be read");
    return bFound && HashOfScan(sScan) == record.nHash;
}

bool ZBuildState::FindScan(const SBuildRecord& record, SSourceScan& scan)
{
    std::string sScan;
    return FindScanText(record, sScan) && DecodeScan(sScan, scan);
}

bool ZBuildState::FindScanNames(const SBuildRecord& record, SSourceScan& scan)
{
    std::string sScan;
    return FindScanText(record, sScan) && DecodeScanNames(sScan, scan);
}

std::vector<ZScanIndex::SSource> ZBuildState::ScannedSources()
{
    std::vector<ZScanIndex::SSource> sources;
    ZSqlStatement all(m_database.Get(),
                      "SELECT s.source, j.dependencies FROM scan s LEFT JOIN job j ON j.id = s.source "
                      "ORDER BY s.source");
    bool bFailed = !all.IsSound();
    while (!bFailed && all.Step(bFailed))
    {
        ZScanIndex::SSource& source = sources.emplace_back();
        source.sId = all.TextAt(0);
        std::vector<SDependency> dependencies;
        ZFieldReader fields(all.ViewAt(1));
        ReadDependencies(fields, dependencies);
        for (const SDependency& dependency : dependencies)
            if (dependency.sId == source.sId)
                source.stamp = dependency.stamp;
    }
    if (bFailed)
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
    ZSqlStatement statement(m_database.Get(), "SELECT assets FROM run");
    bool bFailed = false;
    return statement.IsSound() && statement.Step(bFailed) ? statement.TextAt(0) : std::string();
}

void ZBuildState::SetAssets(const std::string& sRoot)
{
    if (Assets() == sRoot)
        return;
    Pending();
    ZSqlStatement statement(m_database.Get(), "UPDATE run SET assets = ?");
    if (!statement.IsSound() || !statement.Text(sRoot).Run())
        Fail("the build state can't be written");
    statement.Reset();
    Commit();
}

bool ZBuildState::BeginRun()
{
    Commit();
    ZSqlStatement statement(m_database.Get(), "SELECT cut_short FROM run");
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
