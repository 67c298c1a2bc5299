#pragma once

#include "base/math/quaternion.h"

namespace ResourceAnimation::Import
{

/// Space of all transforms of a hierarchy or an animation.
enum EBoneSpace : int
{
    eSpace_Character = 0, ///< absolute in the character
    eSpace_Parent = 1     ///< relative to the bone's parent
};

/// Rotation and translation of a bone, in the import model's sense: a vector turns by q v conj(q).
struct SBoneTransform
{
    SVector3 t;
    SQuaternion q;
};

/// The child in the space that the parent stands in.
inline SBoneTransform Compose(const SBoneTransform& parent, const SBoneTransform& child)
{
    const SQuaternion q = Normalize(parent.q);
    return {Rotate(q, child.t) + parent.t, Normalize(q * Normalize(child.q))};
}

/// The child relative to the parent, both standing in one space.
inline SBoneTransform Relate(const SBoneTransform& parent, const SBoneTransform& child)
{
    const SQuaternion q = Normalize(parent.q).GetConjugate();
    return {Rotate(q, child.t - parent.t), Normalize(q * Normalize(child.q))};
}

} // namespace ResourceAnimation::Import
