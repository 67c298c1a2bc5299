#pragma once

#include "fbx/scene/fbxtransform.h"

namespace Host
{

/// A place and a direction, without scale; the rotation turns a vector by q v conj(q) and has unit length.
struct SRigid
{
    FbxVector3 t;
    FbxQuaternion q;
};

inline SRigid Compose(const SRigid& parent, const SRigid& child)
{
    return {parent.t + parent.q.Rotate(child.t), (parent.q * child.q).Normalized()};
}

inline SRigid Relate(const SRigid& parent, const SRigid& child)
{
    const FbxQuaternion back = parent.q.Conjugate();
    return {back.Rotate(child.t - parent.t), (back * child.q).Normalized()};
}

} // namespace Host
