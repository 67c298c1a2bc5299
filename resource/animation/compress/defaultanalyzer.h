#pragma once

#include "base/collections/tmap.h"
#include "resource/animation/compress/rotationtests.h"
#include "resource/animation/import/animation.h"
#include "system/animation/animationrig.h"

namespace ResourceAnimation
{

/// 2^-11 metres: how far each of x, y, z may differ for two translations to be the same.
constexpr float TRANSLATION_TOLERANCE = 0.00048828125f;

/// Bones to pack: name, and index in the animation's bones. Their order is that of the names.
using TBonesToPack = TMap<ZString, int>;

/// One bone of a class: its places in the animation and in the rig.
struct SBoneTrackRef
{
    int64_t nAnimationBone;
    uint64_t nRigBone;
};

/// The bones of each class, every list ascending in rig index. List n feeds track group type n. A bone stands in
/// exactly one of the rotation lists (0, 2, 4, 5, 6) and one of the translation lists (1, 3, 7).
struct SAnimationAnalysis
{
    using TList = TArray<SBoneTrackRef>;

    TList aBindPoseRotations;
    TList aBindPoseTranslations;
    TList aConstantRotations;
    TList aConstantTranslations;
    TList aRotations64;
    TList aRotations32; ///< fingers
    TList aSingleAxisRotations;
    TList aAnimatedTranslations;
};

/// Decides how each track of an animation is stored; changes no key.
///
/// Rotation keys are in the runtime's sense, as the rig's bind pose is. Every key is compared with key 0, never with
/// its neighbour, so a slow drift counts as motion.
class ZDefaultAnalyzer
{
public:
    virtual ~ZDefaultAnalyzer() = default;

    /// ZAnimationPackerException when the rig lacks a bone that is to be packed. A bone without keys fails the
    /// assertion "m_pStart + nIndex < GetEnd()".
    virtual SAnimationAnalysis Analyze(TSharedPtr<Import::ZAnimation> pAnimation, const ZAnimationRig& rig,
                                       const TBonesToPack& bonesToPack);

    float fRotationTolerance = ROTATION_TOLERANCE;
    float fTranslationTolerance = TRANSLATION_TOLERANCE;

private:
    void ClassifyRotation(const Import::ZAnimatedBone& bone, const SQV& bindPose, bool bFinger,
                          const SBoneTrackRef& track, SAnimationAnalysis& analysis) const;
    void ClassifyTranslation(const Import::ZAnimatedBone& bone, const SQV& bindPose, const SBoneTrackRef& track,
                             SAnimationAnalysis& analysis) const;
};

} // namespace ResourceAnimation
