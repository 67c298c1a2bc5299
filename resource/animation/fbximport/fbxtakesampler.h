#pragma once

#include "fbx/scene/fbxnode.h"
#include "resource/animation/fbximport/fbxground.h"
#include "resource/animation/import/animatedbone.h"

namespace ResourceAnimation::Import
{

/// Samples the bones of one take: first all bones are listed, then every bone is asked at every frame, frame by frame.
///
/// Order  the ground's subtree, then that of each root object, each depth first; take nodes, with all below them, are
///        left out. The ground's bone is the first. A root object that was met before, because it hangs deeper below
///        the ground or below another one, is not met again: its keys belong to the parent that it has in the scene.
class ZFbxTakeSampler
{
public:
    /// Lists bones and property tracks. ZAnimationException for a property without a type, or for more keys than
    /// MAX_TAKE_KEYS.
    explicit ZFbxTakeSampler(const ZFbxTakeData& take);

    /// Every bone with its keys, still under its node's full name. In parent space a root object's keys are relative to
    /// the ground, which is its parent in the rig.
    TArray<TSharedPtr<ZAnimatedBone>> Sample(EBoneSpace eSpace, float scale);

    /// Keys of all bones together, 28 bytes each.
    static constexpr uint64_t MAX_TAKE_KEYS = uint64_t{1} << 25;

private:
    struct SPropertyTrack
    {
        FbxProperty source;
        TSharedPtr<ZAnimatedProperty> pTarget;
    };
    struct SBone
    {
        const FbxNode* pNode;
        bool bRootObject;
        bool bExported;
        TArray<SPropertyTrack> tracks;
        ZAnimatedBone::TRotations rotations;
        ZAnimatedBone::TTranslations translations;
    };

    void ListBones(const FbxNode* pRoot, bool bRootObject);
    void ListTracks(SBone& bone, const FbxObject* pObject) const;
    void SampleFrame(uint32_t nFrame, FbxTime time, EBoneSpace eSpace, float scale);

    const ZFbxTakeData& m_take;
    TArray<SBone> m_bones;
    TArray<bool> m_listed; ///< by the node's index in the scene
};

} // namespace ResourceAnimation::Import
