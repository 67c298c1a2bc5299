#include "host/adopt/plainscene.h"

#include "fbx/scene/fbxmath.h"
#include "fbx/scene/fbxtime.h"

#include <cmath>

namespace Host
{

namespace
{

/// Below what a 32-bit float of a key tells apart.
constexpr double STILL = 2e-6;

constexpr char FRAME[] = R"(; FBX 7.4.0 project file
FBXHeaderExtension:  {
    FBXHeaderVersion: 1003
    FBXVersion: 7400
    EncryptionType: 0
    CreationTimeStamp:  {
        Version: 1000
        Year: 1970
        Month: 1
        Day: 1
        Hour: 10
        Minute: 0
        Second: 0
        Millisecond: 0
    }
    Creator: "animpack adopt"
}
Creator: "animpack adopt"
GlobalSettings:  {
    Version: 1000
    Properties70:  {
        P: "UpAxis", "int", "Integer", "",2
        P: "UpAxisSign", "int", "Integer", "",1
        P: "FrontAxis", "int", "Integer", "",1
        P: "FrontAxisSign", "int", "Integer", "",-1
        P: "CoordAxis", "int", "Integer", "",0
        P: "CoordAxisSign", "int", "Integer", "",1
        P: "OriginalUpAxis", "int", "Integer", "",2
        P: "OriginalUpAxisSign", "int", "Integer", "",1
        P: "UnitScaleFactor", "double", "Number", "",1
        P: "OriginalUnitScaleFactor", "double", "Number", "",1
    }
}
Documents:  {
    Count: 1
    Document: 999999, "", "Scene" {
        Properties70:  {
        }
        RootNode: 0
    }
}
References:  {
}
Definitions:  {
    Version: 100
}
Objects:  {
}
Connections:  {
}
Takes:  {
    Current: ""
}
)";

SFbxRecord& Child(SFbxRecord& parent, std::string_view name)
{
    SFbxRecord* p = parent.pChild;
    while (p->pNext != nullptr && !p->Is(name))
        p = p->pNext;
    return *p;
}

constexpr std::string_view CHANNELS[] = {"d|X", "d|Y", "d|Z"};

/// Angle plus whole turns, as near as can be to another.
double Near(double fAngle, double fTo)
{
    return fAngle + 360.0 * std::round((fTo - fAngle) / 360.0);
}

class ZDocumentMaker
{
public:
    ZDocumentMaker(const SPlainScene& scene, FbxDocument& document)
        : m_scene(scene),
          m_document(document),
          m_objects(Child(document.Root(), "Objects")),
          m_connections(Child(document.Root(), "Connections"))
    {
    }

    void Make()
    {
        Settings();
        for (const SPlainNode& node : m_scene.nodes)
            AddNode(node);
        if (!m_scene.sStack.empty())
            AddStack();
        Definitions();
    }

    const std::vector<int64_t>& Ids() const { return m_nodes; }

private:
    using TValues = std::vector<SFbxValue>;

    SFbxRecord* Record(std::string_view name, const TValues& values, bool bBlock = false)
    {
        SFbxRecord* pRecord = m_document.NewRecord(name, {}, bBlock);
        m_document.SetValues(*pRecord, values);
        return pRecord;
    }

    SFbxRecord* Property(std::string_view name, std::string_view type, std::string_view label, std::string_view flags,
                         const TValues& values)
    {
        TValues all{m_document.Text(name), m_document.Text(type), m_document.Text(label), m_document.Text(flags)};
        all.insert(all.end(), values.begin(), values.end());
        return Record("P", all);
    }

    SFbxRecord* Vector(std::string_view name, const FbxVector3& v)
    {
        return Property(name, name, "", "A",
                        {FbxDocument::Double(v.x), FbxDocument::Double(v.y), FbxDocument::Double(v.z)});
    }

    /// An object with an empty list of properties, which is handed back.
    SFbxRecord* Object(std::string_view record, std::string_view name, std::string_view className,
                       std::string_view kind, int64_t& nId, SFbxRecord** ppObject = nullptr)
    {
        nId = ++m_nLastId;
        SFbxRecord* pObject = m_objects.Append(
            Record(record, {FbxDocument::Long(nId), m_document.Name(name, className), m_document.Text(kind)}, true));
        ++m_counts[record == "Model"                ? 0
                   : record == "NodeAttribute"      ? 1
                   : record == "AnimationCurveNode" ? 2
                   : record == "AnimationCurve"     ? 3
                   : record == "AnimationStack"     ? 4
                                                    : 5];
        if (ppObject != nullptr)
            *ppObject = pObject;
        if (record == "AnimationCurve" || record == "AnimationLayer" || record == "NodeAttribute")
            return nullptr;
        if (record == "Model")
            FbxRecordList(*pObject).Append(Record("Version", {FbxDocument::Int(232)}));
        return FbxRecordList(*pObject).Append(Record("Properties70", {}, true));
    }

