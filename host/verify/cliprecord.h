#pragma once

#include "host/clip/clip.h"
#include "host/files/packedlist.h"
#include "host/files/packedpose.h"
#include "host/verify/rigidbone.h"
#include "resource/animation/fbximport/fbxground.h"

namespace Host
{

// What a clip is filled with, step by step.

/// All that the packed file and its rig tell, but poses.
void DescribeClip(const SPackedAnimation& packed, ZPackedPose& animation, SClip& clip);
/// What the scene and the document of events beside it add: names of properties, events. Needs a resource database.
void DescribeSource(const ResourceAnimation::ZFbxTakeData& take, SClip& clip);

/// One frame more; bones in character space.
void AddSourceFrame(const std::vector<SRigidBone>& character, SClip& clip);
/// One frame more; a local pose of the runtime's sense.
void AddPackedFrame(const ZAnimPoseBuffer& pose, SClip& clip);

} // namespace Host
