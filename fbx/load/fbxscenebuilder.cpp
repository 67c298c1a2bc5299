#include "fbx/load/fbxscenebuilder.h"

#include "fbx/load/fbxpropertyrecord.h"

FbxSceneBuilder::FbxSceneBuilder(FbxScene& scene, const SFbxRecordTree& tree, size_t nFileBytes, std::string& sError)
    : m_scene(scene),
      m_nMaxObjects(nFileBytes / kBytesPerObject + kObjectsOfAnyFile),
      m_sError(sError),
      m_fileTime(tree.root),
      m_templates(scene),
      m_arrays(scene, nFileBytes, tree.bBigEndian, m_fileTime)
{
    scene.GetRootNode()->SetTemplate(m_templates.Of("FbxNode"));
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

std::vector<SFbxPropertyData>& FbxSceneBuilder::ParseProperties(const SFbxRecord& properties, bool bLabel)
{
    m_parsed.clear();
    for (const SFbxRecord* p = properties.pChild; p; p = p->pNext)
    {
        m_parsed.emplace_back();
        if (!FbxParseProperty(*p, bLabel, m_fileTime, Arena(), m_parsed.back()))
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
