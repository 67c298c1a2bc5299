#include "host/show/scenejson.h"

#include "fbx/scene/fbxstackframes.h"
#include "host/text/jsonwriter.h"

#include <charconv>

namespace Host
{

namespace
{

void WriteTransform(ZJsonWriter& json, std::string_view key, const FbxTransform& transform)
{
    json.Key(key);
    json.Open('{');
    json.Key("t");
    json.Numbers({transform.t.x, transform.t.y, transform.t.z});
    json.Key("r");
    json.Numbers({transform.q.x, transform.q.y, transform.q.z, transform.q.w});
    json.Key("s");
    json.Numbers({transform.s.x, transform.s.y, transform.s.z});
    json.Close('}');
}

bool IsReal(EFbxType eType)
{
    return eType == EFbxType::eDouble || eType == EFbxType::eFloat || eType == EFbxType::eHalfFloat ||
           eType == EFbxType::eDistance;
}

void WriteValue(ZJsonWriter& json, const FbxProperty& property)
{
    const int nChannels = property.GetChannelCount();
    if (nChannels == 0)
        json.Text(property.GetString());
    else if (property.GetType() == EFbxType::eBool)
        json.Bool(property.GetBool());
    else if (nChannels == 1 && property.GetType() == EFbxType::eULongLong)
        json.Unsigned(property.GetUInt64());
    else if (nChannels == 1 && !IsReal(property.GetType()))
        json.Integer(property.GetInt64());
    else if (nChannels == 1)
        json.Number(property.GetDouble());
    else
    {
        double channels[16];
        property.GetChannels(channels);
        json.Open('[');
        for (int n = 0; n < nChannels; ++n)
            json.Number(channels[n]);
        json.Close(']');
    }
}

void WriteNode(ZJsonWriter& json, const FbxNode& node)
{
    json.Open('{');
    json.TextField("name", node.GetName());
    json.IntegerField("parent", node.GetParent() != nullptr ? node.GetParent()->GetIndex() : -1);
    json.TextField("type", node.GetTypeText());
    WriteTransform(json, "local", node.EvaluateLocalTransform(FbxTime::Infinite()));
    WriteTransform(json, "global", node.EvaluateGlobalTransform(FbxTime::Infinite()));
    json.Key("properties");
    json.Open('[');
    for (size_t n = 0; n < node.GetPropertyCount(); ++n)
    {
        const FbxProperty property = node.GetProperty(n);
        if (!property.IsUserDefined())
            continue;
        json.Open('{');
        json.TextField("name", property.GetName());
        json.TextField("type", property.GetTypeName());
        json.TextField("flags", property.GetFlagsText());
        json.Key("value");
        WriteValue(json, property);
        json.Close('}');
    }
    json.Close(']');
    json.Close('}');
}

void WriteAxes(ZJsonWriter& json, std::string_view key, const FbxAxisSystem& axes)
{
    const auto axis = [&json](std::string_view name, int nAxis, int nSign)
    {
        json.Key(name);
        json.Numbers({double(nAxis), double(nSign)});
    };
    json.Key(key);
    json.Open('{');
    axis("up", axes.GetUpAxis(), axes.GetUpSign());
    axis("front", axes.GetFrontAxis(), axes.GetFrontSign());
    axis("coord", axes.GetCoordAxis(), axes.GetCoordSign());
    json.Close('}');
}

/// Seconds to nine digits, which is what tables of spans have; the ticks are exact.
void WriteSpanEnd(ZJsonWriter& json, std::string_view key, std::string_view ticksKey, FbxTime time)
{
    char buffer[40];
    const auto end =
        std::to_chars(buffer, buffer + sizeof buffer, time.GetSecondDouble(), std::chars_format::general, 9);
    json.Key(key);
    json.Raw({buffer, static_cast<size_t>(end.ptr - buffer)});
    json.IntegerField(ticksKey, time.Get());
}

/// A property that moves, other than the three that make up the transform.
struct SAnimatedProperty
{
    const FbxNode* pNode;
    FbxProperty property;
};

std::vector<SAnimatedProperty> AnimatedProperties(const FbxScene& scene)
{
    std::vector<SAnimatedProperty> found;
    const auto addFrom = [&found](const FbxNode& node, const FbxObject& object)
    {
        for (size_t n = 0; n < object.GetPropertyCount(); ++n)
        {
            const FbxProperty property = object.GetProperty(n);
            const std::string_view name = property.GetName();
            if (name == "Lcl Translation" || name == "Lcl Rotation" || name == "Lcl Scaling")
                continue;
            const FbxAnimCurveNode* pCurveNode = property.GetCurveNode();
            if (pCurveNode != nullptr && pCurveNode->IsAnimated())
                found.push_back({&node, property});
        }
    };
    for (size_t n = 0; n < scene.GetNodeCount(); ++n)
    {
        const FbxNode& node = *scene.GetNode(n);
        addFrom(node, node);
        for (size_t i = 0; i < node.GetNodeAttributeCount(); ++i)
            addFrom(node, *node.GetNodeAttribute(i));
    }
    return found;
}

void WriteMoment(ZJsonWriter& json, const FbxScene& scene, const std::vector<SAnimatedProperty>& animated, FbxTime time)
{
    json.Open('{');
    json.NumberField("time", time.GetSecondDouble());
    json.IntegerField("ticks", time.Get());
    json.Key("nodes");
    json.Open('[');
    for (size_t n = 0; n < scene.GetNodeCount(); ++n)
    {
        json.Open('{');
        WriteTransform(json, "local", scene.GetNode(n)->EvaluateLocalTransform(time));
        WriteTransform(json, "global", scene.GetNode(n)->EvaluateGlobalTransform(time));
        json.Close('}');
    }
    json.Close(']');
    json.Key("animated");
    json.Open('[');
    for (const SAnimatedProperty& entry : animated)
    {
        double channels[4];
        const int nChannels = scene.GetAnimationEvaluator()->EvaluateProperty(entry.property, time, channels);
        json.Open('{');
        json.IntegerField("node", entry.pNode->GetIndex());
        json.TextField("name", entry.property.GetName());
        json.Key("value");
        json.Open('[');
        for (int i = 0; i < nChannels; ++i)
            json.Number(channels[i]);
        json.Close(']');
        json.Close('}');
    }
    json.Close(']');
    json.Close('}');
}

} // namespace

std::string SceneLine(const ZSceneFile& file, const std::string& sPath, const std::vector<FbxTime>& times)
{
    const FbxScene& scene = file.Scene();
    const FbxImporter& importer = file.Importer();
    const FbxGlobalSettings& settings = scene.GetGlobalSettings();
    ZJsonWriter json;
    json.Open('{');
    json.TextField("file", sPath);
    json.IntegerField("version", importer.GetFileVersion());
    json.TextField("format", importer.IsBinary() ? "binary" : "ascii");
    json.NumberField("fps", settings.GetFrameRate());
    json.IntegerField("timeMode", settings.GetTimeMode());
    json.NumberField("unitScaleFactor", settings.GetUnitScaleFactor());
    WriteAxes(json, "axes", settings.GetAxisSystem());
    WriteAxes(json, "originalAxes", file.OriginalAxes());
    json.Key("stacks");
    json.Open('[');
    for (size_t n = 0; n < scene.GetAnimStackCount(); ++n)
    {
        const FbxAnimStack& stack = *scene.GetAnimStack(n);
        json.Open('{');
        json.TextField("name", stack.GetName());
        WriteSpanEnd(json, "start", "startTicks", stack.GetLocalTimeSpan().start);
        WriteSpanEnd(json, "stop", "stopTicks", stack.GetLocalTimeSpan().stop);
        const SFbxFrames frames = FbxFramesOf(FbxSpanOf(stack), FbxFrameRateOf(scene));
        json.IntegerField("firstFrame", frames.nFirst);
        json.IntegerField("lastFrame", frames.nLast);
        json.UnsignedField("layers", stack.GetLayerCount());
        json.Close('}');
    }
    json.Close(']');
    json.Key("nodes");
    json.Open('[');
    for (size_t n = 0; n < scene.GetNodeCount(); ++n)
        WriteNode(json, *scene.GetNode(n));
    json.Close(']');
    json.Key("currentStack");
    if (scene.GetCurrentAnimStack() != nullptr)
        json.Text(scene.GetCurrentAnimStack()->GetName());
    else
        json.Null();
    const std::vector<SAnimatedProperty> animated = AnimatedProperties(scene);
    json.Key("at");
    json.Open('[');
    for (const FbxTime time : times)
        WriteMoment(json, scene, animated, time);
    json.Close(']');
    json.Close('}');
    return json.Take();
}

} // namespace Host
