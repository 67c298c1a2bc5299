#include "resource/animation/compress/defaultcompressor.h"

#include "base/collections/thashmap.h"
#include "resource/animation/compress/finitefloats.h"
#include "resource/animation/compress/propertyarrays.h"
#include "resource/animation/compress/trackgroupwriter.h"
#include "resource/animation/frame/animationexception.h"

namespace ResourceAnimation
{

using Import::ZAnimatedBone;
using SystemAnimation::SAnimationResourceData;

namespace
{

void CheckKeys(const Import::ZAnimation& animation, const TBonesToPack& bonesToPack)
{
    for (const auto& [name, nBone] : bonesToPack)
    {
        const ZAnimatedBone& bone = *animation.AnimatedBones()[static_cast<size_t>(nBone)];
        if (!AreFinite(bone.Rotations()) || !AreFinite(bone.Translations()))
            throw ZAnimationPackerException(
                ZString::Format("Bone '{0}' of take '{1}' has a rotation or translation that is no finite number", name,
                                animation.Name()));
    }
}

} // namespace

SAnimationResourceData ZDefaultCompressor::Compress(TSharedPtr<Import::ZAnimation> pAnimation, const ZAnimationRig& rig,
                                                    const TBonesToPack& bonesToPack, EEndian eEndian)
{
    CheckKeys(*pAnimation, bonesToPack);
    ZDefaultAnalyzer analyzer;
    analyzer.fRotationTolerance = ROTATION_TOLERANCE;
    analyzer.fTranslationTolerance = TRANSLATION_TOLERANCE;
    const SAnimationAnalysis analysis = analyzer.Analyze(pAnimation, rig, bonesToPack);

    SAnimationResourceData data;
    data.name = pAnimation->Name();
    data.frameRate = pAnimation->FrameRate();
    data.frameCount = pAnimation->FrameCount();
    data.sequenceOffset = pAnimation->SequenceOffset();
    data.boneCount = NarrowTo<uint16_t>(
        bonesToPack.Size(),
        [&] { return ZString::Format("take '{0}' packs {1} bones", pAnimation->Name(), bonesToPack.Size()); });
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
    THashMap<uint32_t, bool> missing; // two bones of a rig may have one uid
    for (uint32_t i = 0; i < rig.BoneCount(); ++i)
        nBones += isMissing(i) && missing.Insert(rig.UniqueId(i), true) ? 1 : 0;
    if (nBones * animation.FrameCount() > MAX_COMPLETED_KEYS)
        throw ZAnimationException(
            ZString::Format("Take '{0}' with all bones of its rig has {1} bones of {2} frames; together they are more "
                            "than {3} keys",
                            animation.Name(), nBones, animation.FrameCount(), MAX_COMPLETED_KEYS));
    for (uint32_t i = 0; i < rig.BoneCount(); ++i)
    {
        if (!isMissing(i))
            continue;
        imported[rig.UniqueId(i)] = true;
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
