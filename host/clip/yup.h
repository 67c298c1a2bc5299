#pragma once

#include "host/clip/clip.h"

namespace Host
{

// The space of glTF and of its viewers: Y up, front +Z, right-handed. A quarter turn about X, of the bones' own axes as
// of the world's: (x, y, z) becomes (x, z, -y), for directions and for the axes of rotations alike.

inline std::array<float, 3> ToYUp(const std::array<float, 3>& v)
{
    return {v[0], v[2], 0.0f - v[1]}; // not -0, which is another text
}

inline SBoneKey ToYUp(const SBoneKey& key)
{
    return {ToYUp(key.t), {key.q[0], key.q[2], 0.0f - key.q[1], key.q[3]}};
}

} // namespace Host
