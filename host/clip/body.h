#pragma once

#include "host/clip/clip.h"

namespace Host
{

/// A bone's shape, which hangs on the bone and does not bend: a slim octahedron from the bone's origin to its tip,
/// widest near the origin.
struct SBodyPart
{
    uint32_t nBone = 0;
    std::array<float, 3> tip{}; ///< seen from the bone; metres, Z up; never the origin
    float fRadius = 0.0f;
};

/// A body that shows how a rig stands: a part from each bone to each of its children, and a short one on bones without
/// children. From the bones that carry a character on the floor none leads up to the hips; the trajectory bone's own
/// part lies on the floor and points to the front. Never empty for a rig that has bones.
std::vector<SBodyPart> MakeBody(const SClipRig& rig);

/// Character space, of the bind pose.
std::vector<SBoneKey> BindPoseOf(const SClipRig& rig);

SBoneKey Compose(const SBoneKey& parent, const SBoneKey& child);

} // namespace Host
