#include "host/clip/cliptext.h"

#include "host/clip/yup.h"

namespace Host
{

void WriteKey(ZJsonWriter& json, const SBoneKey& key)
{
    const SBoneKey turned = ToYUp(key);
    const auto number = [&json](float f) { json.Number(f); };
    if (turned.t != SBoneKey().t)
        json.ListField("t", turned.t, number);
    if (turned.q != SBoneKey().q)
        json.ListField("r", turned.q, number);
}

void WriteProperty(ZJsonWriter& json, const SClip& clip, const SClipProperty& property)
{
    json.Open('{');
    json.TextField("bone", clip.rig.bones[property.nBone].sName);
    json.OptionalField("name", property.sName);
    json.UnsignedField("nameHash", property.nHash);
    json.TextField("type", property.sType);
    json.Key("keys");
    json.Open('[');
    const size_t nEach = property.nComponents;
    for (size_t n = 0; n + nEach <= property.keys.size(); n += nEach)
    {
        if (nEach > 1)
            json.Open('[');
        for (size_t i = 0; i < nEach; ++i)
            json.Number(property.keys[n + i]);
        if (nEach > 1)
            json.Close(']');
    }
    json.Close(']');
    json.Close('}');
}

void WriteEvent(ZJsonWriter& json, const SClip& clip, const SClipEvent& event)
{
    const auto seconds = [&clip](float fPart)
    { return static_cast<float>(static_cast<double>(fPart) * SecondsOf(clip)); };
    json.Open('{');
    json.TextField("track", event.sTrack);
    json.TextField("event", event.sWhat);
    json.Key("start");
    json.Number(seconds(event.fStart));
    json.Key("duration");
    json.Number(seconds(event.fDuration));
    json.Close('}');
}

const char* TrackClassName(int32_t nType)
{
    switch (nType)
    {
    case SystemAnimation::eTrack_BindRotation:
    case SystemAnimation::eTrack_BindTranslation:
        return "bind pose";
    case SystemAnimation::eTrack_ConstantRotation:
    case SystemAnimation::eTrack_ConstantTranslation:
        return "constant";
    case SystemAnimation::eTrack_Rotation64:
        return "64 bits";
    case SystemAnimation::eTrack_Rotation32:
        return "32 bits";
    case SystemAnimation::eTrack_SingleAxisRotation:
        return "one axis";
    case SystemAnimation::eTrack_Translation:
        return "96 bits";
    default:
        return "not packed";
    }
}

double SecondsOf(const SClip& clip)
{
    return clip.nFrames > 1 && clip.fFrameRate > 0.0f ? (clip.nFrames - 1) / static_cast<double>(clip.fFrameRate) : 0.0;
}

std::string NameOfId(const std::string& sId)
{
    std::string sName = sId.substr(sId.find_last_of("/\\") + 1);
    if (sId.find("?/") != std::string::npos)
        return sName.substr(0, sName.rfind('.'));
    return sName.substr(0, sName.find('.'));
}

} // namespace Host
