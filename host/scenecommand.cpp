#include "fbx/evaluate/fbxevaluation.h"
#include "fbx/load/fbximporter.h"
#include "fbx/scene/fbxscene.h"
#include "host/assettree.h"
#include "host/commands.h"
#include "host/hosterror.h"
#include "host/jsonwriter.h"
#include "host/oldlayout.h"
#include "host/resourceids.h"
#include "host/scenetext.h"

#include <charconv>
#include <memory>
#include <new>

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

std::string SceneJson(const FbxScene& scene, const FbxImporter& importer, const std::string& sPath,
                      const std::vector<FbxTime>& times)
{
    const FbxGlobalSettings& settings = scene.GetGlobalSettings();
    const FbxAxisSystem axes = settings.GetAxisSystem();
    const auto axis = [](ZJsonWriter& json, std::string_view key, int nAxis, int nSign)
    {
        json.Key(key);
        json.Numbers({double(nAxis), double(nSign)});
    };
    ZJsonWriter json;
    json.Open('{');
    json.TextField("file", sPath);
    json.IntegerField("version", importer.GetFileVersion());
    json.TextField("format", importer.IsBinary() ? "binary" : "ascii");
    json.NumberField("fps", settings.GetFrameRate());
    json.IntegerField("timeMode", settings.GetTimeMode());
    json.Key("axes");
    json.Open('{');
    axis(json, "up", axes.GetUpAxis(), axes.GetUpSign());
    axis(json, "front", axes.GetFrontAxis(), axes.GetFrontSign());
    axis(json, "coord", axes.GetCoordAxis(), axes.GetCoordSign());
    json.Close('}');
    json.Key("stacks");
    json.Open('[');
    for (size_t n = 0; n < scene.GetAnimStackCount(); ++n)
    {
        const FbxAnimStack& stack = *scene.GetAnimStack(n);
        json.Open('{');
        json.TextField("name", stack.GetName());
        WriteSpanEnd(json, "start", "startTicks", stack.GetLocalTimeSpan().start);
        WriteSpanEnd(json, "stop", "stopTicks", stack.GetLocalTimeSpan().stop);
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

/// Null when the file has no such stack.
FbxAnimStack* FindStack(const FbxScene& scene, const std::string& sName)
{
    for (size_t n = 0; n < scene.GetAnimStackCount(); ++n)
        if (sName == scene.GetAnimStack(n)->GetName())
            return scene.GetAnimStack(n);
    return nullptr;
}

int ShowScene(const SOptions& options, ZConsole& console)
{
    const std::string sPath = PathOfWord(options.sources.front(), options.sAssets);
    const auto fail = [&](const std::string& sWhy)
    {
        console.Diagnostic(ESeverity::eError, options.sources.front(), sWhy);
        return eExit_AssetsFailed;
    };
    const struct SManagerEnd
    {
        void operator()(FbxManager* pManager) const { pManager->Destroy(); }
    } end;
    const std::unique_ptr<FbxManager, SManagerEnd> pManager(FbxManager::Create(&FbxMakeEvaluator), end);
    FbxScene* pScene = FbxScene::Create(pManager.get(), "");
    FbxImporter* pImporter = FbxImporter::Create(pManager.get(), "");
    if (!pImporter->Initialize(sPath.c_str(), -1, nullptr) || !pImporter->Import(pScene))
        return fail(pImporter->GetErrorText());
    FbxAxisSystem::ZUpMinusYFront().ConvertScene(pScene);
    // Of the old layout's stacks one is left; who asks for another gets the scene as the file has it.
    if (!options.bStackGiven || FindStack(*pScene, options.sStack) == nullptr)
        ConvertOldLayout(options, pScene);
    if (options.bStackGiven)
    {
        FbxAnimStack* pStack = FindStack(*pScene, options.sStack);
        if (pStack == nullptr)
            return fail("there is no anim stack '" + options.sStack + "'");
        pScene->SetCurrentAnimStack(pStack);
    }
    std::vector<FbxTime> times;
    for (const double fSeconds : options.seconds)
        times.push_back(FbxTime::FromSeconds(fSeconds));
    for (const int64_t nTicks : options.ticks)
        times.push_back(FbxTime::FromTicks(nTicks));
    console.Output(console.IsJson() ? SceneJson(*pScene, *pImporter, options.sources.front(), times)
                                    : SceneText(*pScene, *pImporter, options.sources.front(), times));
    return eExit_Done;
}

} // namespace

int RunScene(const SOptions& options, ZConsole& console)
{
    try
    {
        return ShowScene(options, console);
    }
    catch (const std::bad_alloc&)
    {
        console.Diagnostic(ESeverity::eError, options.sources.front(), "there is not enough memory for this scene");
        return eExit_AssetsFailed;
    }
}

} // namespace Host
