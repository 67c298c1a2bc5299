#include "host/verify/sourcepose.h"

#include "fbx/scene/fbxscene.h"
#include "host/files/resourceids.h"
#include "host/verify/groundnodes.h"
#include "resource/animation/fbximport/fbxanimationutils.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <unordered_map>

namespace Host
{

namespace
{

constexpr uint32_t NO_BONE = UINT32_MAX;

} // namespace

ZSourcePose::ZSourcePose(const ResourceAnimation::ZFbxTakeData& take, const ZAnimationRig& rig,
                         const ZAnimPoseDescriptor& descriptor)
    : m_take(take),
      m_rig(rig),
      m_descriptor(descriptor),
      m_sources(rig.BoneCount()),
      m_nBiped(NO_BONE),
      m_pose(rig.BoneCount())
{
    for (uint32_t n = 0; n < rig.BoneCount(); ++n)
    {
        const SQV& bone = rig.Bone(n);
        const auto wide = [](float f) { return static_cast<double>(f); };
        const FbxQuaternion q{-wide(bone.rotation.x), -wide(bone.rotation.y), -wide(bone.rotation.z),
                              wide(bone.rotation.w)};
        m_bindPose.push_back(
            {{wide(bone.translation.x), wide(bone.translation.y), wide(bone.translation.z)}, q.Normalized()});
        if (m_nBiped == NO_BONE && rig.Name(n).View() == FOLDED_BONE)
            m_nBiped = n;
    }
    ListNodes();
    const SBoneId trajectory = rig.TrajectoryIndex();
    if (trajectory.IsValid() && trajectory < rig.BoneCount())
        m_firstTrajectory =
            LocalOf(trajectory, ResourceAnimation::TimeOfFrame(m_take.m_startFrame, m_take.m_frameRate));
}

void ZSourcePose::ListNodes()
{
    std::unordered_map<std::string, uint32_t> bones;
    for (uint32_t n = 0; n < m_rig.BoneCount(); ++n)
        bones.try_emplace(ToLower(WithoutNamespace(m_rig.Name(n).View())), n);
    std::vector<size_t> places(m_rig.BoneCount(), 0);
    const std::vector<SGroundNode> nodes = NodesOf(*m_take.m_pGround);
    const bool bPartial = !m_take.m_partialList.IsEmpty();
    for (size_t n = 0; n < nodes.size(); ++n)
    {
        const std::string sFullName = nodes[n].pNode->GetName();
        const auto it = bones.find(ToLower(WithoutNamespace(sFullName)));
        const uint32_t nBone = n == 0 ? 0 : (it != bones.end() ? it->second : NO_BONE);
        if (nBone == NO_BONE || m_sources[nBone].pNode != nullptr)
            continue;
        const auto isName = [&sFullName](const ZString& name) { return name.View() == sFullName; };
        m_sources[nBone].pNode = nodes[n].pNode;
        m_sources[nBone].bRootObject = nodes[n].bRootObject;
        m_sources[nBone].bPacked =
            !bPartial || std::any_of(m_take.m_partialList.begin(), m_take.m_partialList.end(), isName);
        places[nBone] = n;
    }
    for (uint32_t n = 0; n < m_rig.BoneCount(); ++n)
    {
        SSource& source = m_sources[n];
        if (source.pNode == nullptr)
        {
            source.bPacked = !bPartial;
            places[n] = nodes.size() + n;
        }
        if (IsHelperBone(ToLower(m_rig.Name(n).View())))
            source.bPacked = false;
    }
    if (m_nBiped == NO_BONE || (bPartial && m_sources[m_nBiped].pNode == nullptr))
        return;
    for (uint32_t n = 0; n < m_rig.BoneCount(); ++n)
        m_sources[n].bFolds = m_rig.ParentId(n) == SBoneId(static_cast<int>(m_nBiped)) && places[n] > places[m_nBiped];
}

SRigidBone ZSourcePose::KeyOf(const SSource& source, uint32_t nBone, FbxTime time) const
{
    if (source.pNode == nullptr)
        return m_bindPose[nBone];
    return Host::LocalOf(*source.pNode, time);
}

SRigidBone ZSourcePose::LocalOf(uint32_t nBone, FbxTime time) const
{
    const SSource& source = m_sources[nBone];
    if (!source.bPacked)
        return m_bindPose[nBone];
    if (nBone == m_nBiped)
        return {};
    SRigidBone key = KeyOf(source, nBone, time);
    if (source.bRootObject)
        key = Relate(KeyOf(m_sources[0], 0, time), key);
    if (source.bFolds)
    {
        const SSource& biped = m_sources[m_nBiped];
        SRigidBone parent = KeyOf(biped, m_nBiped, time);
        if (biped.bRootObject)
            parent = Relate(KeyOf(m_sources[0], 0, time), parent);
        key = Compose(parent, key);
    }
    return key;
}

const std::vector<SRigidBone>& ZSourcePose::Evaluate(uint32_t nFrame)
{
    const FbxTime time =
        ResourceAnimation::TimeOfFrame(static_cast<int32_t>(int64_t{m_take.m_startFrame} + nFrame), m_take.m_frameRate);
    for (const ZAnimPoseDescriptor::SStep& step : m_descriptor.Steps())
    {
        SRigidBone bone = LocalOf(step.m_uiBone, time);
        if (m_rig.TrajectoryIndex() == SBoneId(static_cast<int>(step.m_uiBone)) && m_sources[step.m_uiBone].bPacked)
            bone = Relate(m_firstTrajectory, bone);
        m_pose[step.m_uiBone] = step.m_uiParent == SBoneId::INVALID_ID ? bone : Compose(m_pose[step.m_uiParent], bone);
    }
    return m_pose;
}

} // namespace Host
