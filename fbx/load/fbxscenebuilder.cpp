#include "fbx/load/fbxscenebuilder.h"

#include "fbx/scene/fbxpropertytypes.h"

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
      m_arrays(FbxAccess::Arena(scene), nFileBytes, tree.bBigEndian)
{
    FbxAccess::SetTemplate(*scene.GetRootNode(), NodeTemplate(nullptr, true));
}

bool FbxSceneBuilder::HasRoom()
{
    return FbxAccess::Storage(m_scene).objects.size() <= m_nMaxObjects ||
           Fail("the file has more objects than its size can hold");
}

FbxNode* FbxSceneBuilder::AddNode(std::string_view name, std::string_view type, const SFbxPropertyTemplate* pTemplate)
{
    auto pNode = std::make_unique<FbxNode>(&m_scene);
    FbxNode* p = pNode.get();
    FbxAccess::SetName(*p, name);
    FbxAccess::SetTypeText(*p, type);
    FbxAccess::SetTemplate(*p, pTemplate);
    FbxAccess::Index(*p) = static_cast<int>(FbxAccess::Nodes(m_scene).size());
    FbxAccess::Nodes(m_scene).push_back(p);
    FbxAccess::Storage(m_scene).objects.push_back(std::move(pNode));
    return p;
}

FbxNodeAttribute* FbxSceneBuilder::AddAttribute(std::string_view name, std::string_view type,
                                                const SFbxPropertyTemplate* pTemplate)
{
    std::unique_ptr<FbxNodeAttribute> pAttribute;
    if (type == "Camera")
        pAttribute = std::make_unique<FbxCamera>(&m_scene);
    else
        pAttribute = std::make_unique<FbxNodeAttribute>(&m_scene);
    FbxNodeAttribute* p = pAttribute.get();
    FbxAccess::SetName(*p, name);
    FbxAccess::SetTypeText(*p, type);
    FbxAccess::SetTemplate(*p, pTemplate);
    FbxAccess::Storage(m_scene).objects.push_back(std::move(pAttribute));
    return p;
}

FbxAnimStack* FbxSceneBuilder::AddStack(std::string_view name, const SFbxPropertyTemplate* pTemplate)
{
    auto pStack = std::make_unique<FbxAnimStack>(&m_scene);
    FbxAnimStack* p = pStack.get();
    FbxAccess::SetName(*p, name);
    FbxAccess::SetTemplate(*p, pTemplate);
    FbxAccess::Stacks(m_scene).push_back(p);
    FbxAccess::Storage(m_scene).objects.push_back(std::move(pStack));
    return p;
}

FbxAnimLayer* FbxSceneBuilder::AddLayer(std::string_view name, const SFbxPropertyTemplate* pTemplate)
{
    auto pLayer = std::make_unique<FbxAnimLayer>(&m_scene);
    FbxAnimLayer* p = pLayer.get();
    FbxAccess::SetName(*p, name);
    FbxAccess::SetTemplate(*p, pTemplate);
    FbxAccess::Storage(m_scene).objects.push_back(std::move(pLayer));
    return p;
}

FbxAnimCurveNode* FbxSceneBuilder::AddCurveNode()
{
    return &FbxAccess::Storage(m_scene).curveNodes.emplace_back();
}

