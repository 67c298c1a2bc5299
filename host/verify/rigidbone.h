#pragma once

#include "fbx/scene/fbxtransform.h"

namespace Host
{

/// Where a bone is and how it is turned, in doubles.
struct SRigidBone
{
    FbxVector3 t;    ///< metres
    FbxQuaternion q; ///< turns a vector by q v conj(q)
};

inline SRigidBone Compose(const SRigidBone& parent, const SRigidBone& child)
{
    return {parent.t + parent.q.Rotate(child.t), parent.q * child.q};
}

inline SRigidBone Relate(const SRigidBone& parent, const SRigidBone& child)
{
    const FbxQuaternion back = parent.q.Conjugate();
    return {back.Rotate(child.t - parent.t), back * child.q};
}

} // namespace Host
