#pragma once

#include "base/misc/zresourceid.h"
#include "resource/animation/import/animatedbone.h"

#include <functional>

class ZAnimationRig;

namespace ResourceAnimation::Import
{

/// One take: animated bones with their timing, space, rig and selection.
///
/// Immutable in style: an operation returns a new animation that shares what it did not change, and the caller replaces
/// its pointer. ClearTwistBones, ConjugateRotations, AddBone and the bones' SetKeys alone work in place. Private to one
/// packing. Held by TSharedPtr.
class ZAnimation
{
public:
    using TBones = TArray<TSharedPtr<ZAnimatedBone>>;
    using TPtr = TSharedPtr<ZAnimation>;

    ZAnimation(const ZString& name, uint32_t nFrameCount, float fFrameRate, const ZString& rootBoneName,
               const ZResourceID& rigResource, TArrayRef<const TSharedPtr<ZAnimatedBone>> bones, EBoneSpace eSpace,
               const SQV& sequenceOffset, TArrayRef<const ZString> partialList);

    /// Frames nStartFrame to nEndFrame, both included. Assertion: "frameCount > 0".
    static TPtr CreateForRange(const ZString& name, int nStartFrame, int nEndFrame, float fFrameRate,
                               const ZString& rootBoneName, const ZResourceID& rigResource,
                               TArrayRef<const TSharedPtr<ZAnimatedBone>> bones, EBoneSpace eSpace,
                               const SQV& sequenceOffset, TArrayRef<const ZString> partialList);
    static TPtr CreateForCount(const ZString& name, int frameCount, float fFrameRate, const ZString& rootBoneName,
                               const ZResourceID& rigResource, TArrayRef<const TSharedPtr<ZAnimatedBone>> bones,
                               EBoneSpace eSpace, const SQV& sequenceOffset, TArrayRef<const ZString> partialList);

    const ZString& Name() const { return m_name; }
    uint32_t FrameCount() const { return m_frameCount; }
    float FrameRate() const { return m_frameRate; }
    /// Name of the bone that carries the trajectory.
    const ZString& RootBoneName() const { return m_rootBoneName; }
    /// The rig that the scene names; may be empty.
    const ZResourceID& RigResource() const { return m_rigResource; }
    const TBones& AnimatedBones() const { return m_animatedBones; }
    EBoneSpace Space() const { return m_eSpace; }
    /// The ground at the take's start relative to the sequence origin.
    const SQV& SequenceOffset() const { return m_sequenceOffset; }
    /// Names of the selected bones; none means all.
    const TArray<ZString>& PartialList() const { return m_partialList; }

    void AddBone(const TSharedPtr<ZAnimatedBone>& pBone) { m_animatedBones.Add(pBone); }
    /// From the import model's sense of rotation to the runtime's: sequence offset and every key of every bone.
    void ConjugateRotations();

    // Rigs are matched by bone name, case ignored, index by index: ZAnimationPackerException when they differ.

    /// The same keys in the target space; the same animation when it is there already. From parent space to character
    /// space one level of parent is taken into account and no more.
    static TPtr ConvertToSpace(TPtr pAnimation, EBoneSpace eTarget, const ZAnimationRig& rig);
    /// Moves a bone's motion into its children in the rig, of those that stand behind it, and puts the bone at rest.
    static TPtr FoldBoneIntoChildren(TPtr pAnimation, const ZString& boneName, const ZAnimationRig& rig);
    /// The rig's trajectory bone relative to its first frame. Parent space only.
    static TPtr CreateRelativeTrajectoryAnimation(TPtr pAnimation, const ZAnimationRig& rig);
    /// The same animation when there is no such bone.
    static TPtr RenameBone(TPtr pAnimation, const ZString& oldName, const ZString& newName);
    /// Assertion: "iterator != animatedBones.End()". The root bone's name follows the bone that bore it.
    static TPtr ReplaceBone(TPtr pAnimation, uint32_t nBone, const TSharedPtr<ZAnimatedBone>& pBone);
    /// Rewrites a property wherever it stands; its type becomes that of the function's results.
    static TPtr ConvertProperty(TPtr pAnimation, const ZString& oldName, const ZString& newName,
                                const std::function<ZVariant(const ZVariant&)>& function);
    /// Bones get the new number of frames; the animation's own FrameCount() stays, and readers go by the bones.
    static TPtr Resample(TPtr pAnimation, float fNewFrameRate);
    /// The biped's helper bones are not to be packed.
    static void ClearTwistBones(const TPtr& pAnimation);

private:
    /// All fields but the bones.
    static TPtr CloneWithBones(const ZAnimation& animation, const TBones& bones);

    ZString m_name;
    uint32_t m_frameCount;
    float m_frameRate;
    ZString m_rootBoneName;
    ZResourceID m_rigResource;
    TBones m_animatedBones;
    EBoneSpace m_eSpace;
    SQV m_sequenceOffset;
    TArray<ZString> m_partialList;
};

} // namespace ResourceAnimation::Import
