// The operations of ZAnimation that go by a rig: changes of space, folding, the relative trajectory.
#include "resource/animation/frame/animationexception.h"
#include "resource/animation/import/animation.h"
#include "system/animation/animationrig.h"

namespace ResourceAnimation::Import
{

namespace
{

constexpr int NO_BONE = -1;

int RigIndexOf(const ZAnimationRig& rig, const ZString& name)
{
    const auto& names = rig.Names();
    for (uint32_t i = 0; i < names.Size(); ++i)
        if (names[i] == name)
            return static_cast<int>(i);
    return NO_BONE;
}

bool HasBonesOf(const ZAnimation::TBones& bones, const ZAnimationRig& rig)
{
    if (rig.Bones().Size() != bones.Size())
        return false;
    for (uint32_t i = 0; i < bones.Size(); ++i)
        if (bones[i]->Name().ICompare(rig.Names()[i]) != 0)
            return false;
    return true;
}

/// The bone's keys, each put through `transform(parent key, key)`.
template <class TFunction>
TSharedPtr<ZAnimatedBone> TransformKeys(const ZAnimatedBone& parent, const ZAnimatedBone& bone, TFunction transform)
{
    const uint32_t nFrames = bone.FrameCount();
    ZAnimatedBone::TRotations rotations;
    ZAnimatedBone::TTranslations translations;
    rotations.Reserve(nFrames);
    translations.Reserve(nFrames);
    for (uint32_t n = 0; n < nFrames; ++n)
    {
        const SBoneTransform key = transform(parent.Key(n), bone.Key(n));
        rotations.Add(key.q);
        translations.Add(key.t);
    }
    return ZAnimatedBone::CloneWithKeys(bone, std::move(rotations), std::move(translations));
}

} // namespace

ZAnimation::TPtr ZAnimation::ConvertToSpace(TPtr pAnimation, EBoneSpace eTarget, const ZAnimationRig& rig)
{
    if (pAnimation->m_eSpace == eTarget)
        return pAnimation;
    const TBones& source = pAnimation->m_animatedBones;
    if (!HasBonesOf(source, rig))
        throw ZAnimationPackerException("The animation is not compatible with the specified animation rig.");
    // Parents are read from the source in both directions, so the order of the bones does not matter.
    TBones bones = source;
    for (uint32_t i = 0; i < bones.Size(); ++i)
    {
        const SBoneId parent = rig.Hierarchy()[i];
        if (parent.IsValid())
            bones[i] = TransformKeys(*source[parent], *source[i], eTarget == eSpace_Character ? Compose : Relate);
    }
    TPtr pResult = CloneWithBones(*pAnimation, bones);
    pResult->m_eSpace = eTarget;
    return pResult;
}

ZAnimation::TPtr ZAnimation::FoldBoneIntoChildren(TPtr pAnimation, const ZString& boneName, const ZAnimationRig& rig)
{
    TBones bones = pAnimation->m_animatedBones;
    uint32_t nBone = 0;
    while (nBone < bones.Size() && !(bones[nBone]->Name() == boneName))
        ++nBone;
    const int nRigIndex = nBone < bones.Size() ? RigIndexOf(rig, boneName) : NO_BONE;
    if (nRigIndex == NO_BONE)
        return CloneWithBones(*pAnimation, bones);

    const TSharedPtr<ZAnimatedBone> pBone = bones[nBone];
    if (pAnimation->m_eSpace == eSpace_Parent)
    {
        for (uint32_t i = nBone + 1; i < bones.Size(); ++i)
        {
            const int nChild = RigIndexOf(rig, bones[i]->Name());
            if (nChild != NO_BONE && rig.ParentId(static_cast<size_t>(nChild)) == SBoneId(nRigIndex))
                bones[i] = ZAnimatedBone::ComposeWithChild(*pBone, *bones[i]);
        }
    }

    ZAnimatedBone::TRotations rotations;
    ZAnimatedBone::TTranslations translations;
    rotations.Resize(pBone->FrameCount());
    translations.Resize(pBone->FrameCount());
    const SBoneId parent = rig.ParentId(static_cast<size_t>(nRigIndex));
    if (pAnimation->m_eSpace == eSpace_Character && parent.IsValid())
    {
        for (const TSharedPtr<ZAnimatedBone>& pOther : bones)
        {
            if (pOther->Name() == rig.Name(parent))
            {
                rotations = pOther->Rotations();
                translations = pOther->Translations();
                break;
            }
        }
    }
    bones[nBone] = ZAnimatedBone::CloneWithKeys(*pBone, std::move(rotations), std::move(translations));
    return CloneWithBones(*pAnimation, bones);
}

ZAnimation::TPtr ZAnimation::CreateRelativeTrajectoryAnimation(TPtr pAnimation, const ZAnimationRig& rig)
{
    const SBoneId trajectory = rig.TrajectoryIndex();
    // None is beyond every rig, and fails the bounds check of the names.
    const size_t nTrajectory = trajectory.IsValid() ? size_t{trajectory} : size_t{SBoneId::INVALID_ID32};
    if (rig.Names()[nTrajectory].ICompare(pAnimation->m_rootBoneName) != 0)
        throw ZAnimationPackerException("Trajectory bone mismatch.");
    if (pAnimation->m_eSpace == eSpace_Character)
        throw ZAnimationPackerException(
            "CreateRelativeTrajectoryAnimation(...) only works for parent space animations");

    const ZAnimatedBone& bone = *pAnimation->m_animatedBones[nTrajectory];
    ZAnimatedBone::TRotations rotations = bone.Rotations();
    ZAnimatedBone::TTranslations translations = bone.Translations();
    const SBoneTransform first = bone.Key(0);
    for (uint32_t n = 1; n < bone.FrameCount(); ++n)
    {
        const SBoneTransform key = Relate(first, bone.Key(n));
        rotations[n] = key.q;
        translations[n] = key.t;
    }
    rotations[0] = SQuaternion();
    translations[0] = SVector3();
    return ReplaceBone(pAnimation, static_cast<uint32_t>(nTrajectory),
                       ZAnimatedBone::CloneWithKeys(bone, std::move(rotations), std::move(translations)));
}

} // namespace ResourceAnimation::Import
