#include "resource/animation/packer/metarigpacker.h"

#include "resource/animation/frame/animationexception.h"
#include "resource/animation/packer/rigoutput.h"
#include "resource/core/iresourcedatabase.h"

namespace ResourceAnimation
{

bool ZMetaRigPacker::PackResource(IResourcePackerContext* pContext, const ZResourceID& source,
                                  const ZResourceID& target, const ZVariantRef&)
{
    const bool bUpdate = GetResourceDatabase()->BeginResourceUpdate(target, 0);
    bool bPacked = false;
    try
    {
        bPacked = Merge(source, target);
    }
    catch (const ZAnimationException& e)
    {
        pContext->Error(ZString::Format("Error when packing rig: {0}", e.Message()));
    }
    if (bUpdate)
        GetResourceDatabase()->EndResourceUpdate(0);
    return bPacked;
}

bool ZMetaRigPacker::Merge(const ZResourceID& source, const ZResourceID& target)
{
    ZMetaRig meta;
    for (const ZString& text : target.GetParameters())
    {
        const ZResourceID id = ZResourceID(text).ReplacePlatform(target.GetPlatformFromExtension());
        const TUniquePtr<ZAnimationRig> pRig = LoadRig(id, eEndian_Little);
        if (!pRig)
        {
            m_pContext->Error(ZString::Format("Cannot load rig {0}", text));
            return false;
        }
        ZString newRoot;
        if (!meta.Add(*pRig, newRoot))
        {
            m_pContext->Error(
                ZString::Format("The rig {0} has a new root bone {1}(This is not supported)", text, newRoot));
            return false;
        }
    }
    if (meta.IsEmpty())
    {
        m_pContext->Error(ZString::Format("Cannot find rig in {0}", source));
        return false;
    }
    WriteRigResource(meta.Build(), GetTargetPlatform(), target, EReadBack::eNo);
    return true;
}

bool ZMetaRig::Add(const ZAnimationRig& rig, ZString& newRoot)
{
    if (m_nRigs++ == 0)
    {
        TakeOver(rig);
        return true;
    }
    for (uint32_t i = 0; i < rig.BoneCount(); ++i)
    {
        const ZString& name = rig.Name(i);
        if (m_boneByName.Contains(name))
            continue; // the rig that brought it decides all about it
        const SBoneId parent = rig.ParentId(i);
        if (parent.IsValid())
        {
            const SBoneId* pParent = m_boneByName.Find(rig.Name(parent));
            const SBoneId parentInMergedHierarchy = pParent != nullptr ? *pParent : SBoneId();
            ZASSERT_OR_HALT(parentInMergedHierarchy != SBoneId(SBoneId::INVALID_ID));
            Append(rig, i, parentInMergedHierarchy);
            continue;
        }
        if (i != 0)
        {
            newRoot = name;
            return false;
        }
        // The rig's root under a name of its own: it is bone 0, and what hangs on it hangs there.
        m_boneByName[name] = SBoneId(uint16_t{0});
    }
    return true;
}

void ZMetaRig::TakeOver(const ZAnimationRig& rig)
{
    m_trajectoryIndex = rig.TrajectoryIndex();
    for (uint32_t i = 0; i < rig.BoneCount(); ++i)
        m_boneByName[rig.Name(i)] = SBoneId(i);
    m_rootIndices = TArray<SBoneId>(rig.RootIndices());
    m_parents = TArray<SBoneId>(rig.Hierarchy());
    m_uniqueIds = TArray<uint32_t>(rig.UniqueIds());
    m_bindPose = TArray<SQV>(rig.Bones());
    m_names = TArray<ZString>(rig.Names());
}

void ZMetaRig::Append(const ZAnimationRig& rig, uint32_t nBone, SBoneId parent)
{
    const uint32_t nNew = m_names.Size();
    if (nNew >= SBoneId::INVALID_ID)
        throw ZRigPackerException(ZString::Format("The merged rig has more than {0} bones.", SBoneId::INVALID_ID));
    m_parents.Add(parent);
    m_uniqueIds.Add(rig.UniqueId(nBone));
    m_bindPose.Add(rig.Bone(nBone));
    m_names.Add(rig.Name(nBone));
    m_boneByName[rig.Name(nBone)] = SBoneId(nNew);
}

ZAnimationRig ZMetaRig::Build() const
{
    const ZAnimationRig rig(m_trajectoryIndex, m_rootIndices.Ref(), m_parents.Ref(), m_uniqueIds.Ref(),
                            m_bindPose.Ref(), m_names.Ref());
    // A first rig without bones has no bone 0 for the roots of the others.
    ZString why;
    if (!rig.IsConsistent(why))
        throw ZRigPackerException(ZString::Format("The rigs can't be merged: {0}.", why));
    return rig;
}

} // namespace ResourceAnimation
