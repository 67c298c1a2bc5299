#include "host/state/staleness.h"

#include "host/files/derivedkinds.h"
#include "host/files/outputpath.h"
#include "host/files/resourceids.h"

namespace Host
{

ZStaleness::ELook ZStaleness::Compare(const std::string& sPath, const SFileStamp& now, SFileStamp& stamp,
                                      uint64_t nHash)
{
    if (now == stamp)
        return ELook::eSame;
    if (!now.bExists || !stamp.bExists || now.nSize != stamp.nSize || nHash == 0 || m_hashes.Of(sPath, now) != nHash)
        return ELook::eOther;
    stamp = now;
    return ELook::eSameContent;
}

const ZStaleness::SSource& ZStaleness::SourceOf(const SDependency& dependency)
{
    auto it = m_sources.find(dependency.sId);
    if (it == m_sources.end())
    {
        const ZAssetTree::SLookup& lookup = m_tree.Find(ToId(dependency.sId));
        it = m_sources.emplace(dependency.sId, SSource{lookup.sPath, {}, lookup.IsWrong()}).first;
        if (!lookup.sPath.empty())
            it->second.stamp = StampOf(lookup.sPath);
    }
    return it->second;
}

ZStaleness::ELook ZStaleness::CompareSource(SDependency& dependency)
{
    const SSource& source = SourceOf(dependency);
    return source.bWrong ? ELook::eOther : Compare(source.sPath, source.stamp, dependency.stamp, dependency.nHash);
}

bool ZStaleness::IsSameDerived(SDependency& dependency, bool& bNoted)
{
    auto it = m_derived.find(dependency.sId);
    if (it == m_derived.end() || !m_upToDate.contains(dependency.sId))
    {
        const std::string sFile = FileOf(OutputPathOf(ToId(dependency.sId)));
        it = m_derived.insert_or_assign(dependency.sId, SSource{sFile, StampOf(sFile)}).first;
    }
    const ELook eFile = Compare(it->second.sPath, it->second.stamp, dependency.stamp, dependency.nHash);
    bNoted |= eFile == ELook::eSameContent;
    if (eFile == ELook::eOther)
        return false;
    if (m_upToDate.contains(dependency.sId))
        return true;
    const SDerivedKind* pKind = FindDerivedKind(ToId(dependency.sId).GetExtension().View());
    if (pKind == nullptr || pKind->component.empty())
        return true; // made elsewhere: its file is all there is to know
    SBuildRecord record;
    return IsUpToDate({SJob::ePack, dependency.sId}, record);
}

bool ZStaleness::HasFile(SBuildRecord& record, bool& bNoted)
{
    const std::string sFile = FileOf(record.sFile);
    const ELook eFile = Compare(sFile, StampOf(sFile), record.stamp, record.nHash);
    bNoted |= eFile == ELook::eSameContent;
    return eFile != ELook::eOther;
}

bool ZStaleness::HasFile(SBuildRecord record)
{
    bool bNoted = false;
    return HasFile(record, bNoted);
}

bool ZStaleness::IsUpToDate(const SJob& job, SBuildRecord& record)
{
    if (!m_state.Find(job.sId, record))
        return false;
    if (m_upToDate.contains(job.sId))
        return true;
    if (record.sTools != m_sTools || record.sComponent != job.Component() || !m_asking.insert(job.sId).second)
        return false;
    bool bNoted = false;
    bool bSame = true;
    if (job.eKind == SJob::ePack)
    {
        bSame = HasFile(record, bNoted);
    }
    for (SDependency& dependency : record.dependencies)
    {
        if (!bSame)
            break;
        if (dependency.eKind == SDependency::eDerived)
        {
            bSame = IsSameDerived(dependency, bNoted);
            continue;
        }
        const ELook eSource = CompareSource(dependency);
        bSame = eSource != ELook::eOther;
        bNoted |= eSource == ELook::eSameContent;
    }
    m_asking.erase(job.sId);
    if (!bSame)
        return false;
    if (bNoted)
        m_state.Save(record);
    m_upToDate.insert(job.sId);
    return true;
}

std::vector<SReason> ZStaleness::WhyNot(const SJob& job)
{
    std::vector<SReason> why;
    SBuildRecord record;
    if (!m_state.Find(job.sId, record))
        return {{SReason::eNew, {}, 0, 0}};
    if (record.sTools != m_sTools)
        why.push_back({SReason::eTools, {}, 0, 0});
    if (record.sComponent != job.Component())
        why.push_back({SReason::eComponent, {}, 0, 0});
    if (bool bNoted = false; job.eKind == SJob::ePack && !HasFile(record, bNoted))
    {
        const std::string sFile = FileOf(record.sFile);
        const SFileStamp now = StampOf(sFile);
        why.push_back(
            {now.bExists ? SReason::eOutputChanged : SReason::eOutputGone, sFile, record.stamp.nSize, now.nSize});
    }
    for (SDependency& dependency : record.dependencies)
    {
        const SFileStamp before = dependency.stamp;
        if (dependency.eKind == SDependency::eDerived)
        {
            bool bNoted = false;
            if (IsSameDerived(dependency, bNoted))
                continue;
            const SFileStamp now = StampOf(FileOf(OutputPathOf(ToId(dependency.sId))));
            if (before == now)
                why.push_back({SReason::eNeedAgain, dependency.sId, before.nSize, now.nSize});
            else
                why.push_back({now.bExists ? SReason::eInputChanged : SReason::eInputGone, dependency.sId, before.nSize,
                               now.nSize});
        }
        else if (CompareSource(dependency) == ELook::eOther)
        {
            const SSource& source = SourceOf(dependency);
            why.push_back({source.bWrong           ? SReason::eInputDoubtful
                           : !source.stamp.bExists ? SReason::eInputGone
                           : !before.bExists       ? SReason::eInputNew
                                                   : SReason::eInputChanged,
                           dependency.sId, before.nSize, source.stamp.nSize});
        }
    }
    return why;
}

void ZStaleness::Foresee(const std::vector<SJob>& jobs, const std::function<void(const SJobResult&)>& report)
{
    std::unordered_set<std::string> told;
    std::vector<std::pair<SJob, bool>> pending; ///< and whether its needs are told
    for (const SJob& listed : jobs)
    {
        pending.emplace_back(listed, false);
        while (!pending.empty())
        {
            const SJob job = pending.back().first;
            const bool bNeedsTold = std::exchange(pending.back().second, true);
            if (!bNeedsTold && !told.insert(job.sId).second)
            {
                pending.pop_back();
                continue;
            }
            SJobResult result;
            result.job = job;
            SBuildRecord record;
            const bool bUpToDate = IsUpToDate(job, record);
            if (!bUpToDate && !bNeedsTold)
            {
                const std::vector<std::string> needs = m_state.NeedsOf(job.sId);
                for (auto it = needs.rbegin(); it != needs.rend(); ++it)
                    if (const SJob need{SJob::ePack, *it}; !need.Component().empty() && !IsUpToDate(need, record))
                        pending.emplace_back(need, false);
                continue;
            }
            pending.pop_back();
            result.eStatus = bUpToDate ? EJobStatus::eUpToDate : EJobStatus::eToPack;
            if (bUpToDate)
            {
                result.sFile = record.sFile;
                result.nBytes = record.stamp.nSize;
            }
            else
                result.why = WhyNot(job);
            report(result);
        }
    }
}

SBuildRecord ZStaleness::RecordOf(const SJobResult& result) const
{
    return {result.job.sId, result.job.Component(), m_sTools,           result.sFile,
            result.stamp,   result.nHash,           result.dependencies};
}

} // namespace Host
