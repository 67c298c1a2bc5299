#pragma once

#include "host/adopt/motion.h"
#include "host/module/job.h"

#include <string>
#include <vector>

namespace Host
{

struct SSkeletonBone
{
    std::string sName; ///< without namespace; in its skeleton no two are the same, whatever their case
    int nParent = -1;  ///< an earlier bone
    int nNode = -1;    ///< of the scene
    SRigid rest;       ///< in the world, centimetres
};

/// What moves together in a file: the bones of a character; or where a file has no bones, all that moves.
struct SSkeleton
{
    std::string sLabel; ///< tells it from others of its file: a namespace, its armature, or its first bone
    std::vector<SSkeletonBone> bones;
    bool bSkinned = false;
    bool bPlain = false; ///< of nodes that are no bones
    int nHips = -1;      ///< the bone that carries the others about; -1 for a plain one

    // The file's own root, above the hips: the first bone, or a node above all bones.
    bool bRootBone = false;
    bool bRootBoneMoves = false;
    int nRootNode = -1;
    SRigid rootNodeRest;
    bool bRootNodeMoves = false;

    std::vector<SMessage> messages;
};

/// Skeletons of a scene, in the order of its tree. Trees of bones are one skeleton when a skin hangs on both, or when
/// they stand side by side below one node and no name is in both. Nodes between bones and below them come along, but
/// not geometry, cameras and lights that do not move by themselves. Empty when nothing in the scene can be a rig.
std::vector<SSkeleton> FindSkeletons(const ZSourceScene& source, const std::vector<SStackMotion>& stacks);

/// Nodes that move in a stack, and whose keys no skeleton has, by name.
std::vector<std::string> LeftBehind(const ZSourceScene& source, const std::vector<SStackMotion>& stacks,
                                    const std::vector<SSkeleton>& skeletons);

} // namespace Host
