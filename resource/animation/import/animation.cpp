#include "resource/animation/import/animation.h"

#include "resource/animation/frame/animationexception.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

namespace ResourceAnimation::Import
{

ZAnimation::ZAnimation(const ZString& name, uint32_t nFrameCount, float fFrameRate, const ZString& rootBoneName,
                       const ZResourceID& rigResource, TArrayRef<const TSharedPtr<ZAnimatedBone>> bones,
                       EBoneSpace eSpace, const SQV& sequenceOffset, TArrayRef<const ZString> partialList)
    : m_name(name),
      m_frameCount(nFrameCount),
      m_frameRate(fFrameRate),
      m_rootBoneName(rootBoneName),
      m_rigResource(rigResource),
      m_animatedBones(bones),
      m_eSpace(eSpace),
      m_sequenceOffset(sequenceOffset),
      m_partialList(partialList)
{
}

ZAnimation::TPtr ZAnimation::CreateForRange(const ZString& name, int nStartFrame, int nEndFrame, float fFrameRate,
                                            const ZString& rootBoneName, const ZResourceID& rigResource,
                                            TArrayRef<const TSharedPtr<ZAnimatedBone>> bones, EBoneSpace eSpace,
                                            const SQV& sequenceOffset, TArrayRef<const ZString> partialList)
{
    const int64_t nCount = static_cast<int64_t>(nEndFrame) - nStartFrame + 1;
    return CreateForCount(name, static_cast<int>(std::clamp<int64_t>(nCount, INT32_MIN, INT32_MAX)), fFrameRate,
                          rootBoneName, rigResource, bones, eSpace, sequenceOffset, partialList);
}

ZAnimation::TPtr ZAnimation::CreateForCount(const ZString& name, int frameCount, float fFrameRate,
                                            const ZString& rootBoneName, const ZResourceID& rigResource,
                                            TArrayRef<const TSharedPtr<ZAnimatedBone>> bones, EBoneSpace eSpace,
                                            const SQV& sequenceOffset, TArrayRef<const ZString> partialList)
{
    ZASSERT_OR_HALT(frameCount > 0);
    return TPtr::Create(name, static_cast<uint32_t>(frameCount), fFrameRate, rootBoneName, rigResource, bones, eSpace,
                        sequenceOffset, partialList);
}

ZAnimation::TPtr ZAnimation::CloneWithBones(const ZAnimation& animation, const TBones& bones)
{
    return TPtr::Create(animation.m_name, animation.m_frameCount, animation.m_frameRate, animation.m_rootBoneName,
                        animation.m_rigResource, bones.Ref(), animation.m_eSpace, animation.m_sequenceOffset,
                        animation.m_partialList.Ref());
}

void ZAnimation::ConjugateRotations()
{
    m_sequenceOffset.rotation = m_sequenceOffset.rotation.GetConjugate();
    for (const TSharedPtr<ZAnimatedBone>& pBone : m_animatedBones)
        pBone->ConjugateRotations();
}

ZAnimation::TPtr ZAnimation::RenameBone(TPtr pAnimation, const ZString& oldName, const ZString& newName)
{
    const TBones& bones = pAnimation->m_animatedBones;
    for (uint32_t i = 0; i < bones.Size(); ++i)
        if (bones[i]->Name() == oldName)
            return ReplaceBone(pAnimation, i, ZAnimatedBone::CloneWithName(*bones[i], newName));
    return pAnimation;
}

ZAnimation::TPtr ZAnimation::ReplaceBone(TPtr pAnimation, uint32_t nBone, const TSharedPtr<ZAnimatedBone>& pBone)
{
    TBones bones = pAnimation->m_animatedBones;
    ZASSERT_OR_HALT_TEXT(nBone < bones.Size(), "iterator != animatedBones.End()");
    const bool bRoot = bones[nBone]->Name() == pAnimation->m_rootBoneName;
    bones[nBone] = pBone;
    TPtr pResult = CloneWithBones(*pAnimation, bones);
    if (bRoot)
        pResult->m_rootBoneName = pBone->Name();
    return pResult;
}

ZAnimation::TPtr ZAnimation::ConvertProperty(TPtr pAnimation, const ZString& oldName, const ZString& newName,
                                             const std::function<ZVariant(const ZVariant&)>& function)
{
    TBones bones = pAnimation->m_animatedBones;
    for (TSharedPtr<ZAnimatedBone>& pBone : bones)
    {
        ZAnimatedBone::TProperties properties = pBone->Properties();
        const auto it = std::find_if(properties.begin(), properties.end(),
                                     [&oldName](const auto& pProperty) { return pProperty->Name() == oldName; });
        if (it == properties.end())
            continue;
        TArray<ZVariant> values;
        values.Reserve((*it)->Values().Size());
        for (const ZVariant& value : (*it)->Values())
            values.Add(function(value));
        *it = TSharedPtr<ZAnimatedProperty>::Create(newName, values.Ref());
        pBone = ZAnimatedBone::CloneWithProperties(*pBone, properties);
    }
    return CloneWithBones(*pAnimation, bones);
}

ZAnimation::TPtr ZAnimation::Resample(TPtr pAnimation, float fNewFrameRate)
{
    if (pAnimation == nullptr || pAnimation->m_frameCount <= 2)
        return pAnimation;
    const auto fFrameCount = static_cast<float>(pAnimation->m_frameCount);
    const float fExact = fNewFrameRate / pAnimation->m_frameRate * fFrameCount;
    const int newCount = std::max(2, static_cast<int>(std::ceil(fExact) + 0.5f));
    TBones bones;
    bones.Reserve(pAnimation->m_animatedBones.Size());
    for (const TSharedPtr<ZAnimatedBone>& pBone : pAnimation->m_animatedBones)
        bones.Add(ZAnimatedBone::Resample(pBone, newCount));
    TPtr pResult = CloneWithBones(*pAnimation, bones);
    pResult->m_frameRate = static_cast<float>(newCount) * pAnimation->m_frameRate / fFrameCount;
    return pResult;
}

void ZAnimation::ClearTwistBones(const TPtr& pAnimation)
{
    static constexpr std::array<std::string_view, 24> NAMES = {
        "bip01_lthightwist",  "bip01_lthightwist1", "bip01_lcalftwist",   "bip01_lcalftwist1", "bip01_rthightwist",
        "bip01_rthightwist1", "bip01_rcalftwist",   "bip01_rcalftwist1",  "bip01_luparmtwist", "bip01_luparmtwist1",
        "bip01_l_foretwist",  "bip01_l_foretwist1", "bip01_l_foretwist2", "bip01_ruparmtwist", "bip01_ruparmtwist1",
        "bip01_r_foretwist",  "bip01_r_foretwist1", "bip01_r_foretwist2", "bone_l_elbow",      "bone_r_elbow",
        "bone_l_knee",        "bone_r_knee",        "bone_l_buttock",     "bone_r_buttock"};
    for (const TSharedPtr<ZAnimatedBone>& pBone : pAnimation->m_animatedBones)
        if (pBone->IsExported() &&
            std::find(NAMES.begin(), NAMES.end(), pBone->Name().CopyToLower().View()) != NAMES.end())
            pBone->SetExported(false);
}

} // namespace ResourceAnimation::Import
