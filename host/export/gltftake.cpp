#include "host/export/gltftake.h"

#include "fbx/file/fbxbase64.h"
#include "host/clip/clipbytes.h"
#include "host/clip/cliptext.h"
#include "host/clip/yup.h"

#include <cmath>
#include <nlohmann/json.hpp>

namespace Host
{

namespace
{

/// Metres, and components of quaternions: what differs by less is rounding of the arithmetic that made it.
constexpr float SAME = 1e-6f;

constexpr char NONSENSE[] = "its process talked nonsense";
/// In front of why there is no take.
constexpr char REFUSAL[] = "!";

template <size_t N>
bool IsSame(const std::array<float, N>& a, const std::array<float, N>& b)
{
    for (size_t n = 0; n < N; ++n)
        if (!(std::fabs(a[n] - b[n]) <= SAME))
            return false;
    return true;
}

/// Of q and -q, which are one rotation, the nearer one: viewers go from key to key.
std::array<float, 4> Near(const std::array<float, 4>& q, const std::array<float, 4>& other)
{
    const float fDot = q[0] * other[0] + q[1] * other[1] + q[2] * other[2] + q[3] * other[3];
    if (fDot >= 0.0f)
        return q;
    return {0.0f - q[0], 0.0f - q[1], 0.0f - q[2], 0.0f - q[3]};
}

template <size_t N>
void AddChannel(SGltfTake& take, uint32_t nBone, const std::vector<std::array<float, N>>& keys,
                const std::array<float, N>& rest, bool bWhole)
{
    bool bStill = true;
    for (const auto& key : keys)
        bStill = bStill && IsSame(key, keys.front());
    if (bStill && !bWhole && IsSame(keys.front(), rest))
        return;
    SGltfChannel& channel = take.channels.emplace_back();
    channel.nBone = nBone;
    channel.bRotation = N == 4;
    channel.nKeys = bStill && !bWhole ? 1 : static_cast<uint32_t>(keys.size());
    for (uint32_t n = 0; n < channel.nKeys; ++n)
        for (const float f : keys[n])
            AppendBytes(channel.sKeys, f);
}

SGltfTake MakeTake(const SClip& clip, const std::vector<SBoneKey>& poses)
{
    SGltfTake take;
    const size_t nBones = clip.BoneCount();
    const auto nGround = static_cast<uint32_t>(clip.rig.nTrajectory < 0 ? 0 : clip.rig.nTrajectory);
    std::vector<std::array<float, 3>> translations(clip.nFrames);
    std::vector<std::array<float, 4>> rotations(clip.nFrames);
    for (uint32_t nBone = 0; nBone < nBones; ++nBone)
    {
        const SBoneKey rest = ToYUp(clip.rig.bones[nBone].bindPose);
        for (uint32_t n = 0; n < clip.nFrames; ++n)
        {
            const SBoneKey key = ToYUp(poses[n * nBones + nBone]);
            translations[n] = key.t;
            rotations[n] = Near(key.q, n == 0 ? rest.q : rotations[n - 1]);
        }
        AddChannel(take, nBone, translations, rest.t, nBone == nGround);
        AddChannel(take, nBone, rotations, rest.q, false);
    }
    return take;
}

bool IsFinite(const SBoneKey& key)
{
    float fSum = 0.0f;
    for (const float f : key.t)
        fSum += f;
    for (const float f : key.q)
        fSum += f;
    return std::isfinite(fSum);
}

/// Empty when the poses can be written.
std::string WhyNot(const SClip& clip, const std::vector<SBoneKey>& poses, bool bSource)
{
    if (bSource && poses.empty() && !clip.verified.sError.empty())
        return clip.verified.sError;
    if (clip.nFrames == 0 || poses.size() != clip.BoneCount() * clip.nFrames)
        return "it has no frames";
    if (!std::isfinite(clip.fFrameRate) || clip.fFrameRate <= 0.0f)
        return "its frame rate is no number of frames";
    for (size_t n = 0; n < poses.size(); ++n)
        if (!IsFinite(poses[n]))
            return "the bone '" + clip.rig.bones[n % clip.BoneCount()].sName + "' is nowhere in frame " +
                   std::to_string(n / clip.BoneCount()) + ": its key is no number";
    for (const SClipBone& bone : clip.rig.bones)
        if (!IsFinite(bone.bindPose))
            return "the bone '" + bone.sName + "' of its rig is nowhere: its bind pose is no number";
    return {};
}

std::string RigText(const SClipRig& rig)
{
    ZJsonWriter json;
    json.Open('{');
    json.TextField("id", rig.sId);
    json.IntegerField("trajectory", rig.nTrajectory);
    json.ListField("order", rig.order, [&json](uint32_t n) { json.Unsigned(n); });
    json.ListField("bones", rig.bones,
                   [&json](const SClipBone& bone)
                   {
                       json.Open('[');
                       json.Text(bone.sName);
                       json.Integer(bone.nParent);
                       for (const float f : bone.bindPose.t)
                           json.Number(f);
                       for (const float f : bone.bindPose.q)
                           json.Number(f);
                       json.Close(']');
                   });
    json.Close('}');
    return json.Take();
}

std::string ExtrasText(const SClip& clip, bool bSource)
{
    ZJsonWriter json;
    json.Open('{');
    json.TextField("id", clip.sId);
    json.TextField("poses", bSource ? "source" : "packed");
    json.Key("frameRate");
    json.Number(clip.fFrameRate);
    json.UnsignedField("frameCount", clip.nFrames);
    json.ObjectField("sequenceOffset", [&] { WriteKey(json, clip.sequenceOffset); });
    if (!clip.properties.empty())
        json.ListField("properties", clip.properties,
                       [&](const SClipProperty& property) { WriteProperty(json, clip, property); });
    if (!clip.events.empty())
        json.ListField("events", clip.events, [&](const SClipEvent& event) { WriteEvent(json, clip, event); });
    json.Close('}');
    return json.Take();
}

} // namespace

FShowClip GltfTakeEncoder(bool bSource)
{
    return [bSource](const SClip& clip) -> std::string
    {
        const std::vector<SBoneKey>& poses = bSource ? clip.source : clip.packed;
        if (const std::string sWhy = WhyNot(clip, poses, bSource); !sWhy.empty())
            return REFUSAL + sWhy;
        const SGltfTake take = MakeTake(clip, poses);
        std::string sKeys;
        ZJsonWriter json;
        json.Open('{');
        json.TextField("rig", RigText(clip.rig));
        json.TextField("name", clip.sName);
        json.TextField("extras", ExtrasText(clip, bSource));
        json.Key("frameRate");
        json.Number(clip.fFrameRate);
        json.UnsignedField("frames", clip.nFrames);
        json.ListField("channels", take.channels,
                       [&](const SGltfChannel& channel)
                       {
                           json.Open('[');
                           json.Unsigned(channel.nBone);
                           json.Bool(channel.bRotation);
                           json.Unsigned(channel.nKeys);
                           json.Close(']');
                           sKeys += channel.sKeys;
                       });
        json.TextField("keys", FbxToBase64(sKeys));
        json.Close('}');
        return json.Take();
    };
}

std::string DecodeGltfTake(const std::string& sText, SGltfTake& take)
{
    if (sText.starts_with(REFUSAL))
        return sText.substr(std::size(REFUSAL) - 1);
    try
    {
        const nlohmann::json json = nlohmann::json::parse(sText);
        take = {};
        json.at("rig").get_to(take.sRig);
        json.at("name").get_to(take.sName);
        json.at("extras").get_to(take.sExtras);
        json.at("frameRate").get_to(take.fFrameRate);
        json.at("frames").get_to(take.nFrames);
        std::string sKeys;
        if (!FbxFromBase64(json.at("keys").get_ref<const std::string&>(), sKeys))
            return NONSENSE;
        size_t nTaken = 0;
        for (const nlohmann::json& entry : json.at("channels"))
        {
            SGltfChannel& channel = take.channels.emplace_back();
            entry.at(0).get_to(channel.nBone);
            entry.at(1).get_to(channel.bRotation);
            entry.at(2).get_to(channel.nKeys);
            const size_t nBytes = size_t{channel.nKeys} * (channel.bRotation ? 16 : 12);
            channel.sKeys = sKeys.substr(std::min(nTaken, sKeys.size()), nBytes);
            nTaken += nBytes;
        }
        return nTaken == sKeys.size() ? std::string() : NONSENSE;
    }
    catch (const nlohmann::json::exception&)
    {
        return NONSENSE;
    }
}

SClipRig DecodeGltfRig(const std::string& sRig)
{
    const nlohmann::json json = nlohmann::json::parse(sRig);
    SClipRig rig;
    json.at("id").get_to(rig.sId);
    json.at("trajectory").get_to(rig.nTrajectory);
    json.at("order").get_to(rig.order);
    for (const nlohmann::json& entry : json.at("bones"))
    {
        SClipBone& bone = rig.bones.emplace_back();
        entry.at(0).get_to(bone.sName);
        entry.at(1).get_to(bone.nParent);
        for (size_t n = 0; n < 3; ++n)
            entry.at(2 + n).get_to(bone.bindPose.t[n]);
        for (size_t n = 0; n < 4; ++n)
            entry.at(5 + n).get_to(bone.bindPose.q[n]);
    }
    return rig;
}

} // namespace Host
