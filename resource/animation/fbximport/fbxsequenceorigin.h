#pragma once

#include "base/math/quaternion.h"
#include "fbx/scene/fbxnode.h"

namespace ResourceAnimation
{

/// A node's rest transform as an origin for takes: rotation of the import model's sense, centimetres, w 1.
SQV ReadNodeSequenceOrigin(const FbxNode* pNode);

/// The origin that a take brings itself, from its property "TakeSequenceOrigin". False when it has none.
bool ReadTakeSequenceOrigin(const FbxNode* pTakeNode, SQV& origin);

/// A transform relative to an origin; w 1.
SQV RelativeToOrigin(const SQV& origin, const SVector3& translation, const SQuaternion& rotation);

} // namespace ResourceAnimation
