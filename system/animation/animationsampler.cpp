#include "system/animation/animationsampler.h"

#include "system/animation/quaternioncomp.h"
#include "system/animation/quaterniondecode.h"

#include <bit>
#include <cstring>

using namespace SystemAnimation;
using QuaternionDecode::float4v;
using QuaternionDecode::int4v;
using QuaternionDecode::uint4v;

namespace
{

float LoadFloat(const uint8_t* p, EEndian eOrder)
{
    return std::bit_cast<float>(LoadEndian<uint32_t>(p, eOrder));
}

SVector3 LoadVector(const uint8_t* p, EEndian eOrder)
{
    return {LoadFloat(p, eOrder), LoadFloat(p + 4, eOrder), LoadFloat(p + 8, eOrder)};
}

constexpr EEndian OTHER_ENDIAN = NATIVE_ENDIAN == eEndian_Little ? eEndian_Big : eEndian_Little;

template <bool SWAP>
constexpr EEndian ORDER = SWAP ? OTHER_ENDIAN : NATIVE_ENDIAN;

/// The words of four codes, side by side.
template <bool SWAP>
void LoadFour64(const uint8_t* p, uint4v& high, uint4v& low)
{
    if constexpr (SWAP || NATIVE_ENDIAN != eEndian_Little)
    {
        for (int n = 0; n < 4; ++n)
        {
            const auto uiCode = LoadEndian<uint64_t>(p + 8 * n, ORDER<SWAP>);
            high[n] = static_cast<uint32_t>(uiCode >> 32);
            low[n] = static_cast<uint32_t>(uiCode);
        }
    }
    else
    {
        uint4v a, b;
        std::memcpy(&a, p, 16);
        std::memcpy(&b, p + 16, 16);
        low = __builtin_shufflevector(a, b, 0, 2, 4, 6);
        high = __builtin_shufflevector(a, b, 1, 3, 5, 7);
    }
}

template <bool SWAP>
uint4v LoadFour32(const uint8_t* p)
{
    uint4v codes;
    std::memcpy(&codes, p, 16);
    if constexpr (SWAP)
        codes = codes << 24 | (codes << 8 & 0xff0000u) | (codes >> 8 & 0xff00u) | codes >> 24;
    return codes;
}

template <bool SWAP>
int4v LoadFour16(const uint8_t* p)
{
    using short4v = int16_t __attribute__((vector_size(8)));
    using ushort4v = uint16_t __attribute__((vector_size(8)));
    ushort4v codes;
    std::memcpy(&codes, p, 8);
    if constexpr (SWAP)
        codes = codes << 8 | codes >> 8;
    return __builtin_convertvector(reinterpret_cast<short4v>(codes), int4v);
}

void StoreRotation(SQV& transform, float4v q)
{
    std::memcpy(static_cast<void*>(&transform.rotation), &q, 16);
}

/// Four rotations, component by component, to the four bones.
void StoreFour(SQV* pPose, const uint16_t* pBones, float4v x, float4v y, float4v z, float4v w)
{
    const float4v xyLow = __builtin_shufflevector(x, y, 0, 4, 1, 5);
    const float4v xyHigh = __builtin_shufflevector(x, y, 2, 6, 3, 7);
    const float4v zwLow = __builtin_shufflevector(z, w, 0, 4, 1, 5);
    const float4v zwHigh = __builtin_shufflevector(z, w, 2, 6, 3, 7);
    StoreRotation(pPose[pBones[0]], __builtin_shufflevector(xyLow, zwLow, 0, 1, 4, 5));
    StoreRotation(pPose[pBones[1]], __builtin_shufflevector(xyLow, zwLow, 2, 3, 6, 7));
    StoreRotation(pPose[pBones[2]], __builtin_shufflevector(xyHigh, zwHigh, 0, 1, 4, 5));
    StoreRotation(pPose[pBones[3]], __builtin_shufflevector(xyHigh, zwHigh, 2, 3, 6, 7));
}

} // namespace

