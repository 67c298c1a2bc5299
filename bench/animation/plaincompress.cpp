#include "bench/animation/plaincompress.h"

#include "tests/resource/animation/compress/plainrules.h"

#include <cmath>

using namespace ResourceAnimation;
using namespace SystemAnimation;
using Import::ZAnimatedBone;

namespace
{

/// Steps of the three smaller components, the largest made positive and left out.
void SmallestThree(const SQuaternion& rotation, const float (&steps)[3], int& nLargest, int (&numbers)[3])
{
    const SQuaternion q = Normalize(rotation);
    const float f[4] = {q.x, q.y, q.z, q.w};
    nLargest = 0;
    for (int n = 1; n < 4; ++n)
        if (std::fabs(f[n]) > std::fabs(f[nLargest]))
            nLargest = n;
    const float fSign = f[nLargest] < 0.0f ? -1.0f : 1.0f;
    for (int n = 0, i = 0; n < 4; ++n)
    {
        if (n == nLargest)
            continue;
        numbers[i] = static_cast<int>(std::floor(f[n] * fSign * 1.41421356f * steps[i] + 0.5f));
        ++i;
    }
}

template <class T>
void Append(TArray<uint8_t>& data, const T& value)
{
    data.Append(reinterpret_cast<const uint8_t*>(&value), sizeof value);
}

} // namespace

uint64_t PlainPack64(const SQuaternion& q)
{
    int nLargest, n[3];
    SmallestThree(q, {1048575.0f, 1048575.0f, 524287.0f}, nLargest, n);
    return static_cast<uint64_t>(nLargest) << 62 |
           static_cast<uint64_t>(static_cast<uint32_t>(n[0]) & 0x1fffffu) << 41 |
           static_cast<uint64_t>(static_cast<uint32_t>(n[1]) & 0x1fffffu) << 20 |
           (static_cast<uint32_t>(n[2]) & 0xfffffu);
}

uint32_t PlainPack32(const SQuaternion& q)
{
    int nLargest, n[3];
    SmallestThree(q, {511.0f, 511.0f, 511.0f}, nLargest, n);
    return static_cast<uint32_t>(nLargest) << 30 | (static_cast<uint32_t>(n[0]) & 0x3ffu) << 20 |
           (static_cast<uint32_t>(n[1]) & 0x3ffu) << 10 | (static_cast<uint32_t>(n[2]) & 0x3ffu);
}

uint16_t PlainPackSingleAxis(const float4& axis, const SQuaternion& q)
{
    const float fSin = q.x * axis.x + q.y * axis.y + q.z * axis.z;
    return static_cast<uint16_t>(static_cast<int>(std::floor(std::atan2(fSin, q.w) * (65536.0f / 6.28318531f) + 0.5f)));
}

SAnimationResourceData PlainCompress(const SCompressClip& clip)
{
    TArray<uint32_t> lists[eTrack_TypeCount];
    TArray<bool> fingers;
    fingers.Resize(clip.rig.BoneCount());
    const auto& bones = clip.animation->AnimatedBones();
    for (uint32_t nRig = 0; nRig < clip.rig.BoneCount(); ++nRig)
    {
        const ZAnimatedBone& bone = *bones[nRig]; // the clip has its bones in the rig's order
        const SQV& bind = clip.rig.Bone(nRig);
        const SBoneId parent = clip.rig.ParentId(nRig);
        fingers[nRig] = (parent.IsValid() && fingers[parent]) || bone.Name().IIndexOf("finger") != ZString::NOT_FOUND;
        const auto& rotations = bone.Rotations();
        if (!PlainRules::HasDifferentRotation(rotations, ROTATION_TOLERANCE))
            lists[IsDifferentRotation(rotations[0], bind.rotation, ROTATION_TOLERANCE) ? eTrack_ConstantRotation
                                                                                       : eTrack_BindRotation]
                .Add(nRig);
        else if (rotations.Size() > (fingers[nRig] ? 5u : 2u) && PlainRules::IsSingleAxisRotation(rotations))
            lists[eTrack_SingleAxisRotation].Add(nRig);
        else
            lists[fingers[nRig] ? eTrack_Rotation32 : eTrack_Rotation64].Add(nRig);
        const auto& translations = bone.Translations();
        const SVector3 bindTranslation{bind.translation.x, bind.translation.y, bind.translation.z};
        if (PlainRules::HasDifferentTranslation(translations, TRANSLATION_TOLERANCE))
            lists[eTrack_Translation].Add(nRig);
        else
            lists[IsDifferentTranslation(translations[0], bindTranslation, TRANSLATION_TOLERANCE)
                      ? eTrack_ConstantTranslation
                      : eTrack_BindTranslation]
                .Add(nRig);
    }

    SAnimationResourceData record;
    record.frameCount = clip.animation->FrameCount();
    for (int32_t nType = 0; nType < eTrack_TypeCount; ++nType)
    {
        if (lists[nType].IsEmpty())
            continue;
        STrackGroup& group = record.trackGroups.Add(STrackGroup());
        group.type = nType;
        for (const uint32_t nBone : lists[nType])
            group.boneIndices.Add(static_cast<uint16_t>(nBone));
        const uint32_t nFrames = nType < eTrack_BindTranslation + 1    ? 0u
                                 : nType <= eTrack_ConstantTranslation ? 1u
                                                                       : record.frameCount;
        group.data.Reserve(TrackGroupBytes(nType, static_cast<uint16_t>(group.boneIndices.Size()), record.frameCount));
        TArray<float4> axes;
        if (nType == eTrack_SingleAxisRotation)
            for (const uint32_t nBone : lists[nType])
            {
                const float4 axis = WVectorNormalize3Exact(
                    QuaternionToAxis(PlainRules::FindLargestRotation(bones[nBone]->Rotations())));
                Append(group.data, SVector3{axis.x, axis.y, axis.z});
                axes.Add(axis);
            }
        for (uint32_t nFrame = 0; nFrame < nFrames; ++nFrame)
        {
            for (uint32_t i = 0; i < lists[nType].Size(); ++i)
            {
                const ZAnimatedBone& bone = *bones[lists[nType][i]];
                if (nType == eTrack_ConstantTranslation || nType == eTrack_Translation)
                    Append(group.data, bone.Translations()[nFrame]);
                else if (nType == eTrack_Rotation32)
                    Append(group.data, PlainPack32(bone.Rotations()[nFrame]));
                else if (nType == eTrack_SingleAxisRotation)
                    Append(group.data, PlainPackSingleAxis(axes[i], bone.Rotations()[nFrame]));
                else
                    Append(group.data, PlainPack64(bone.Rotations()[nFrame]));
            }
        }
    }
    return record;
}
