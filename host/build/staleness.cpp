#include "host/build/staleness.h"

#include "host/files/derivedkinds.h"
#include "host/files/outputpath.h"
#include "host/files/resourceids.h"

namespace Host
{

ZStaleness::ELook ZStaleness::Compare(const std::string& sPath, SFileStamp& stamp, uint64_t nHash)
{
    const SFileStamp now = sPath.empty() ? SFileStamp() : StampOf(sPath);
    if (now == stamp)
        return ELook::eSame;
    if (!now.bExists || !stamp.bExists || now.nSize != stamp.nSize || nHash == 0 || m_hashes.Of(sPath, now) != nHash)
        return ELook::eOther;
    stamp = now;
    return ELook::eSameContent;
}

ZStaleness::ELook ZStaleness::CompareSource(SDependency& dependency)
{
    return Compare(m_tree.Find(ToId(dependency.sId)).sPath, dependency.stamp, dependency.nHash);
}

bool ZStaleness::IsSameDerived(SDependency& dependency, bool& bNoted)
{
    const ZResourceID id = ToId(dependency.sId);
    const ELook eFile = Compare(FileOf(OutputPathOf(id)), dependency.stamp, dependency.nHash);
    bNoted |= eFile == ELook::eSameContent;
    if (eFile == ELook::eOther)
        return false;
    const SDerivedKind* pKind = FindDerivedKind(id.GetExtension().View());
    if (pKind == nullptr || pKind->component.empty())
        return true; // made elsewhere: its file is all there is to know
    SBuildRecord record;
    return IsUpToDate({SJob::ePack, dependency.sId}, record);
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
        const ELook eFile = record.sFile == OutputPathOf(ToId(job.sId))
                                ? Compare(FileOf(record.sFile), record.stamp, record.nHash)
                                : ELook::eOther;
        bSame = eFile != ELook::eOther;
        bNoted = eFile == ELook::eSameContent;
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

SBuildRecord ZStaleness::RecordOf(const SJobResult& result) const
{
    const uint64_t nHash = result.job.eKind == SJob::eScan ? HashOfScan(result.scan) : result.nHash;
    return {result.job.sId, result.job.Component(), m_sTools, result.sFile, result.stamp, nHash, result.dependencies};
}

} // namespace Host
