#include "resource/animation/compress/defaultanalyzer.h"

#include "resource/animation/frame/animationexception.h"

#include <algorithm>

namespace ResourceAnimation
{

namespace
{

// A finger's 32-bit form is cheaper than three floats of axis until there are some keys to spread them over.
constexpr size_t SINGLE_AXIS_MIN_KEYS = 3;
constexpr size_t SINGLE_AXIS_MIN_FINGER_KEYS = 6;

uint64_t RigIndexOf(const ZAnimationRig& rig, const Import::ZAnimatedBone& bone)
{
    const TArrayRef<const uint32_t> uids = rig.UniqueIds();
    const uint32_t* pUid = std::find(uids.begin(), uids.end(), bone.Uid());
    if (pUid == uids.end())
        throw ZAnimationPackerException(
            ZString::Format("Failed to get rig index for bone '{}' with uid={1} .", bone.Name(), bone.Uid()));
    return static_cast<uint64_t>(pUid - uids.begin());
}

} // namespace

SAnimationAnalysis ZDefaultAnalyzer::Analyze(TSharedPtr<Import::ZAnimation> pAnimation, const ZAnimationRig& rig,
                                             const TBonesToPack& bonesToPack)
{
    const Import::ZAnimation::TBones& bones = pAnimation->AnimatedBones();
    TArray<SBoneTrackRef> tracks;
    tracks.Reserve(bonesToPack.Size());
    for (const auto& [name, nBone] : bonesToPack)
        tracks.Add({nBone, RigIndexOf(rig, *bones[static_cast<size_t>(nBone)])});
    std::sort(tracks.begin(), tracks.end(),
              [](const SBoneTrackRef& a, const SBoneTrackRef& b) { return a.nRigBone < b.nRigBone; });

    bool* const pFingers =
        Z_STACK_ARRAY(bool, rig.BoneCount(), "(rig->BoneCount()) * sizeof(bool) <= C_MAX_STACK_ARRAY_ALLOCATION");
    std::fill_n(pFingers, rig.BoneCount(), false);

    SAnimationAnalysis analysis;
    for (const SBoneTrackRef& track : tracks)
    {
        const Import::ZAnimatedBone& bone = *bones[static_cast<size_t>(track.nAnimationBone)];
        const SQV& bindPose = rig.Bone(track.nRigBone);
        // The flag spreads from parents that are packed themselves and stand before their children in the rig.
        const SBoneId parent = rig.ParentId(track.nRigBone);
        const bool bFinger = (parent.IsValid() && parent < rig.BoneCount() && pFingers[parent]) ||
                             bone.Name().IIndexOf("finger") != ZString::NOT_FOUND;
        pFingers[track.nRigBone] = bFinger;
        ClassifyRotation(bone, bindPose, bFinger, track, analysis);
        ClassifyTranslation(bone, bindPose, track, analysis);
    }
    return analysis;
}

void ZDefaultAnalyzer::ClassifyRotation(const Import::ZAnimatedBone& bone, const SQV& bindPose, bool bFinger,
                                        const SBoneTrackRef& track, SAnimationAnalysis& analysis) const
{
    const TArrayRef<const SQuaternion> keys = bone.Rotations();
    const SQuaternion& first = keys[0];
    if (!HasDifferentRotation(keys, fRotationTolerance))
    {
        const bool bBindPose = !IsDifferentRotation(first, bindPose.rotation, fRotationTolerance);
        (bBindPose ? analysis.aBindPoseRotations : analysis.aConstantRotations).Add(track);
        return;
    }
    const size_t nMinKeys = bFinger ? SINGLE_AXIS_MIN_FINGER_KEYS : SINGLE_AXIS_MIN_KEYS;
    if (keys.Size() >= nMinKeys && IsSingleAxisRotation(keys))
        analysis.aSingleAxisRotations.Add(track);
    else
        (bFinger ? analysis.aRotations32 : analysis.aRotations64).Add(track);
}

void ZDefaultAnalyzer::ClassifyTranslation(const Import::ZAnimatedBone& bone, const SQV& bindPose,
                                           const SBoneTrackRef& track, SAnimationAnalysis& analysis) const
{
    const TArrayRef<const SVector3> keys = bone.Translations();
    const SVector3& first = keys[0];
    if (HasDifferentTranslation(keys, fTranslationTolerance))
    {
        analysis.aAnimatedTranslations.Add(track);
        return;
    }
    const SVector3 bind{bindPose.translation.x, bindPose.translation.y, bindPose.translation.z};
    const bool bBindPose = !IsDifferentTranslation(first, bind, fTranslationTolerance);
    (bBindPose ? analysis.aBindPoseTranslations : analysis.aConstantTranslations).Add(track);
}

} // namespace ResourceAnimation
