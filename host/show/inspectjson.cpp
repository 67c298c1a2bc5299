#include "host/show/inspectjson.h"

#include "base/typeinfo/mathtypes.h"
#include "host/show/jsonparts.h"

#include <numeric>

namespace Host
{

using SystemAnimation::SAnimationResourceData;
using SystemAnimation::SPropertyTrack;
using SystemAnimation::STrackGroup;

namespace
{

void WriteKey(ZJsonWriter& json, bool b)
{
    json.Bool(b);
}
void WriteKey(ZJsonWriter& json, int n)
{
    json.Integer(n);
}
void WriteKey(ZJsonWriter& json, unsigned int n)
{
    json.Unsigned(n);
}
void WriteKey(ZJsonWriter& json, float f)
{
    json.Number(f);
}
void WriteKey(ZJsonWriter& json, const SVector2& v)
{
    json.Numbers({v.x, v.y});
}
void WriteKey(ZJsonWriter& json, const SVector3& v)
{
    json.Numbers({v.x, v.y, v.z});
}
void WriteKey(ZJsonWriter& json, const SVector4& v)
{
    json.Numbers({v.x, v.y, v.z, v.w});
}
void WriteKey(ZJsonWriter& json, const SQuaternion& q)
{
    WriteQuaternion(json, q);
}

/// The keys as a list, if they are of one of these types.
template <class... T>
bool WriteKeysOf(ZJsonWriter& json, const ZVariant& keys)
{
    const auto writeIf = [&]<class TKey>(const TKey*)
    {
        if (keys.GetTypeID() != GetTypeID<TArray<TKey>>())
            return false;
        json.Open('[');
        for (const TKey& key : *static_cast<const TArray<TKey>*>(keys.Get()))
            WriteKey(json, key);
        json.Close(']');
        return true;
    };
    return (writeIf(static_cast<const T*>(nullptr)) || ...);
}

void WriteProperty(ZJsonWriter& json, const SPropertyTrack& track)
{
    json.Open('{');
    json.UnsignedField("boneId", track.boneId);
    json.UnsignedField("nameHash", track.name.GetHashCode());
    json.TextField("type", track.typeId->m_szName);
    json.UnsignedField("flags", track.flags);
    json.Key("keys");
    if (!WriteKeysOf<bool, int, unsigned int, float, SVector2, SVector3, SVector4, SQuaternion>(json, track.keys))
        json.Null();
    json.Close('}');
}

void WriteAnimation(ZJsonWriter& json, const SAnimationResourceData& animation)
{
    json.Key("animation");
    json.Open('{');
    json.TextField("name", animation.name.View());
    json.IntegerField("eventTrackReference", animation.eventTrackReference);
    json.IntegerField("rigReference", animation.rigReference);
    json.UnsignedField("boneCount", animation.boneCount);
    json.Key("frameRate");
    json.Number(animation.frameRate);
    json.UnsignedField("frameCount", animation.frameCount);
    json.Key("sequenceOffset");
    json.Open('{');
    json.Key("rotation");
    WriteQuaternion(json, animation.sequenceOffset.rotation);
    json.Key("translation");
    const SVector4& t = animation.sequenceOffset.translation;
    json.Numbers({t.x, t.y, t.z, t.w});
    json.Close('}');
    json.Key("trackGroups");
    json.Open('[');
    for (const STrackGroup& group : animation.trackGroups)
    {
        json.Open('{');
        json.IntegerField("type", group.type);
        json.Key("bones");
        json.Open('[');
        for (const uint16_t nBone : group.boneIndices)
            json.Unsigned(nBone);
        json.Close(']');
        json.UnsignedField("dataBytes", group.data.Size());
        json.Close('}');
    }
    json.Close(']');
    json.Key("properties");
    json.Open('[');
    for (const SPropertyTrack& track : animation.properties)
        WriteProperty(json, track);
    json.Close(']');
    json.Close('}');
}

void WriteRig(ZJsonWriter& json, const ZAnimationRig& rig)
{
    const auto index = [](SBoneId id) { return id.IsValid() ? int64_t(id) : -1; };
    json.Key("rig");
    json.Open('{');
    json.UnsignedField("trajectoryIndex", rig.TrajectoryIndex());
    json.Key("rootIndices");
    json.Open('[');
    for (const SBoneId id : rig.RootIndices())
        json.Unsigned(id);
    json.Close(']');
    json.Key("bones");
    json.Open('[');
    for (uint32_t n = 0; n < rig.BoneCount(); ++n)
    {
        json.Open('{');
        json.UnsignedField("index", n);
        json.TextField("name", rig.Name(n).View());
        json.UnsignedField("uid", rig.UniqueId(n));
        json.IntegerField("parent", index(rig.ParentId(n)));
        WriteRigidTransform(json, rig.Bone(n));
        json.Close('}');
    }
    json.Close(']');
    json.Close('}');
}

void WriteCharacter(ZJsonWriter& json, const std::vector<ZPackedFile::SEntry>& entries)
{
    json.Key("character");
    json.Open('{');
    json.Key("animations");
    json.Open('[');
    for (const ZPackedFile::SEntry& entry : entries)
    {
        json.Open('{');
        json.TextField("name", entry.sName);
        json.UnsignedField("reference", entry.nReference);
        json.BoolField("blendSpace", entry.bBlendSpace);
        json.Close('}');
    }
    json.Close(']');
    json.Close('}');
}

void WriteFrames(ZJsonWriter& json, const ZPackedPose& source, const std::vector<uint32_t>& frames)
{
    const ZAnimationRig& rig = source.Rig();
    const TSharedPtr<ZAnimPoseBuffer> pPose = ZAnimPoseBuffer::Create(source.Descriptor());
    std::vector<uint32_t> bones(rig.BoneCount());
    std::iota(bones.begin(), bones.end(), 0u);
    const auto writeBone = [&](uint32_t n)
    {
        json.Object(
            [&]
            {
                json.UnsignedField("index", n);
                json.TextField("name", rig.Name(n).View());
                json.ObjectField("local", [&] { WriteRigidTransform(json, pPose->Local()[n]); });
                json.ObjectField("character", [&] { WriteRigidTransform(json, pPose->Character()[n]); });
            });
    };
    json.ListField("frames", frames,
                   [&](uint32_t nFrame)
                   {
                       source.Sampler().Sample(nFrame, *pPose);
                       pPose->ToCharacterSpace();
                       json.Object(
                           [&]
                           {
                               json.UnsignedField("frame", nFrame);
                               json.ListField("bones", bones, writeBone);
                           });
                   });
}

} // namespace

std::string InspectLine(ZPackedFile& file, const std::string& sPath, const std::string& sPlatform,
                        const ZPackedPose* pPose, const std::vector<uint32_t>& frames)
{
    const ZResourceHeader& header = file.Header();
    ZJsonWriter json;
    json.Open('{');
    json.TextField("file", sPath);
    json.TextField("type", file.Type());
    json.OptionalField("platform", sPlatform);
    json.TextField("endian", file.Endian() == eEndian_Little ? "little" : "big");
    json.UnsignedField("headerSize", file.HeaderSize());
    json.UnsignedField("referenceBlockSize", header.ReferenceBlockSize());
    const uint64_t sizes[] = {header.DataSize(), header.SecondSize(), header.ThirdSize()};
    json.ListField("sizes", sizes, [&json](uint64_t nSize) { json.Unsigned(nSize); });
    json.ListField("references", file.References(),
                   [&json](const ZPackedFile::SReference& reference)
                   {
                       json.Object(
                           [&]
                           {
                               json.TextField("id", reference.sId);
                               json.UnsignedField("flags", reference.nFlags);
                           });
                   });
    if (file.Type() == "ARTY")
        WriteAnimation(json, *file.Animation());
    else if (file.Type() == "RRTY")
        WriteRig(json, *file.Rig());
    else
        WriteCharacter(json, *file.Character());
    if (pPose != nullptr)
        WriteFrames(json, *pPose, frames);
    json.Close('}');
    return json.Take();
}

} // namespace Host
