#include "resource/animation/compress/defaultcompressor.h"

#include "base/collections/thashmap.h"
#include "resource/animation/compress/propertyarrays.h"
#include "resource/animation/compress/trackgroupwriter.h"
#include "resource/animation/frame/animationexception.h"

namespace ResourceAnimation
{

using Import::ZAnimatedBone;
using SystemAnimation::SAnimationResourceData;

SAnimationResourceData ZDefaultCompressor::Compress(TSharedPtr<Import::ZAnimation> pAnimation, const ZAnimationRig& rig,
                                                    const TBonesToPack& bonesToPack, EEndian eEndian)
{
    ZDefaultAnalyzer analyzer;
    analyzer.fRotationTolerance = ROTATION_TOLERANCE;
    analyzer.fTranslationTolerance = TRANSLATION_TOLERANCE;
    const SAnimationAnalysis analysis = analyzer.Analyze(pAnimation, rig, bonesToPack);

    SAnimationResourceData data;
    data.name = pAnimation->Name();
    data.frameRate = pAnimation->FrameRate();
    data.frameCount = pAnimation->FrameCount();
    data.sequenceOffset = pAnimation->SequenceOffset();
    data.boneCount = NarrowTo<uint16_t>(bonesToPack.Size());
    ZTrackGroupWriter(*pAnimation, eEndian, data.trackGroups).Write(analysis);
    AppendPropertyTracks(*pAnimation, rig, data.properties);
    return data;
}

void AddMissingRigBones(Import::ZAnimation& animation, const ZAnimationRig& rig)
{
    if (!animation.PartialList().IsEmpty())
        return;
    THashMap<uint32_t, bool> imported;
    for (const TSharedPtr<ZAnimatedBone>& pBone : animation.AnimatedBones())
        imported[pBone->Uid()] = true;
    const auto isMissing = [&](uint32_t i) { return !imported.Contains(rig.UniqueId(i)); };
    uint64_t nBones = animation.AnimatedBones().Size();
    for (uint32_t i = 0; i < rig.BoneCount(); ++i)
        nBones += isMissing(i) ? 1 : 0;
    if (nBones * animation.FrameCount() > MAX_COMPLETED_KEYS)
        throw ZAnimationException(
            ZString::Format("Take '{0}' with all bones of its rig has {1} bones of {2} frames; together they are more "
                            "than {3} keys",
                            animation.Name(), nBones, animation.FrameCount(), MAX_COMPLETED_KEYS));
    for (uint32_t i = 0; i < rig.BoneCount(); ++i)
    {
        if (!isMissing(i))
            continue;
        const SQV& bind = rig.Bone(i);
        ZAnimatedBone::TRotations rotations;
        ZAnimatedBone::TTranslations translations;
        rotations.Reserve(animation.FrameCount());
        translations.Reserve(animation.FrameCount());
        for (uint32_t n = 0; n < animation.FrameCount(); ++n)
        {
            rotations.Add(bind.rotation.GetConjugate());
            translations.Add({bind.translation.x, bind.translation.y, bind.translation.z});
        }
        animation.AddBone(TSharedPtr<ZAnimatedBone>::Create(
            rig.Name(i), animation.FrameRate(), std::move(rotations), std::move(translations),
            TArrayRef<const TSharedPtr<Import::ZAnimatedProperty>>(), true));
    }
}

} // namespace ResourceAnimation