    void Connect(int64_t nFrom, int64_t nTo, std::string_view property = {})
    {
        TValues values{m_document.Text(property.empty() ? "OO" : "OP"), FbxDocument::Long(nFrom),
                       FbxDocument::Long(nTo)};
        if (!property.empty())
            values.push_back(m_document.Text(property));
        m_connections.Append(Record("C", values));
    }

    void Settings()
    {
        FbxRecordList list(Child(Child(m_document.Root(), "GlobalSettings"), "Properties70"));
        const FbxTime start = FbxTime::FromFrame(m_scene.nFirstFrame, m_scene.fFrameRate);
        const FbxTime stop = FbxTime::FromFrame(m_scene.nLastFrame, m_scene.fFrameRate);
        list.Append(Property("TimeMode", "enum", "", "", {FbxDocument::Int(m_scene.nTimeMode)}));
        list.Append(Property("TimeSpanStart", "KTime", "Time", "", {FbxDocument::Long(start.Get())}));
        list.Append(Property("TimeSpanStop", "KTime", "Time", "", {FbxDocument::Long(stop.Get())}));
        list.Append(Property("CustomFrameRate", "double", "Number", "", {FbxDocument::Double(m_scene.fFrameRate)}));
    }

    void AddNode(const SPlainNode& node)
    {
        const std::string_view kind = node.bBone ? "LimbNode" : "Null";
        int64_t nAttribute = 0;
        int64_t nNode = 0;
        SFbxRecord* pAttribute = nullptr;
        SFbxRecord* pModel = nullptr;
        Object("NodeAttribute", node.sName, "NodeAttribute", kind, nAttribute, &pAttribute);
        FbxRecordList(*pAttribute).Append(Record("TypeFlags", {m_document.Text(node.bBone ? "Skeleton" : "Null")}));
        SFbxRecord* pProperties = Object("Model", node.sName, "Model", kind, nNode, &pModel);
        FbxRecordList properties(*pProperties);
        properties.Append(Property("InheritType", "enum", "", "", {FbxDocument::Int(1)}));
        properties.Append(Property("DefaultAttributeIndex", "int", "Integer", "", {FbxDocument::Int(0)}));
        const FbxVector3 degrees = FbxToEuler(node.rest.q, EFbxRotationOrder::eXYZ);
        properties.Append(Vector("Lcl Translation", node.rest.t));
        properties.Append(Vector("Lcl Rotation", degrees));
        FbxRecordList parts(*pModel);
        parts.Append(Record("Shading", {FbxDocument::Flag(true)}));
        parts.Append(Record("Culling", {m_document.Text("CullingOff")}));
        m_nodes.push_back(nNode);
        Connect(nNode, node.nParent >= 0 ? m_nodes[static_cast<size_t>(node.nParent)] : 0);
        Connect(nAttribute, nNode);
    }

    void AddStack()
    {
        for (int32_t n = m_scene.nFirstFrame; n <= m_scene.nLastFrame; ++n)
            m_times.push_back(FbxTime::FromFrame(n, m_scene.fFrameRate).Get());
        int64_t nStack = 0;
        int64_t nLayer = 0;
        FbxRecordList span(*Object("AnimationStack", m_scene.sStack, "AnimStack", "", nStack));
        for (const std::string_view name : {"LocalStart", "LocalStop", "ReferenceStart", "ReferenceStop"})
            span.Append(Property(name, "KTime", "Time", "",
                                 {FbxDocument::Long(name.ends_with("Start") ? m_times.front() : m_times.back())}));
        Object("AnimationLayer", "BaseLayer", "AnimLayer", "", nLayer);
        Connect(nLayer, nStack);
        for (size_t n = 0; n < m_scene.nodes.size(); ++n)
        {
            const SPlainNode& node = m_scene.nodes[n];
            if (!node.translation[0].empty())
                AddCurves(m_nodes[n], nLayer, "Lcl Translation", "T", node.translation);
            if (!node.rotation[0].empty())
                AddCurves(m_nodes[n], nLayer, "Lcl Rotation", "R", node.rotation);
        }
        SFbxRecord& document = Child(Child(m_document.Root(), "Documents"), "Document");
        FbxRecordList(Child(document, "Properties70"))
            .Append(Property("ActiveAnimStackName", "KString", "", "", {m_document.Text(m_scene.sStack)}));
        m_document.SetValues(Child(Child(m_document.Root(), "Takes"), "Current"), {m_document.Text(m_scene.sStack)});
    }

