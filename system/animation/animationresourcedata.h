#pragma once

#include "base/collections/tarray.h"
#include "base/math/quaternion.h"
#include "base/misc/zstring.h"
#include "base/typeinfo/zvariant.h"

#include <cstddef>
#include <cstdint>

namespace SystemAnimation
{

/// How a group's tracks are stored. With n bones and f frames, the value of the group's bone i at frame t stands in
/// the group's bytes at the offset given; nothing is aligned beyond that.
enum ETrackGroupType : int32_t
{
    eTrack_BindRotation = 0,        ///< nothing: the rig's
    eTrack_BindTranslation = 1,     ///< nothing: the rig's
    eTrack_ConstantRotation = 2,    ///< 8 n      8 i                    SQuaternionComp64
    eTrack_ConstantTranslation = 3, ///< 12 n     12 i                   floats x, y, z
    eTrack_Rotation64 = 4,          ///< 8 n f    8 (t n + i)            SQuaternionComp64
    eTrack_Rotation32 = 5,          ///< 4 n f    4 (t n + i)            SQuaternionComp32
    eTrack_SingleAxisRotation = 6,  ///< 12 n + 2 n f   12 i: axis as floats x, y, z; 12 n + 2 (t n + i):
                                    ///<          SQuaternionSingleAxisComp16
    eTrack_Translation = 7,         ///< 12 n f   12 (t n + i)           floats x, y, z
    eTrack_TypeCount = 8
};

constexpr bool IsRotationGroup(int32_t type)
{
    return type == eTrack_BindRotation || type == eTrack_ConstantRotation ||
           (type >= eTrack_Rotation64 && type <= eTrack_SingleAxisRotation);
}

/// Bytes of a group's data; 0 for a type that is none. Does not overflow: a rig has less than 2^16 bones.
constexpr uint64_t TrackGroupBytes(int32_t type, uint16_t nBones, uint32_t nFrames)
{
    const uint64_t n = nBones, nKeys = n * nFrames;
    switch (type)
    {
    case eTrack_ConstantRotation:
        return 8 * n;
    case eTrack_ConstantTranslation:
        return 12 * n;
    case eTrack_Rotation64:
        return 8 * nKeys;
    case eTrack_Rotation32:
        return 4 * nKeys;
    case eTrack_SingleAxisRotation:
        return 12 * n + 2 * nKeys;
    case eTrack_Translation:
        return 12 * nKeys;
    default:
        return 0;
    }
}

/// One kind of track in a packed animation.
///   offset size field
///      0     4  type         ETrackGroupType; ascending through the record, each at most once
///      8    16  boneIndices  rig indices, ascending
///     24    16  data         target byte order; frame-major, so one frame is one contiguous read
struct STrackGroup
{
    int32_t type = 0;
    TArray<uint16_t> boneIndices;
    TArray<uint8_t> data;

    friend bool operator==(const STrackGroup&, const STrackGroup&) = default;
};
static_assert(sizeof(STrackGroup) == 40 && offsetof(STrackGroup, boneIndices) == 8 && offsetof(STrackGroup, data) == 24,
              "readers map this block in place");

/// One property of one bone.
///   offset size field
///      0     1  boneId   rig index
///      4     4  name     hash of the property's name
///      8     8  typeId   element type of the keys: bool, int, unsigned int, float, SVector2, SVector3, SVector4 or
///                         SQuaternion
///     16     4  flags    0
///     24    16  keys     holds one TArray of the element type; its length need not be the animation's
struct SPropertyTrack
{
    uint8_t boneId = 0;
    ZHashedString name;
    STypeID* typeId = nullptr;
    uint32_t flags = 0;
    ZVariant keys;

    /// Without the keys: they are what the name, the type and the animation make them.
    friend bool operator==(const SPropertyTrack& a, const SPropertyTrack& b)
    {
        return a.boneId == b.boneId && a.name == b.name && a.typeId == b.typeId && a.flags == b.flags;
    }
};
static_assert(sizeof(SPropertyTrack) == 40 && offsetof(SPropertyTrack, name) == 4 &&
                  offsetof(SPropertyTrack, typeId) == 8 && offsetof(SPropertyTrack, flags) == 16 &&
                  offsetof(SPropertyTrack, keys) == 24,
              "readers map this block in place");

/// A packed animation.
///   offset size field
///      0    16  name
///     16     1  eventTrackReference   position in the resource header's reference table, -1: none
///     17     1  rigReference          likewise
///     18     2  boneCount             bones packed
///     20     4  frameRate             frames a second
///     24     4  frameCount            frames in every stored track
///     32    32  sequenceOffset        rotation in the runtime's sense, then translation with its fourth float
///     64    16  trackGroups           ascending type
///     80    16  properties
///
/// Every bone packed stands in one rotation group and one translation group. Rotations are of the runtime's sense, as
/// the rig's are (animationrig.h).
struct SAnimationResourceData
{
    ZString name;
    int8_t eventTrackReference = -1;
    int8_t rigReference = -1;
    uint16_t boneCount = 0;
    float frameRate = 30.0f;
    uint32_t frameCount = 0;
    SQV sequenceOffset;
    TArray<STrackGroup> trackGroups;
    TArray<SPropertyTrack> properties;

    /// Field by field, as a check of what was written wants it: a frame rate that is no number equals any, a sequence
    /// offset with one equals none.
    Z_EXPORT friend bool operator==(const SAnimationResourceData& a, const SAnimationResourceData& b);

    /// Whether a reader may walk the record against a rig of nRigBones: the groups' types, bones and sizes, and the
    /// properties' bones and types. For records from a file; allocates only the text. `why` says what is wrong.
    Z_EXPORT bool IsConsistent(uint32_t nRigBones, ZString& why) const;
};
static_assert(sizeof(SAnimationResourceData) == 96 && alignof(SAnimationResourceData) == 16 &&
                  offsetof(SAnimationResourceData, eventTrackReference) == 16 &&
                  offsetof(SAnimationResourceData, rigReference) == 17 &&
                  offsetof(SAnimationResourceData, boneCount) == 18 &&
                  offsetof(SAnimationResourceData, frameRate) == 20 &&
                  offsetof(SAnimationResourceData, frameCount) == 24 &&
                  offsetof(SAnimationResourceData, sequenceOffset) == 32 &&
                  offsetof(SAnimationResourceData, trackGroups) == 64 &&
                  offsetof(SAnimationResourceData, properties) == 80,
              "readers map this block in place");

/// Whether keys of this element type can stand in a property track, and the array type that holds them; null if not.
Z_EXPORT STypeID* PropertyArrayType(STypeID* pElementType);

} // namespace SystemAnimation

Z_TYPE_NAME(SystemAnimation::STrackGroup, "SystemAnimation::STrackGroup");
Z_TYPE_NAME(SystemAnimation::SPropertyTrack, "SystemAnimation::SPropertyTrack");
Z_TYPE_NAME(SystemAnimation::SAnimationResourceData, "SystemAnimation::SAnimationResourceData");
