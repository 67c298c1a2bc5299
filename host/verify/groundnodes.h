#pragma once

#include "fbx/scene/fbxtime.h"
#include "host/verify/rigidbone.h"
#include "resource/animation/fbximport/fbxground.h"

#include <string>
#include <string_view>
#include <vector>

namespace Host
{

struct SGroundNode
{
    const FbxNode* pNode;
    bool bRootObject; ///< a root object of the ground
};

/// Depth first: the ground and all below it, then each root object with all below it; take nodes are none of these.
std::vector<SGroundNode> NodesOf(const ResourceAnimation::ZFbxGround& ground);

/// Relative to the parent in the scene, metres, without scale. std::runtime_error names a node whose transform is no
/// number.
SRigidBone LocalOf(const FbxNode& node, FbxTime time);

std::string WithoutNamespace(std::string_view name);

/// Bones of a biped that the runtime moves by itself; the name in lower case and without namespace.
bool IsHelperBone(const std::string& sLower);
/// The bone that is folded into its children, and stands where its parent does.
constexpr std::string_view FOLDED_BONE = "Bip01";

} // namespace Host
