#pragma once

#include "fbx/scene/fbxnode.h"
#include "host/verify/rigidbone.h"
#include "resource/animation/fbximport/fbxground.h"
#include "system/animation/animposebuffer.h"

#include <vector>

namespace Host
{

/// What a packed animation is to hold, straight from the scene and in doubles: each bone of a rig at a frame of a take.
/// Shares nothing with the packing of takes but the finding of grounds and takes in the scene.
///
/// Bones of the rig are those nodes below the take's ground, and below its root objects, that have their names, both
/// without namespaces; the ground is the rig's first bone. As the pipeline has it
///   - scale does not reach the rig, lengths are in hundredths of the scene's unit, root objects hang on the ground;
///   - helper bones of a biped, and in a partial take all that its list does not name, rest in the bind pose; so do
///     bones that the take lacks;
///   - "Bip01" does not move by itself, and its children move for it;
///   - the trajectory bone is relative to its first frame.
class ZSourcePose
{
public:
    /// All must outlive the object.
    ZSourcePose(const ResourceAnimation::ZFbxTakeData& take, const ZAnimationRig& rig,
                const ZAnimPoseDescriptor& descriptor);

    /// Bones of the rig as the character sees them. Frames count from the take's start. std::runtime_error names the
    /// bone whose transform is no number.
    const std::vector<SRigidBone>& Evaluate(uint32_t nFrame);

private:
    struct SSource
    {
        const FbxNode* pNode = nullptr; ///< null: the bind pose
        bool bRootObject = false;
        bool bPacked = false;
        bool bFolds = false; ///< has its parent's motion too
    };
    void ListNodes();
    SRigidBone KeyOf(const SSource& source, uint32_t nBone, FbxTime time) const;
    SRigidBone LocalOf(uint32_t nBone, FbxTime time) const;

    const ResourceAnimation::ZFbxTakeData& m_take;
    const ZAnimationRig& m_rig;
    const ZAnimPoseDescriptor& m_descriptor;
    std::vector<SSource> m_sources; ///< of each bone of the rig
    std::vector<SRigidBone> m_bindPose;
    uint32_t m_nBiped;
    SRigidBone m_firstTrajectory;
    std::vector<SRigidBone> m_pose;
};

} // namespace Host
