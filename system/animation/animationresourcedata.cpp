#include "system/animation/animationresourcedata.h"

#include "base/typeinfo/mathtypes.h"
#include "system/animation/boneid.h"

namespace SystemAnimation
{

namespace
{

bool IsGroupConsistent(const STrackGroup& group, uint32_t nFrames, uint32_t nRigBones, ZString& why)
{
    if (group.type < 0 || group.type >= eTrack_TypeCount)
    {
        why = ZString::Format("a track group has the type {0}", group.type);
        return false;
    }
    if (group.boneIndices.IsEmpty())
    {
        why = ZString::Format("the track group of type {0} has no bones", group.type);
        return false;
    }
    int32_t nPrevious = -1;
    for (const uint16_t nBone : group.boneIndices)
    {
        if (nBone >= nRigBones || nBone == SBoneId::INVALID_ID)
        {
            why = ZString::Format("the track group of type {0} names bone {1}, but the rig has {2}", group.type, nBone,
                                  nRigBones);
            return false;
        }
        if (nBone <= nPrevious)
        {
            why = ZString::Format("the bones of the track group of type {0} do not ascend: {1} follows {2}", group.type,
                                  nBone, nPrevious);
            return false;
        }
        nPrevious = nBone;
    }
    // Ascending indices are fewer than 2^16.
    const uint64_t nBytes = TrackGroupBytes(group.type, static_cast<uint16_t>(group.boneIndices.Size()), nFrames);
    if (group.data.Size() != nBytes)
    {
        why =
            ZString::Format("the track group of type {0} has {1} bytes of data where {2} bones and {3} frames take {4}",
                            group.type, group.data.Size(), group.boneIndices.Size(), nFrames, nBytes);
        return false;
    }
    return true;
}

/// Whether two groups of one channel share a bone; both ascend.
bool FindCommonBone(const STrackGroup& a, const STrackGroup& b, uint16_t& nBone)
{
    const uint16_t* pA = a.boneIndices.begin();
    const uint16_t* pB = b.boneIndices.begin();
    while (pA != a.boneIndices.end() && pB != b.boneIndices.end())
    {
        if (*pA == *pB)
        {
            nBone = *pA;
            return true;
        }
        ++(*pA < *pB ? pA : pB);
    }
    return false;
}

} // namespace

STypeID* PropertyArrayType(STypeID* pElementType)
{
    const struct
    {
        STypeID* pElement;
        STypeID* pArray;
    } types[] = {{GetTypeID<bool>(), GetTypeID<TArray<bool>>()},
                 {GetTypeID<int>(), GetTypeID<TArray<int>>()},
                 {GetTypeID<unsigned int>(), GetTypeID<TArray<unsigned int>>()},
                 {GetTypeID<float>(), GetTypeID<TArray<float>>()},
                 {GetTypeID<SVector2>(), GetTypeID<TArray<SVector2>>()},
                 {GetTypeID<SVector3>(), GetTypeID<TArray<SVector3>>()},
                 {GetTypeID<SVector4>(), GetTypeID<TArray<SVector4>>()},
                 {GetTypeID<SQuaternion>(), GetTypeID<TArray<SQuaternion>>()}};
    for (const auto& type : types)
        if (type.pElement == pElementType)
            return type.pArray;
    return nullptr;
}

bool operator==(const SAnimationResourceData& a, const SAnimationResourceData& b)
{
    return a.name == b.name && a.eventTrackReference == b.eventTrackReference && a.rigReference == b.rigReference &&
           !(a.frameRate < b.frameRate || a.frameRate > b.frameRate) && a.frameCount == b.frameCount &&
           a.trackGroups == b.trackGroups && a.properties == b.properties &&
           a.sequenceOffset.rotation == b.sequenceOffset.rotation &&
           a.sequenceOffset.translation == b.sequenceOffset.translation && a.boneCount == b.boneCount;
}

bool SAnimationResourceData::IsConsistent(uint32_t nRigBones, ZString& why) const
{
    uint64_t nRotations = 0, nTranslations = 0;
    for (uint32_t nGroup = 0; nGroup < trackGroups.Size(); ++nGroup)
    {
        const STrackGroup& group = trackGroups[nGroup];
        if (!IsGroupConsistent(group, frameCount, nRigBones, why))
            return false;
        const bool bRotation = IsRotationGroup(group.type);
        (bRotation ? nRotations : nTranslations) += group.boneIndices.Size();
        if (nGroup != 0 && group.type <= trackGroups[nGroup - 1].type)
        {
            why = ZString::Format("the track groups do not ascend: type {0} follows type {1}", group.type,
                                  trackGroups[nGroup - 1].type);
            return false;
        }
        for (uint32_t nOther = 0; nOther < nGroup; ++nOther)
        {
            uint16_t nBone = 0;
            if (IsRotationGroup(trackGroups[nOther].type) == bRotation &&
                FindCommonBone(trackGroups[nOther], group, nBone))
            {
                why = ZString::Format("bone {0} stands in the track groups of types {1} and {2}", nBone,
                                      trackGroups[nOther].type, group.type);
                return false;
            }
        }
    }
    if (nRotations != boneCount || nTranslations != boneCount)
    {
        why = ZString::Format("{0} bones are packed, but {1} have a rotation and {2} a translation", boneCount,
                              nRotations, nTranslations);
        return false;
    }
    for (const SPropertyTrack& track : properties)
    {
        STypeID* pArrayType = PropertyArrayType(track.typeId);
        if (track.boneId >= nRigBones)
        {
            why = ZString::Format("a property is on bone {0}, but the rig has {1}", track.boneId, nRigBones);
            return false;
        }
        if (pArrayType == nullptr || track.keys.GetTypeID() != pArrayType)
        {
            why = ZString::Format("property {0} of bone {1} has keys that do not fit its type",
                                  track.name.GetHashCode(), track.boneId);
            return false;
        }
    }
    return true;
}

} // namespace SystemAnimation
