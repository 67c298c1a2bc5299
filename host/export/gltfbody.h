#pragma once

#include "host/clip/clip.h"
#include "host/export/gltfbuffer.h"

namespace Host
{

/// Accessors of a rig's body as one skinned mesh. Without normals, so that viewers draw its faces flat.
struct SGltfBody
{
    uint32_t nPositions = 0;
    uint32_t nJoints = 0;
    uint32_t nWeights = 0;
    uint32_t nIndices = 0;
    uint32_t nInverseBindMatrices = 0;
};

SGltfBody AddBody(const SClipRig& rig, ZGltfBuffer& buffer);

/// How wide the rig stands along X, in metres.
float WidthOf(const SClipRig& rig);

/// "[1,2] [3,4]": the least and the greatest of vectors of so many floats.
std::string BoundsOf(const std::vector<float>& values, size_t nEach);

} // namespace Host
