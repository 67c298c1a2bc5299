#pragma once

#include "resource/animation/import/animation.h"
#include "resource/animation/import/hierarchy.h"
#include "system/animation/animationrig.h"

#include <initializer_list>

/// One bone of a small rig: name, parent (-1: a root), x of its translation.
struct STestBone
{
    const char* szName;
    int nParent;
    float x = 0.0f;
};

inline ZAnimationRig MakeRig(std::initializer_list<STestBone> bones, int nTrajectory = -1)
{
    TArray<SBoneId> roots, parents;
    TArray<uint32_t> uids;
    TArray<SQV> bind;
    TArray<ZString> names;
    for (const STestBone& bone : bones)
    {
        if (bone.nParent < 0)
            roots.Add(SBoneId(names.Size()));
        parents.Add(SBoneId(bone.nParent));
        names.Add(ZString::ReferenceCString(bone.szName));
        uids.Add(ResourceAnimation::Import::BoneUid(names.Last()));
        bind.Add(SQV());
        bind.Last().translation.x = bone.x;
    }
    return {SBoneId(nTrajectory), roots.Ref(), parents.Ref(), uids.Ref(), bind.Ref(), names.Ref()};
}

/// An animation of 30 frames a second whose first bone is the root; `turn` and `move` give bone n's key of frame f.
template <class TTurn, class TMove>
TSharedPtr<ResourceAnimation::Import::ZAnimation>
MakeTake(const ZString& name, std::initializer_list<const char*> bones, int nFrames,
         ResourceAnimation::Import::EBoneSpace eSpace, TTurn turn, TMove move)
{
    using namespace ResourceAnimation::Import;
    ZAnimation::TBones animated;
    for (const char* szName : bones)
    {
        ZAnimatedBone::TRotations rotations;
        ZAnimatedBone::TTranslations translations;
        for (int f = 0; f < nFrames; ++f)
        {
            rotations.Add(turn(animated.Size(), f));
            translations.Add(move(animated.Size(), f));
        }
        animated.Add(TSharedPtr<ZAnimatedBone>::Create(ZString::ReferenceCString(szName), 30.0f, std::move(rotations),
                                                       std::move(translations),
                                                       TArrayRef<const TSharedPtr<ZAnimatedProperty>>(), true));
    }
    return ZAnimation::CreateForCount(name, nFrames, 30.0f, animated[0]->Name(), ZResourceID(), animated.Ref(), eSpace,
                                      SQV(), {});
}

/// The same without any motion.
inline TSharedPtr<ResourceAnimation::Import::ZAnimation> MakeStill(std::initializer_list<const char*> bones,
                                                                   int nFrames)
{
    return MakeTake(
        "run", bones, nFrames, ResourceAnimation::Import::eSpace_Parent, [](uint32_t, int) { return SQuaternion(); },
        [](uint32_t, int) { return SVector3(); });
}
