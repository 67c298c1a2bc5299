#pragma once

#include "fbx/scene/fbxstackframes.h"
#include "host/adopt/sourcescene.h"

#include <string>
#include <vector>

namespace Host
{

/// What a stack of a file does, by node.
struct SStackMotion
{
    std::string sName;
    SFbxFrames frames;
    std::vector<bool> hasKeys; ///< keys of its own
    std::vector<bool> moves;   ///< does not stand still in the world
};

/// Looks at every stack of a scene, each at up to some hundred of its frames. Leaves the last one as the current one.
std::vector<SStackMotion> MotionOf(const ZSourceScene& source);

/// Whether any of the stacks says so of a node.
bool AnyMoves(const std::vector<SStackMotion>& stacks, int nNode);
bool AnyHasKeys(const std::vector<SStackMotion>& stacks, int nNode);

} // namespace Host