    void AddCurves(int64_t nNode, int64_t nLayer, std::string_view property, std::string_view name,
                   const std::vector<float> (&channels)[3])
    {
        int64_t nCurveNode = 0;
        FbxRecordList values(*Object("AnimationCurveNode", name, "AnimCurveNode", "", nCurveNode));
        for (size_t n = 0; n < 3; ++n)
            values.Append(Property(CHANNELS[n], "Number", "", "A",
                                   {FbxDocument::Double(static_cast<double>(channels[n].front()))}));
        Connect(nCurveNode, nLayer);
        Connect(nCurveNode, nNode, property);
        for (size_t n = 0; n < 3; ++n)
        {
            int64_t nCurve = 0;
            SFbxRecord* pCurve = nullptr;
            Object("AnimationCurve", "", "AnimCurve", "", nCurve, &pCurve);
            constexpr int32_t LINEAR = 4;
            FbxRecordList parts(*pCurve);
            parts.Append(Record("Default", {FbxDocument::Double(0.0)}));
            parts.Append(Record("KeyVer", {FbxDocument::Int(4008)}));
            parts.Append(Record("KeyTime", {m_document.Longs(m_times)}));
            parts.Append(Record("KeyValueFloat", {m_document.Floats(channels[n])}));
            parts.Append(Record("KeyAttrFlags", {m_document.Ints({LINEAR})}));
            parts.Append(Record("KeyAttrDataFloat", {m_document.Floats({0.0f, 0.0f, 0.0f, 0.0f})}));
            parts.Append(Record("KeyAttrRefCount", {m_document.Ints({static_cast<int32_t>(m_times.size())})}));
            Connect(nCurve, nCurveNode, CHANNELS[n]);
        }
    }

    void Definitions()
    {
        constexpr std::string_view TYPES[] = {"Model",          "NodeAttribute",  "AnimationCurveNode",
                                              "AnimationCurve", "AnimationStack", "AnimationLayer"};
        FbxRecordList list(Child(m_document.Root(), "Definitions"));
        int32_t nAll = 1;
        for (const int32_t n : m_counts)
            nAll += n;
        list.Append(Record("Count", {FbxDocument::Int(nAll)}));
        const auto add = [&](std::string_view type, int32_t nCount)
        {
            SFbxRecord* pType = list.Append(Record("ObjectType", {m_document.Text(type)}, true));
            FbxRecordList(*pType).Append(Record("Count", {FbxDocument::Int(nCount)}));
        };
        add("GlobalSettings", 1);
        for (size_t n = 0; n < std::size(TYPES); ++n)
            if (m_counts[n] != 0)
                add(TYPES[n], m_counts[n]);
    }

    const SPlainScene& m_scene;
    FbxDocument& m_document;
    FbxRecordList m_objects;
    FbxRecordList m_connections;
    int64_t m_nLastId = 2000000;
    int32_t m_counts[6] = {};
    std::vector<int64_t> m_nodes; ///< numbers of the scene's nodes
    std::vector<int64_t> m_times;
};

} // namespace

void AddKey(SPlainNode& node, const SRigid& local)
{
    FbxVector3 angles = FbxToEuler(local.q, EFbxRotationOrder::eXYZ);
    if (!node.rotation[0].empty())
    {
        const FbxVector3 last{static_cast<double>(node.rotation[0].back()),
                              static_cast<double>(node.rotation[1].back()),
                              static_cast<double>(node.rotation[2].back())};
        const auto near = [&last](const FbxVector3& v) {
            return FbxVector3{Near(v.x, last.x), Near(v.y, last.y), Near(v.z, last.z)};
        };
        const auto way = [&last](const FbxVector3& v)
        { return std::fabs(v.x - last.x) + std::fabs(v.y - last.y) + std::fabs(v.z - last.z); };
        const FbxVector3 first = near(angles);
        const FbxVector3 second = near({angles.x + 180.0, 180.0 - angles.y, angles.z + 180.0});
        angles = way(second) < way(first) ? second : first;
    }
    const double t[] = {local.t.x, local.t.y, local.t.z};
    const double r[] = {angles.x, angles.y, angles.z};
    for (size_t n = 0; n < 3; ++n)
    {
        node.translation[n].push_back(static_cast<float>(t[n]));
        node.rotation[n].push_back(static_cast<float>(r[n]));
    }
}

void DropIdleKeys(SPlainNode& node)
{
    const auto drop = [](std::vector<float>(&channels)[3], const FbxVector3& rest)
    {
        const double values[] = {rest.x, rest.y, rest.z};
        for (size_t n = 0; n < 3; ++n)
            for (const float f : channels[n])
                if (!(std::fabs(static_cast<double>(f) - values[n]) <= STILL * (1.0 + std::fabs(values[n]))))
                    return;
        for (std::vector<float>& channel : channels)
            channel.clear();
    };
    drop(node.translation, node.rest.t);
    drop(node.rotation, FbxToEuler(node.rest.q, EFbxRotationOrder::eXYZ));
}

bool MakeDocument(const SPlainScene& scene, FbxDocument& document, std::vector<int64_t>* pIds)
{
    if (!document.LoadFromMemory(FRAME, sizeof FRAME - 1) || !document.SetFormat(true, 7400))
        return false;
    ZDocumentMaker maker(scene, document);
    maker.Make();
    if (pIds != nullptr)
        *pIds = maker.Ids();
    return true;
}

} // namespace Host
