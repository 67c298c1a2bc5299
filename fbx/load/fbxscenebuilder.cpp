#include "fbx/load/fbxscenebuilder.h"

#include "fbx/load/fbxpropertyrecord.h"

#include <iterator>

namespace
{

constexpr SFbxPropertyData Number(std::string_view name, std::string_view typeName, EFbxType eType, double f,
                                  uint32_t nFlags = 0)
{
    SFbxPropertyData data;
    data.name = name;
    data.typeName = typeName;
    data.eType = eType;
    data.values[0] = f;
    data.integer = static_cast<int64_t>(f);
    data.nFlags = nFlags;
    return data;
}

constexpr SFbxPropertyData Vector(std::string_view name, std::string_view typeName, double f, uint32_t nFlags = 0)
{
    SFbxPropertyData data;
    data.name = name;
    data.typeName = typeName;
    data.eType = EFbxType::eDouble3;
    data.nChannels = 3;
    data.values[0] = data.values[1] = data.values[2] = f;
    data.integer = static_cast<int64_t>(f);
    data.nFlags = nFlags;
    return data;
}

/// Every object of a class shows all of its template's properties, so a long template would weigh a hundred
/// thousandfold.
constexpr size_t kMaxTemplateProperties = 4096;

constexpr SFbxPropertyData kNodeProperties[] = {
    Vector("Lcl Translation", "Lcl Translation", 0, eFbxFlag_Animatable),
    Vector("Lcl Rotation", "Lcl Rotation", 0, eFbxFlag_Animatable),
    Vector("Lcl Scaling", "Lcl Scaling", 1, eFbxFlag_Animatable),
    Number("Visibility", "Visibility", EFbxType::eDouble, 1, eFbxFlag_Animatable),
    Number("RotationOrder", "enum", EFbxType::eEnum, 0),
    Number("RotationActive", "bool", EFbxType::eBool, 0),
    Number("RotationSpaceForLimitOnly", "bool", EFbxType::eBool, 0),
    Vector("PreRotation", "Vector3D", 0),
    Vector("PostRotation", "Vector3D", 0),
    Vector("RotationOffset", "Vector3D", 0),
    Vector("RotationPivot", "Vector3D", 0),
    Vector("ScalingOffset", "Vector3D", 0),
    Vector("ScalingPivot", "Vector3D", 0),
    Number("InheritType", "enum", EFbxType::eEnum, 0),
};

constexpr SFbxPropertyData kCameraProperties[] = {
    Number("FieldOfView", "FieldOfView", EFbxType::eDouble, 25.114999771118164, eFbxFlag_Animatable),
    Number("FocalLength", "Number", EFbxType::eDouble, 34.893276, eFbxFlag_Animatable),
    Number("FilmWidth", "double", EFbxType::eDouble, 0.816),
    Number("FilmHeight", "double", EFbxType::eDouble, 0.612),
    Number("ApertureMode", "enum", EFbxType::eEnum, 2),
    Number("NearPlane", "double", EFbxType::eDouble, 10),
    Number("FarPlane", "double", EFbxType::eDouble, 4000),
};

} // namespace

FbxSceneBuilder::FbxSceneBuilder(FbxScene& scene, const SFbxRecordTree& tree, size_t nFileBytes, std::string& sError)
    : m_scene(scene),
      m_nMaxObjects(nFileBytes / kBytesPerObject + kObjectsOfAnyFile),
      m_sError(sError),
      m_arrays(scene, nFileBytes, tree.bBigEndian)
{
    scene.GetRootNode()->SetTemplate(NodeTemplate(nullptr, true));
}

bool FbxSceneBuilder::HasRoom()
{
    return m_scene.GetObjectCount() <= m_nMaxObjects || Fail("the file has more objects than its size can hold");
}

FbxAnimStack* FbxSceneBuilder::AddStack(const SFbxIdentity& identity)
{
    FbxAnimStack* pStack = m_scene.AddAnimStack(identity);
    m_scene.ConnectAnimStack(pStack);
    return pStack;
}

const SFbxPropertyTemplate* FbxSceneBuilder::MakeTemplate(const SFbxRecord* pProperties, bool bLabel,
                                                          const SFbxPropertyData* pBuiltIn, size_t nBuiltIn)
{
    SFbxPropertyTemplate& made = *m_scene.AddTemplate();
    for (const SFbxRecord* p = pProperties ? pProperties->pChild : nullptr; p; p = p->pNext)
    {
        SFbxPropertyData data;
        if (made.properties.size() < kMaxTemplateProperties && FbxParseProperty(*p, bLabel, Arena(), data))
            made.properties.push_back(data);
    }
    const size_t nWritten = made.properties.size();
    for (size_t n = 0; n < nBuiltIn; ++n)
    {
        bool bThere = false;
        for (size_t i = 0; i < nWritten && !bThere; ++i)
            bThere = made.properties[i].name == pBuiltIn[n].name;
        if (!bThere)
            made.properties.push_back(pBuiltIn[n]);
    }
    return &made;
}

const SFbxPropertyTemplate* FbxSceneBuilder::NodeTemplate(const SFbxRecord* pProperties, bool bLabel)
{
    return MakeTemplate(pProperties, bLabel, kNodeProperties, std::size(kNodeProperties));
}

