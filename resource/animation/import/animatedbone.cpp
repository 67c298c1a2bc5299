#include "resource/animation/import/animatedbone.h"

#include "resource/animation/import/hierarchy.h"
#include "resource/animation/import/resample.h"

namespace ResourceAnimation::Import
{

ZAnimatedBone::ZAnimatedBone(const ZString& name, float fFrameRate, TArrayRef<const SQuaternion> rotations,
                             TArrayRef<const SVector3> translations,
                             TArrayRef<const TSharedPtr<ZAnimatedProperty>> properties, bool bExported)
    : ZAnimatedBone(name, fFrameRate, TRotations(rotations), TTranslations(translations), properties, bExported)
{
}

ZAnimatedBone::ZAnimatedBone(const ZString& name, float fFrameRate, TRotations&& rotations,
                             TTranslations&& translations, TArrayRef<const TSharedPtr<ZAnimatedProperty>> properties,
                             bool bExported)
    : m_name(name), m_frameRate(fFrameRate), m_properties(properties), m_uid(BoneUid(name)), m_bExported(bExported)
{
    SetKeys(std::move(rotations), std::move(translations));
}

void ZAnimatedBone::SetKeys(TRotations&& rotations, TTranslations&& translations)
{
    ZASSERT_OR_HALT(rotations.Size() == translations.Size());
    m_rotations = std::move(rotations);
    m_translations = std::move(translations);
}

void ZAnimatedBone::ConjugateRotations()
{
    for (SQuaternion& q : m_rotations)
        q = q.GetConjugate();
}

TSharedPtr<ZAnimatedBone> ZAnimatedBone::CloneWithName(const ZAnimatedBone& bone, const ZString& newName)
{
    return TSharedPtr<ZAnimatedBone>::Create(newName, bone.m_frameRate, bone.m_rotations.Ref(),
                                             bone.m_translations.Ref(), bone.m_properties.Ref(), bone.m_bExported);
}

TSharedPtr<ZAnimatedBone> ZAnimatedBone::CloneWithKeys(const ZAnimatedBone& bone, TRotations&& rotations,
                                                       TTranslations&& translations)
{
    return TSharedPtr<ZAnimatedBone>::Create(bone.m_name, bone.m_frameRate, std::move(rotations),
                                             std::move(translations), bone.m_properties.Ref(), bone.m_bExported);
}

TSharedPtr<ZAnimatedBone> ZAnimatedBone::CloneWithProperties(const ZAnimatedBone& bone, const TProperties& properties)
{
    return TSharedPtr<ZAnimatedBone>::Create(bone.m_name, bone.m_frameRate, bone.m_rotations.Ref(),
                                             bone.m_translations.Ref(), properties.Ref(), bone.m_bExported);
}

TSharedPtr<ZAnimatedBone> ZAnimatedBone::ComposeWithChild(const ZAnimatedBone& parentBone,
                                                          const ZAnimatedBone& childBone)
{
    const ZAnimatedBone* const pChildbone = &childBone;
    const uint32_t frameCount = parentBone.FrameCount();
    ZASSERT_OR_HALT(frameCount == pChildbone->FrameCount());
    TRotations rotations;
    TTranslations translations;
    rotations.Reserve(frameCount);
    translations.Reserve(frameCount);
    for (uint32_t n = 0; n < frameCount; ++n)
    {
        const SBoneTransform key = Compose(parentBone.Key(n), childBone.Key(n));
        rotations.Add(key.q);
        translations.Add(key.t);
    }
    return CloneWithKeys(childBone, std::move(rotations), std::move(translations));
}

TSharedPtr<ZAnimatedBone> ZAnimatedBone::Resample(const TSharedPtr<ZAnimatedBone>& pBone, int newFrameCount)
{
    if (pBone == nullptr || pBone->FrameCount() <= 2)
        return pBone;
    TProperties properties;
    for (const TSharedPtr<ZAnimatedProperty>& pProperty : pBone->m_properties)
        if (const auto pResampled = ZAnimatedProperty::Resample(pProperty, newFrameCount))
            properties.Add(pResampled);
    const float fFrameRate =
        static_cast<float>(newFrameCount) * pBone->m_frameRate / static_cast<float>(pBone->FrameCount());
    return TSharedPtr<ZAnimatedBone>::Create(
        pBone->m_name, fFrameRate, ResampleArray<SQuaternion>(pBone->m_rotations, newFrameCount),
        ResampleArray<SVector3>(pBone->m_translations, newFrameCount), properties.Ref(), pBone->m_bExported);
}

} // namespace ResourceAnimation::Import
