#include "system/animation/animposebuffer.h"

#include "system/animation/quaterniondecode.h"

#include <cstring>

namespace
{

using QuaternionDecode::float4v;
using QuaternionDecode::int4v;

constexpr int SIGN = INT32_MIN;

float4v FlipSigns(float4v v, int4v signs)
{
    return QuaternionDecode::FromBits(QuaternionDecode::Bits(v) ^ signs);
}

/// One transform in two registers. The sums are those of SQuaternion's product, in the same order, so the bits are too.
inline void ToParentsSpace(const SQV& local, const SQV& parent, SQV& result)
{
    float4v l, v, p, origin;
    std::memcpy(&l, &local.rotation, 16);
    std::memcpy(&v, &local.translation, 16);
    std::memcpy(&p, &parent.rotation, 16);
    std::memcpy(&origin, &parent.translation, 16);

    const float4v pForX = FlipSigns(__builtin_shufflevector(p, p, 3, 2, 1, 0), int4v{0, SIGN, 0, SIGN});
    const float4v pForY = FlipSigns(__builtin_shufflevector(p, p, 2, 3, 0, 1), int4v{0, 0, SIGN, SIGN});
    const float4v pForZ = FlipSigns(__builtin_shufflevector(p, p, 1, 0, 3, 2), int4v{SIGN, 0, 0, SIGN});
    const float4v rotation =
        __builtin_shufflevector(l, l, 3, 3, 3, 3) * p + __builtin_shufflevector(l, l, 0, 0, 0, 0) * pForX +
        __builtin_shufflevector(l, l, 1, 1, 1, 1) * pForY + __builtin_shufflevector(l, l, 2, 2, 2, 2) * pForZ;

    // conj(p) v p = v - w c + p x c with c = 2 (p x v); the fourth lane stays v's.
    const float4v pyzx = __builtin_shufflevector(p, p, 1, 2, 0, 3), pzxy = __builtin_shufflevector(p, p, 2, 0, 1, 3);
    const float4v cross =
        pyzx * __builtin_shufflevector(v, v, 2, 0, 1, 3) - pzxy * __builtin_shufflevector(v, v, 1, 2, 0, 3);
    const float4v c = cross + cross;
    const float4v again =
        pyzx * __builtin_shufflevector(c, c, 2, 0, 1, 3) - pzxy * __builtin_shufflevector(c, c, 1, 2, 0, 3);
    float4v translation = origin + (v - __builtin_shufflevector(p, p, 3, 3, 3, 3) * c + again);
    translation[3] = v[3];

    std::memcpy(static_cast<void*>(&result.rotation), &rotation, 16);
    std::memcpy(static_cast<void*>(&result.translation), &translation, 16);
}

} // namespace

SQV ToParentsSpace(const SQV& local, const SQV& parent)
{
    SQV result;
    ToParentsSpace(local, parent, result);
    return result;
}

ZAnimPoseDescriptor::ZAnimPoseDescriptor(const ZAnimationRig& rig)
{
    ZString why;
    ZASSERT_OR_HALT(rig.IsConsistent(why));
    m_bindPose = TArray<SQV>(rig.Bones());
    const uint32_t nBones = rig.BoneCount();
    m_steps.Reserve(nBones);
    // From each bone climb to the first ancestor that has its step already, then lay down the steps on the way back.
    // Rigs in depth-first order keep their order.
    TArray<uint8_t> hasStep;
    hasStep.Resize(nBones);
    TArray<uint16_t> climb;
    for (uint32_t nBone = 0; nBone < nBones; ++nBone)
    {
        for (uint16_t nAt = static_cast<uint16_t>(nBone); nAt != SBoneId::INVALID_ID && !hasStep[nAt];
             nAt = rig.ParentId(nAt))
        {
            hasStep[nAt] = 1;
            climb.Add(nAt);
        }
        for (uint32_t n = climb.Size(); n-- != 0;)
            m_steps.Add({climb[n], rig.ParentId(climb[n])});
        climb.Clear();
    }
}

ZAnimPoseBuffer::ZAnimPoseBuffer(const TSharedPtr<ZAnimPoseDescriptor>& descriptor) : m_descriptor(descriptor)
{
    const uint32_t nBones = descriptor->BoneCount();
    m_local.Resize(nBones);
    m_character.Resize(nBones);
    m_isSet.Resize(nBones);
}

void ZAnimPoseBuffer::SetLocal(size_t nBone, const SQV& transform)
{
    m_local[nBone] = transform;
    m_isSet[nBone] = 1;
    m_bCharacter = false;
}

void ZAnimPoseBuffer::CompleteWithBindPose()
{
    if (m_bComplete)
        return;
    const TArrayRef<const SQV> bindPose = m_descriptor->BindPose();
    for (uint32_t nBone = 0; nBone < m_local.Size(); ++nBone)
        if (!m_isSet[nBone])
            m_local[nBone] = bindPose[nBone];
    m_bComplete = true;
    m_bCharacter = false;
}

void ZAnimPoseBuffer::Clear()
{
    for (SQV& transform : m_local)
        transform = SQV();
    for (uint8_t& nSet : m_isSet)
        nSet = 0;
    m_bComplete = false;
    m_bCharacter = false;
}

void ZAnimPoseBuffer::ToCharacterSpace()
{
    const SQV* pLocal = m_local.GetStart();
    SQV* pCharacter = m_character.GetStart();
    for (const ZAnimPoseDescriptor::SStep step : m_descriptor->Steps())
    {
        if (step.m_uiParent == SBoneId::INVALID_ID)
            pCharacter[step.m_uiBone] = pLocal[step.m_uiBone];
        else
            ToParentsSpace(pLocal[step.m_uiBone], pCharacter[step.m_uiParent], pCharacter[step.m_uiBone]);
    }
    m_bCharacter = true;
}
