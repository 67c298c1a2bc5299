#include "host/verify/cliprecord.h"

#include "base/typeinfo/mathtypes.h"
#include "fbx/scene/fbxscene.h"
#include "host/files/resourceids.h"
#include "host/verify/groundnodes.h"
#include "host/verify/takeevents.h"

#include <set>

namespace Host
{

using SystemAnimation::SAnimationResourceData;
using SystemAnimation::SPropertyTrack;
using SystemAnimation::STrackGroup;

namespace
{

SBoneKey KeyOf(const SQV& transform)
{
    const SQuaternion& r = transform.rotation;
    const SVector4& t = transform.translation;
    const auto wide = [](float f) { return static_cast<double>(f); };
    const FbxQuaternion q = FbxQuaternion{0.0 - wide(r.x), 0.0 - wide(r.y), 0.0 - wide(r.z), wide(r.w)}.Normalized();
    const auto narrow = [](double f) { return static_cast<float>(f); };
    return {{t.x, t.y, t.z}, {narrow(q.x), narrow(q.y), narrow(q.z), narrow(q.w)}};
}

SClipRig RigOf(const ZPackedPose& animation, const std::string& sPackedRig)
{
    const ZAnimationRig& rig = animation.Rig();
    SClipRig clip;
    const ZResourceID id = ToId(sPackedRig);
    clip.sId = id.IsDerived() ? ToStd(id.GetSourceResourceID()) : sPackedRig;
    for (uint32_t n = 0; n < rig.BoneCount(); ++n)
        clip.bones.push_back({ToStd(rig.Name(n)), -1, KeyOf(rig.Bone(n))});
    // As the runtime has them: a parent stands before its children in the steps.
    for (const ZAnimPoseDescriptor::SStep& step : animation.Descriptor()->Steps())
    {
        clip.order.push_back(step.m_uiBone);
        if (step.m_uiParent != SBoneId::INVALID_ID)
            clip.bones[step.m_uiBone].nParent = step.m_uiParent;
    }
    const SBoneId trajectory = rig.TrajectoryIndex();
    if (trajectory.IsValid() && trajectory < rig.BoneCount())
        clip.nTrajectory = static_cast<int>(uint32_t(trajectory));
    return clip;
}

void AddNumbers(std::vector<float>& numbers, bool b)
{
    numbers.push_back(b ? 1.0f : 0.0f);
}
void AddNumbers(std::vector<float>& numbers, int n)
{
    numbers.push_back(static_cast<float>(n));
}
void AddNumbers(std::vector<float>& numbers, unsigned int n)
{
    numbers.push_back(static_cast<float>(n));
}
void AddNumbers(std::vector<float>& numbers, float f)
{
    numbers.push_back(f);
}
void AddNumbers(std::vector<float>& numbers, const SVector2& v)
{
    numbers.insert(numbers.end(), {v.x, v.y});
}
void AddNumbers(std::vector<float>& numbers, const SVector3& v)
{
    numbers.insert(numbers.end(), {v.x, v.y, v.z});
}
void AddNumbers(std::vector<float>& numbers, const SVector4& v)
{
    numbers.insert(numbers.end(), {v.x, v.y, v.z, v.w});
}
void AddNumbers(std::vector<float>& numbers, const SQuaternion& q)
{
    numbers.insert(numbers.end(), {q.x, q.y, q.z, q.w});
}

/// The keys of one of these types; none of another.
template <class... T>
void ReadKeys(const ZVariant& keys, SClipProperty& property)
{
    const auto readIf = [&]<class TKey>(const TKey*)
    {
        if (keys.GetTypeID() != GetTypeID<TArray<TKey>>())
            return;
        std::vector<float> one;
        AddNumbers(one, TKey{});
        property.nComponents = one.size();
        for (const TKey& key : *static_cast<const TArray<TKey>*>(keys.Get()))
            AddNumbers(property.keys, key);
    };
    (readIf(static_cast<const T*>(nullptr)), ...);
}

} // namespace

void DescribeClip(const SPackedAnimation& packed, ZPackedPose& animation, SClip& clip)
{
    const SAnimationResourceData& data = *animation.File().Animation();
    clip.sId = packed.sId;
    clip.sPlatform = packed.sPlatform;
    clip.sName = ToStd(data.name);
    clip.fFrameRate = data.frameRate;
    clip.nFrames = data.frameCount;
    clip.sequenceOffset = KeyOf(data.sequenceOffset);
    const auto nRig = static_cast<size_t>(data.rigReference); // Load() has looked at it
    clip.rig = RigOf(animation, animation.File().References()[nRig].sId);
    clip.tracks.resize(clip.BoneCount());
    for (const STrackGroup& group : data.trackGroups)
        for (const uint16_t nBone : group.boneIndices)
        {
            SClipTracks& tracks = clip.tracks[nBone];
            (SystemAnimation::IsRotationGroup(group.type) ? tracks.nRotation : tracks.nTranslation) = group.type;
            tracks.nBytes += SystemAnimation::TrackGroupBytes(group.type, 1, data.frameCount);
        }
    for (const SPropertyTrack& track : data.properties)
    {
        SClipProperty& property = clip.properties.emplace_back();
        property.nBone = track.boneId;
        property.nHash = track.name.GetHashCode();
        property.sType = track.typeId->m_szName;
        ReadKeys<bool, int, unsigned int, float, SVector2, SVector3, SVector4, SQuaternion>(track.keys, property);
    }
}

void DescribeSource(const ResourceAnimation::ZFbxTakeData& take, SClip& clip)
{
    std::set<std::string> names{"FieldOfView"}; // which packing makes of a focal length
    const auto addNames = [&names](const FbxObject& object)
    {
        for (size_t n = 0; n < object.GetPropertyCount(); ++n)
            names.insert(object.GetProperty(n).GetName());
    };
    if (!clip.properties.empty())
        for (const SGroundNode& entry : NodesOf(*take.m_pGround))
        {
            addNames(*entry.pNode);
            for (size_t n = 0; n < entry.pNode->GetNodeAttributeCount(); ++n)
                addNames(*entry.pNode->GetNodeAttribute(n));
        }
    const ZResourceID id = ToId(clip.sId);
    ReadTakeEvents(id.GetSourceResourceID(), ToStd(take.m_name), clip.events, names);
    for (SClipProperty& property : clip.properties)
        for (const std::string& sName : names)
            if (HashBytes(sName.data(), sName.size()) == property.nHash)
                property.sName = sName;
}

void AddSourceFrame(const std::vector<SRigidBone>& character, SClip& clip)
{
    const auto narrow = [](double f) { return static_cast<float>(f); };
    for (size_t n = 0; n < character.size(); ++n)
    {
        const int nParent = clip.rig.bones[n].nParent;
        const SRigidBone local =
            nParent < 0 ? character[n] : Relate(character[static_cast<size_t>(nParent)], character[n]);
        const FbxQuaternion q = local.q.Normalized();
        clip.source.push_back({{narrow(local.t.x), narrow(local.t.y), narrow(local.t.z)},
                               {narrow(q.x), narrow(q.y), narrow(q.z), narrow(q.w)}});
    }
}

void AddPackedFrame(const ZAnimPoseBuffer& pose, SClip& clip)
{
    for (const SQV& local : pose.Local())
        clip.packed.push_back(KeyOf(local));
}

} // namespace Host