TSharedPtr<ZAnimationSampler> ZAnimationSampler::Create(const SAnimationResourceData& data, EEndian eDataOrder,
                                                        const TSharedPtr<ZAnimPoseDescriptor>& descriptor, ZString& why)
{
    if (!data.IsConsistent(descriptor->BoneCount(), why))
        return nullptr;
    return TSharedPtr<ZAnimationSampler>::Create(data, eDataOrder, *descriptor);
}

ZAnimationSampler::ZAnimationSampler(const SAnimationResourceData& data, EEndian eDataOrder,
                                     const ZAnimPoseDescriptor& descriptor)
    : m_basePose(descriptor.BindPose()),
      m_properties(data.properties),
      m_nFrames(data.frameCount),
      m_fFrameRate(data.frameRate),
      m_bSwap(eDataOrder != NATIVE_ENDIAN)
{
    SQV* pBase = m_basePose.GetStart();
    for (const STrackGroup& group : data.trackGroups)
    {
        const uint8_t* pData = group.data.GetStart();
        const uint16_t* pBones = group.boneIndices.GetStart();
        const uint32_t nBones = group.boneIndices.Size();
        SStream* pStream = nullptr;
        uint32_t nHead = 0;
        switch (group.type)
        {
        case eTrack_ConstantRotation:
            for (uint32_t i = 0; i < nBones; ++i)
                pBase[pBones[i]].rotation = SQuaternionComp64::Unpack(LoadEndian<uint64_t>(pData + 8 * i, eDataOrder));
            break;
        case eTrack_ConstantTranslation:
            for (uint32_t i = 0; i < nBones; ++i)
            {
                const SVector3 v = LoadVector(pData + 12 * i, eDataOrder);
                pBase[pBones[i]].translation = {v.x, v.y, v.z, 1.0f};
            }
            break;
        case eTrack_Rotation64:
            pStream = &m_rotations64;
            break;
        case eTrack_Rotation32:
            pStream = &m_rotations32;
            break;
        case eTrack_SingleAxisRotation:
            m_axes.Reserve(nBones);
            for (uint32_t i = 0; i < nBones; ++i)
            {
                const SVector3 axis = LoadVector(pData + 12 * i, eDataOrder);
                m_axes.Add({axis.x, axis.y, axis.z, 1.0f});
            }
            nHead = 12 * nBones;
            pStream = &m_axisTurns;
            break;
        case eTrack_Translation:
            for (uint32_t i = 0; i < nBones; ++i)
                pBase[pBones[i]].translation.w = 1.0f;
            pStream = &m_translations;
            break;
        default:
            break;
        }
        if (pStream != nullptr && m_nFrames != 0)
        {
            *pStream = {pData + nHead, pBones, nBones};
            m_nFrameBytes += (group.data.Size() - nHead) / m_nFrames;
        }
    }
}

