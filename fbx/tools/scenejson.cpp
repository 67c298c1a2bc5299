#include "fbx/tools/scenejson.h"

#include <charconv>
#include <cmath>
#include <initializer_list>

namespace
{

class JsonWriter
{
public:
    void Open(char c)
    {
        Separate();
        m_sText += c;
        m_bFirst = true;
    }
    void Close(char c)
    {
        m_sText += c;
        m_bFirst = false;
    }
    void Key(std::string_view key)
    {
        Text(key);
        m_sText += ':';
        m_bFirst = true;
    }
    void Text(std::string_view text)
    {
        Separate();
        m_sText += '"';
        for (const char c : text)
        {
            if (c == '"' || c == '\\')
                (m_sText += '\\') += c;
            else if (static_cast<unsigned char>(c) < 0x20)
            {
                static constexpr char digits[] = "0123456789abcdef";
                ((m_sText += "\\u00") += digits[c >> 4 & 1]) += digits[c & 15];
            }
            else
                m_sText += c;
        }
        m_sText += '"';
    }
    void Number(double f)
    {
        Separate();
        if (!std::isfinite(f))
        {
            m_sText += "null";
            return;
        }
        char buffer[40];
        m_sText.append(buffer, std::to_chars(buffer, buffer + sizeof buffer, f).ptr);
    }
    /// Nine digits: a span is for people, and for comparing with tables that have no more.
    void Seconds(FbxTime time)
    {
        Separate();
        char buffer[40];
        const double f = time.GetSecondDouble();
        m_sText.append(buffer, std::to_chars(buffer, buffer + sizeof buffer, f, std::chars_format::general, 9).ptr);
    }
    void Integer(int64_t n)
    {
        Separate();
        m_sText += std::to_string(n);
    }
    void Word(const char* sz)
    {
        Separate();
        m_sText += sz;
    }
    void Numbers(std::initializer_list<double> numbers)
    {
        Open('[');
        for (const double f : numbers)
            Number(f);
        Close(']');
    }
    std::string Take() { return std::move(m_sText); }

private:
    void Separate()
    {
        if (!m_bFirst)
            m_sText += ',';
        m_bFirst = false;
    }
    std::string m_sText;
    bool m_bFirst = true;
};

void Write(JsonWriter& json, const char* szKey, const FbxTransform& transform)
{
    json.Key(szKey);
    json.Open('{');
    json.Key("t");
    json.Numbers({transform.t.x, transform.t.y, transform.t.z});
    json.Key("r");
    json.Numbers({transform.q.x, transform.q.y, transform.q.z, transform.q.w});
    json.Key("s");
    json.Numbers({transform.s.x, transform.s.y, transform.s.z});
    json.Close('}');
}

void WriteValue(JsonWriter& json, const FbxProperty& property)
{
    const int nChannels = property.GetChannelCount();
    if (nChannels == 0)
        json.Text(property.GetString());
    else if (property.GetType() == EFbxType::eBool)
        json.Word(property.GetBool() ? "true" : "false");
    else if (nChannels == 1 && property.GetType() != EFbxType::eDouble && property.GetType() != EFbxType::eFloat &&
             property.GetType() != EFbxType::eHalfFloat && property.GetType() != EFbxType::eDistance)
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

void WriteNode(JsonWriter& json, const FbxNode& node)
{
    json.Open('{');
    json.Key("name");
    json.Text(node.GetName());
    json.Key("parent");
    json.Integer(node.GetParent() ? node.GetParent()->GetIndex() : -1);
    json.Key("type");
    json.Text(node.GetTypeText());
    Write(json, "local", node.EvaluateLocalTransform(FbxTime::Infinite()));
    Write(json, "global", node.EvaluateGlobalTransform(FbxTime::Infinite()));
    json.Key("properties");
    json.Open('[');
    for (size_t n = 0; n < node.GetPropertyCount(); ++n)
    {
        const FbxProperty property = node.GetProperty(n);
        if (!property.IsUserDefined())
            continue;
        json.Open('{');
        json.Key("name");
        json.Text(property.GetName());
        json.Key("type");
        json.Text(property.GetTypeName());
        json.Key("flags");
        json.Text(property.GetFlagsText());
        json.Key("value");
        WriteValue(json, property);
        json.Close('}');
    }
    json.Close(']');
    json.Close('}');
}

void WriteAnimated(JsonWriter& json, const FbxNode& node, const FbxObject& object, FbxTime time)
{
    for (size_t n = 0; n < object.GetPropertyCount(); ++n)
    {
        const FbxProperty property = object.GetProperty(n);
        const std::string_view name = property.GetName();
        if (name == "Lcl Translation" || name == "Lcl Rotation" || name == "Lcl Scaling")
            continue;
        const FbxAnimCurveNode* pCurveNode = property.GetCurveNode();
        if (!pCurveNode || !pCurveNode->IsAnimated())
            continue;
        double channels[4];
        const int nChannels = node.GetScene()->GetAnimationEvaluator()->EvaluateProperty(property, time, channels);
        json.Open('{');
        json.Key("node");
        json.Integer(node.GetIndex());
        json.Key("name");
        json.Text(name);
        json.Key("value");
        json.Open('[');
        for (int i = 0; i < nChannels; ++i)
            json.Number(channels[i]);
        json.Close(']');
        json.Close('}');
    }
}

void WriteMoment(JsonWriter& json, FbxScene& scene, FbxTime time)
{
    json.Open('{');
    json.Key("time");
    json.Number(time.GetSecondDouble());
    json.Key("ticks");
    json.Integer(time.Get());
    json.Key("nodes");
    json.Open('[');
    for (size_t n = 0; n < scene.GetNodeCount(); ++n)
    {
        json.Open('{');
        Write(json, "local", scene.GetNode(n)->EvaluateLocalTransform(time));
        Write(json, "global", scene.GetNode(n)->EvaluateGlobalTransform(time));
        json.Close('}');
    }
    json.Close(']');
    json.Key("animated");
    json.Open('[');
    for (size_t n = 0; n < scene.GetNodeCount(); ++n)
    {
        const FbxNode& node = *scene.GetNode(n);
        WriteAnimated(json, node, node, time);
        for (size_t i = 0; i < node.GetNodeAttributeCount(); ++i)
            WriteAnimated(json, node, *node.GetNodeAttribute(i), time);
    }
    json.Close(']');
    json.Close('}');
}

} // namespace

std::string FbxSceneJson(FbxScene& scene, const FbxImporter& importer, const std::string& sPath,
                         const std::vector<FbxTime>& times)
{
    const FbxGlobalSettings& settings = scene.GetGlobalSettings();
    const FbxAxisSystem axes = settings.GetAxisSystem();
    JsonWriter json;
    json.Open('{');
    json.Key("file");
    json.Text(sPath);
    json.Key("version");
    json.Integer(importer.GetFileVersion());
    json.Key("format");
    json.Text(importer.IsBinary() ? "binary" : "ascii");
    json.Key("fps");
    json.Number(settings.GetFrameRate());
    json.Key("timeMode");
    json.Integer(settings.GetTimeMode());
    json.Key("axes");
    json.Open('{');
    json.Key("up");
    json.Numbers({double(axes.GetUpAxis()), double(axes.GetUpSign())});
    json.Key("front");
    json.Numbers({double(axes.GetFrontAxis()), double(axes.GetFrontSign())});
    json.Key("coord");
    json.Numbers({double(axes.GetCoordAxis()), double(axes.GetCoordSign())});
    json.Close('}');
    json.Key("stacks");
    json.Open('[');
    for (size_t n = 0; n < scene.GetAnimStackCount(); ++n)
    {
        const FbxAnimStack& stack = *scene.GetAnimStack(n);
        json.Open('{');
        json.Key("name");
        json.Text(stack.GetName());
        json.Key("start");
        json.Seconds(stack.GetLocalTimeSpan().start);
        json.Key("stop");
        json.Seconds(stack.GetLocalTimeSpan().stop);
        json.Key("layers");
        json.Integer(static_cast<int64_t>(stack.GetLayerCount()));
        json.Close('}');
    }
    json.Close(']');
    json.Key("nodes");
    json.Open('[');
    for (size_t n = 0; n < scene.GetNodeCount(); ++n)
        WriteNode(json, *scene.GetNode(n));
    json.Close(']');
    json.Key("currentStack");
    if (scene.GetCurrentAnimStack())
        json.Text(scene.GetCurrentAnimStack()->GetName());
    else
        json.Word("null");
    json.Key("at");
    json.Open('[');
    for (const FbxTime time : times)
        WriteMoment(json, scene, time);
    json.Close(']');
    json.Close('}');
    return json.Take();
}
