#pragma once

#include "host/verify/groundnodes.h"
#include "system/animation/animationrig.h"

#include <string>
#include <vector>

namespace Host
{

/// Whether the motion that a take's scene shows came through packing: each node below the ground, by its name without
/// namespace, whether or not the rig knows it. Knows nothing of how takes are matched to rigs.
///
/// A bone is lost when it moves by more than a millimetre relative to its parent, and the packed bone of its name does
/// not do the same, by more than a millimetre and a quarter of the way; points on it and 3 cm from it along its
/// axes tell. Left out on purpose, and no loss: what a partial take does not name, the helper bones of a biped, the
/// bone that is folded into its children, the scale of bones.
class ZArrival
{
public:
    /// The take must outlive the object.
    ZArrival(const ResourceAnimation::ZFbxTakeData& take, const ZAnimationRig& rig);

    /// Frames count from the take's start; `character` are the packed bones as the character sees them, in the scene's
    /// sense. Each frame once, from 0 on.
    void Look(uint32_t nFrame, const std::vector<SRigidBone>& character);

    /// In the order of the tree.
    std::vector<std::string> LostBones() const;
    double LostMillimetres() const; ///< at worst
    /// Bones, and what is above the ground, that have a scale other than 1 at some frame, or are mirrored.
    std::vector<std::string> DroppedScale() const;

private:
    struct SNode
    {
        const FbxNode* pNode;
        std::string sName;      ///< without namespace
        const FbxNode* pFolded; ///< its parent, whose motion it has too; null for others
        bool bGround;
        int nBone;           ///< of the rig; -1: it knows none of this name
        SRigidBone first;    ///< as the scene shows it in the first frame
        SRigidBone firstGot; ///< as packed
        double fWay = 0.0;   ///< metres that its points moved away from the first frame, at most
        double fOff = 0.0;   ///< metres from the packed bone, at most
    };
    SRigidBone SourceOf(const SNode& node, FbxTime time) const;
    /// Relative to the parent; root objects to the ground, on which they hang.
    SRigidBone OwnOf(const FbxNode* pNode, FbxTime time) const;
    bool IsLost(const SNode& node) const;

    const ResourceAnimation::ZFbxTakeData& m_take;
    std::vector<int> m_parents; ///< of the rig's bones
    std::vector<SNode> m_nodes;
    std::vector<const FbxNode*> m_mayScale;
    std::vector<bool> m_isScaled;
};

} // namespace Host