const SFbxPropertyTemplate* FbxSceneBuilder::MakeTemplate(const SFbxRecord* pProperties, bool bLabel,
                                                          const SFbxPropertyData* pBuiltIn, size_t nBuiltIn)
{
    SFbxPropertyTemplate& made = FbxAccess::Storage(m_scene).templates.emplace_back();
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

void FbxSceneBuilder::ReadProperties(FbxObject& object, const SFbxRecord& properties, bool bLabel)
{
    std::vector<SFbxPropertyData>& list = FbxAccess::Properties(object);
    size_t nCount = 0;
    for (const SFbxRecord* p = properties.pChild; p; p = p->pNext)
        ++nCount;
    list.reserve(list.size() + nCount);
    for (const SFbxRecord* p = properties.pChild; p; p = p->pNext)
    {
        list.emplace_back();
        if (!FbxParseProperty(*p, bLabel, Arena(), list.back()))
            list.pop_back();
    }
}

void FbxSceneBuilder::ConnectNode(FbxNode& child, FbxNode& parent)
{
    if (&child == m_scene.GetRootNode() || FbxAccess::Parent(child))
        return;
    FbxAccess::Parent(child) = &parent;
    FbxAccess::Children(parent).push_back(&child);
}

void FbxSceneBuilder::ConnectAttribute(FbxObject& attribute, FbxNode& node)
{
    FbxAccess::Attributes(node).push_back(&attribute);
}

void FbxSceneBuilder::ConnectLayer(FbxAnimLayer& layer, FbxAnimStack& stack)
{
    FbxAccess::Layers(stack).push_back(&layer);
}

void FbxSceneBuilder::ConnectCurveNode(FbxAnimCurveNode& curveNode, FbxAnimLayer& layer)
{
    if (FbxAccess::Layers(curveNode).size() < FbxAnimCurveNode::kMaxLayers)
        FbxAccess::Layers(curveNode).push_back(&layer);
}

void FbxSceneBuilder::ConnectCurveNode(FbxAnimCurveNode& curveNode, FbxObject& object, std::string_view property)
{
    FbxAccess::CurveNodes(object).push_back({Arena().CopyText(property), &curveNode});
    ++FbxAccess::Links(curveNode);
}

void FbxSceneBuilder::SetSpan(FbxAnimStack& stack, int64_t nStart, int64_t nStop)
{
    FbxAccess::Span(stack) = {FbxTime::FromTicks(nStart), FbxTime::FromTicks(nStop)};
}

void FbxSceneBuilder::ReadLayer(FbxAnimLayer& layer)
{
    const FbxProperty weight = layer.FindProperty("Weight");
    const auto number = [&layer](std::string_view name)
    {
        const int64_t n = layer.FindProperty(name).GetInt64();
        return n >= 0 && n <= 2 ? static_cast<int>(n) : 0;
    };
    FbxAccess::SetLayer(layer, weight.IsValid() ? weight.GetDouble() : 100.0, number("BlendMode"),
                        number("RotationAccumulationMode"), number("ScaleAccumulationMode"),
                        layer.FindProperty("Mute").GetBool(), layer.FindProperty("Solo").GetBool());
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
    FbxAccess::SetSettings(settings, number("TimeMode", 0), settings.FindProperty("CustomFrameRate").GetDouble(),
                           unit.IsValid() ? unit.GetDouble() : 1.0);
}

bool FbxSceneBuilder::FinishTree()
{
    FbxNode* pRoot = m_scene.GetRootNode();
    std::vector<FbxNode*>& nodes = FbxAccess::Nodes(m_scene);
    for (FbxNode* pNode : nodes)
        if (pNode != pRoot && !pNode->GetParent())
            ConnectNode(*pNode, *pRoot);

    // Each node is walked over once: those known to lead to the root are not walked again.
    std::vector<uint8_t> states(nodes.size(), 0);
    states[0] = 2;
    std::vector<FbxNode*> path;
    for (FbxNode* pStart : nodes)
    {
        path.clear();
        FbxNode* p = pStart;
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
    FbxAccess::Storage(m_scene).nTimelines = m_arrays.TimelineCount();
    const std::vector<FbxAnimStack*>& stacks = FbxAccess::Stacks(m_scene);
    FbxAnimStack* pCurrent = stacks.empty() ? nullptr : stacks.front();
    for (FbxAnimStack* pStack : stacks)
    {
        if (activeName == pStack->GetName())
        {
            pCurrent = pStack;
            break;
        }
    }
    m_scene.SetCurrentAnimStack(pCurrent);
}

SFbxObjectName FbxSplitName(std::string_view text)
{
    const size_t nBinary = text.find(std::string_view("\0\1", 2));
    if (nBinary != std::string_view::npos)
        return {text.substr(0, nBinary), text.substr(nBinary + 2)};
    const size_t nText = text.find("::");
    if (nText != std::string_view::npos)
        return {text.substr(nText + 2), text.substr(0, nText)};
    return {text, {}};
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