template <bool SWAP>
void ZAnimationSampler::SampleStreams(uint32_t nFrame, SQV* pPose) const
{
    using namespace QuaternionDecode;
    {
        const uint8_t* p = m_rotations64.At(nFrame, 8);
        const uint16_t* pBones = m_rotations64.m_pBones;
        const uint32_t nBones = m_rotations64.m_nBones;
        uint32_t i = 0;
        for (; i + 4 <= nBones; i += 4)
        {
            uint4v high, low;
            LoadFour64<SWAP>(p + 8 * i, high, low);
            float4v x, y, z, w;
            Decode64(high, low, x, y, z, w);
            StoreFour(pPose, pBones + i, x, y, z, w);
        }
        for (; i < nBones; ++i)
            pPose[pBones[i]].rotation = SQuaternionComp64::Unpack(LoadEndian<uint64_t>(p + 8 * i, ORDER<SWAP>));
    }
    {
        const uint8_t* p = m_rotations32.At(nFrame, 4);
        const uint16_t* pBones = m_rotations32.m_pBones;
        const uint32_t nBones = m_rotations32.m_nBones;
        uint32_t i = 0;
        for (; i + 4 <= nBones; i += 4)
        {
            float4v x, y, z, w;
            Decode32(LoadFour32<SWAP>(p + 4 * i), x, y, z, w);
            StoreFour(pPose, pBones + i, x, y, z, w);
        }
        for (; i < nBones; ++i)
            pPose[pBones[i]].rotation = SQuaternionComp32::Unpack(LoadEndian<uint32_t>(p + 4 * i, ORDER<SWAP>));
    }
    {
        const uint8_t* p = m_axisTurns.At(nFrame, 2);
        const uint16_t* pBones = m_axisTurns.m_pBones;
        const uint32_t nBones = m_axisTurns.m_nBones;
        const float4* pAxes = m_axes.GetStart();
        uint32_t i = 0;
        for (; i + 4 <= nBones; i += 4)
        {
            float4v s, c, axes[4];
            DecodeAxisTurn(LoadFour16<SWAP>(p + 2 * i), s, c);
            std::memcpy(axes, pAxes + i, sizeof axes);
            StoreRotation(pPose[pBones[i]], axes[0] * __builtin_shufflevector(s, c, 0, 0, 0, 4));
            StoreRotation(pPose[pBones[i + 1]], axes[1] * __builtin_shufflevector(s, c, 1, 1, 1, 5));
            StoreRotation(pPose[pBones[i + 2]], axes[2] * __builtin_shufflevector(s, c, 2, 2, 2, 6));
            StoreRotation(pPose[pBones[i + 3]], axes[3] * __builtin_shufflevector(s, c, 3, 3, 3, 7));
        }
        for (; i < nBones; ++i)
            pPose[pBones[i]].rotation = SQuaternionSingleAxisComp16::Unpack(
                {pAxes[i].x, pAxes[i].y, pAxes[i].z}, LoadEndian<uint16_t>(p + 2 * i, ORDER<SWAP>));
    }
    {
        const uint8_t* p = m_translations.At(nFrame, 12);
        const uint16_t* pBones = m_translations.m_pBones;
        for (uint32_t i = 0; i < m_translations.m_nBones; ++i)
        {
            SVector4& translation = pPose[pBones[i]].translation;
            if constexpr (SWAP)
            {
                const SVector3 v = LoadVector(p + 12 * i, ORDER<SWAP>);
                translation = {v.x, v.y, v.z, 1.0f};
            }
            else
            {
                std::memcpy(static_cast<void*>(&translation), p + 12 * i, 12);
            }
        }
    }
}

void ZAnimationSampler::Sample(uint32_t nFrame, ZAnimPoseBuffer& buffer) const
{
    ZASSERT_OR_HALT(nFrame < m_nFrames);
    ZASSERT_OR_HALT(buffer.BoneCount() == m_basePose.Size());
    // The groups stand far apart in memory; ask for all before any is needed.
    m_rotations64.Prefetch(nFrame, 8);
    m_rotations32.Prefetch(nFrame, 4);
    m_axisTurns.Prefetch(nFrame, 2);
    m_translations.Prefetch(nFrame, 12);
    SQV* pPose = buffer.m_local.GetStart();
    if (!m_basePose.IsEmpty())
        std::memcpy(static_cast<void*>(pPose), m_basePose.GetStart(), m_basePose.Size() * sizeof(SQV));
    if (m_bSwap)
        SampleStreams<true>(nFrame, pPose);
    else
        SampleStreams<false>(nFrame, pPose);
    buffer.m_bComplete = true;
    buffer.m_bCharacter = false;
}

ZObjectRef ZAnimationSampler::PropertyAt(size_t nProperty, uint32_t nFrame) const
{
    const SPropertyTrack& track = m_properties[nProperty];
    const IType* pElement = ZTypeRegistry::GetType(track.typeId);
    const void* pKeys = track.keys.Get();
    if (pKeys == nullptr || pElement == nullptr)
        return {};
    // All arrays are laid out alike; which one this is, the type says.
    SArrayLayout keys;
    std::memcpy(&keys, pKeys, sizeof keys);
    if (keys.uiCount == 0)
        return {};
    const uint8_t* pFirst = static_cast<const uint8_t*>(pKeys);
    if ((keys.uiCapacity & TArray<uint8_t>::INLINE_BIT) == 0)
        std::memcpy(&pFirst, &keys.nPointerOrElements, sizeof pFirst);
    const uint32_t nKey = nFrame < keys.uiCount ? nFrame : keys.uiCount - 1;
    return {pFirst + static_cast<size_t>(nKey) * pElement->Size(), track.typeId};
}