const SFbxPropertyTemplate* FbxSceneBuilder::CameraTemplate(const SFbxRecord* pProperties, bool bLabel)
{
    return MakeTemplate(pProperties, bLabel, kCameraProperties, std::size(kCameraProperties));
}

const SFbxPropertyTemplate* FbxSceneBuilder::Template(const SFbxRecord* pProperties, bool bLabel)
{
    return MakeTemplate(pProperties, bLabel, nullptr, 0);
}

std::vector<SFbxPropertyData>& FbxSceneBuilder::ParseProperties(const SFbxRecord& properties, bool bLabel)
{
    m_parsed.clear();
    for (const SFbxRecord* p = properties.pChild; p; p = p->pNext)
    {
        m_parsed.emplace_back();
        if (!FbxParseProperty(*p, bLabel, Arena(), m_parsed.back()))
            m_parsed.pop_back();
    }
    return m_parsed;
}

void FbxSceneBuilder::ReadProperties(FbxObject& object, const SFbxRecord& properties, bool bLabel)
{
    const std::vector<SFbxPropertyData>& parsed = ParseProperties(properties, bLabel);
    object.AddProperties(parsed.data(), parsed.size());
}

void FbxSceneBuilder::ReadLayer(FbxAnimLayer& layer)
{
    const auto number = [&layer](std::string_view name) { return layer.FindProperty(name).GetInt64(); };
    SFbxLayerSettings settings;
    if (const FbxProperty weight = layer.FindProperty("Weight"); weight.IsValid())
        settings.fWeight = weight.GetDouble();
    const int64_t nMode = number("BlendMode");
    if (nMode == 1 || nMode == 2)
        settings.eBlendMode = static_cast<EFbxBlendMode>(nMode);
    // 0 by layer, 1 by channel; other numbers mean nothing.
    const auto byChannel = [](int64_t n) { return n == 1 || n == 2; };
    settings.bMixesRotations = !byChannel(number("RotationAccumulationMode"));
    settings.bMixesScales = !byChannel(number("ScaleAccumulationMode"));
    settings.bMute = layer.FindProperty("Mute").GetBool();
    settings.bSolo = layer.FindProperty("Solo").GetBool();
    layer.SetSettings(settings);
}

void FbxSceneBuilder::ReadSettings()
{
    FbxGlobalSettings& settings = m_scene.GetGlobalSettings();
    const auto number = [&settings](std::string_view name, int nDefault)
    {
        const FbxProperty property = settings.FindProperty(name);
        const int64_t n = property.IsValid() ? property.GetInt64() : nDefault;
        return n >= -1000 && n <= 1000 ? static_cast<int>(n) : nDefault;
    };
    const FbxAxisSystem axes(number("UpAxis", 1), number("UpAxisSign", 1), number("FrontAxis", 2),
                             number("FrontAxisSign", 1), number("CoordAxis", 0), number("CoordAxisSign", 1));
    if (axes.IsValid())
        settings.SetAxisSystem(axes);
    const FbxProperty unit = settings.FindProperty("UnitScaleFactor");
    settings.SetTimeMode(number("TimeMode", 0), settings.FindProperty("CustomFrameRate").GetDouble());
    settings.SetUnitScaleFactor(unit.IsValid() ? unit.GetDouble() : 1.0);
}

bool FbxSceneBuilder::FinishTree()
{
    FbxNode* pRoot = m_scene.GetRootNode();
    const size_t nNodes = m_scene.GetNodeCount();
    for (size_t n = 1; n < nNodes; ++n)
        pRoot->AddChild(m_scene.GetNode(n));

    // Each node is walked over once: those known to lead to the root are not walked again.
    std::vector<uint8_t> states(nNodes, 0);
    states[0] = 2;
    std::vector<FbxNode*> path;
    for (size_t n = 0; n < nNodes; ++n)
    {
        path.clear();
        FbxNode* p = m_scene.GetNode(n);
        for (; states[static_cast<size_t>(p->GetIndex())] == 0; p = p->GetParent())
        {
            states[static_cast<size_t>(p->GetIndex())] = 1;
            path.push_back(p);
        }
        if (states[static_cast<size_t>(p->GetIndex())] == 1)
            return Fail(std::string("node '") + p->GetName() + "' is its own ancestor");
        for (FbxNode* pWalked : path)
            states[static_cast<size_t>(pWalked->GetIndex())] = 2;
    }
    return true;
}

void FbxSceneBuilder::FinishStacks(std::string_view activeName)
{
    const size_t nStacks = m_scene.GetAnimStackCount();
    size_t nCurrent = 0;
    while (nCurrent < nStacks && activeName != m_scene.GetAnimStack(nCurrent)->GetName())
        ++nCurrent;
    if (nStacks > 0)
        m_scene.SetCurrentAnimStack(m_scene.GetAnimStack(nCurrent < nStacks ? nCurrent : 0));
}

bool FbxIsEditorCamera(std::string_view name)
{
    constexpr std::string_view kPrefix = "Producer ";
    if (name == "Camera Switcher")
        return true;
    if (name.substr(0, kPrefix.size()) != kPrefix)
        return false;
    const std::string_view view = name.substr(kPrefix.size());
    for (const std::string_view known : {"Perspective", "Front", "Back", "Right", "Left", "Top", "Bottom"})
        if (view == known)
            return true;
    return false;
}
