#pragma once

#include "base/collections/tmap.h"
#include "resource/animation/packer/animationpackerbase.h"

namespace ResourceAnimation
{

/// Component "MetaRigPacker": packed rigs, named by the target's parameters, become one rig that has the bones of all.
///
/// The first rig is taken over whole and keeps its indices, roots and trajectory. Of each further rig, bones whose name
/// is not known yet are appended in its order below the bone that bears their parent's name. Names alone decide what is
/// one bone, exactly. The output is an ordinary rig resource.
class ZMetaRigPacker final : public ZAnimationPackerBase
{
protected:
    /// The update is ended either way. False, with the reason sent to the context, when there is no rig or they don't
    /// fit together; with "Error when packing rig: {0}" for every ZAnimationException.
    bool PackResource(IResourcePackerContext* pContext, const ZResourceID& source, const ZResourceID& target,
                      const ZVariantRef& extra) override;

private:
    bool Merge(const ZResourceID& source, const ZResourceID& target);
};

/// The rig that a merge makes, while it grows.
class ZMetaRig
{
public:
    bool IsEmpty() const { return m_nRigs == 0; }
    /// False, with the name told, when the rig has a root beside its bone 0 whose name is not known. Assertion:
    /// "parentInMergedHierarchy != SBoneId(SBoneId::INVALID_ID)" when a bone stands in front of its parent.
    /// ZRigPackerException when there are more bones than indices.
    bool Add(const ZAnimationRig& rig, ZString& newRoot);
    /// ZRigPackerException when the rigs contradict each other so that no rig comes out.
    ZAnimationRig Build() const;

private:
    void TakeOver(const ZAnimationRig& rig);
    void Append(const ZAnimationRig& rig, uint32_t nBone, SBoneId parent);

    uint32_t m_nRigs = 0;
    SBoneId m_trajectoryIndex;
    TArray<SBoneId> m_rootIndices;
    TArray<SBoneId> m_parents;
    TArray<uint32_t> m_uniqueIds;
    TArray<SQV> m_bindPose;
    TArray<ZString> m_names;
    TMap<ZString, SBoneId> m_boneByName;
};

} // namespace ResourceAnimation
