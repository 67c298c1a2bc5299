#include "fbx/load/fbxtakechannels.h"

#include <algorithm>
#include <charconv>
#include <map>

// Files before version 7: objects are known by their names, attributes stand in the node itself, and a take holds the
// channels of all objects by name. In version 5 the nodes stand at the top and name their children.
namespace
{

/// Properties of old nodes that belong to the node; the others of a camera or light describe that.
bool IsNodeProperty(std::string_view name)
{
    static constexpr std::string_view names[] = {"QuaternionInterpolate",
                                                 "RotationOffset",
                                                 "RotationPivot",
                                                 "ScalingOffset",
                                                 "ScalingPivot",
                                                 "RotationOrder",
                                                 "RotationActive",
                                                 "RotationSpaceForLimitOnly",
                                                 "AxisLen",
                                                 "PreRotation",
                                                 "PostRotation",
                                                 "InheritType",
                                                 "GeometricTranslation",
                                                 "GeometricRotation",
                                                 "GeometricScaling",
                                                 "LookAtProperty",
                                                 "UpVectorProperty",
                                                 "Show",
                                                 "NegativePercentShapeSupport",
                                                 "DefaultAttributeIndex",
                                                 "Freeze",
                                                 "LODBox",
                                                 "Visibility",
                                                 "TranslationActive",
                                                 "ScalingActive"};
    for (const std::string_view known : names)
        if (name == known)
            return true;
    for (const std::string_view prefix :
         {"Lcl ", "TranslationM", "RotationM", "RotationStiffness", "ScalingM", "MinDamp", "MaxDamp", "PreferedAngle"})
        if (name.substr(0, prefix.size()) == prefix)
            return true;
    return false;
}

class Loader
{
public:
    Loader(const SFbxRecordTree& tree, FbxSceneBuilder& builder, bool bAnimation)
        : m_tree(tree), m_builder(builder), m_channels(builder, tree.nVersion, bAnimation), m_bAnimation(bAnimation)
    {
    }

    bool Load();

private:
    bool ReadModel(const SFbxRecord& record);
    void ReadSettings();
    void ReadConnections();
    void ReadChildren();
    bool ReadTakes();
    bool ReadTake(const SFbxRecord& take);
    SFbxOldModel* Lookup(std::string_view name);

    const SFbxRecordTree& m_tree;
    FbxSceneBuilder& m_builder;
    FbxTakeChannels m_channels;
    bool m_bAnimation;
    std::map<std::string_view, SFbxOldModel> m_models; ///< by name without class; of equal ones the first counts
    std::vector<std::pair<FbxNode*, const SFbxRecord*>> m_children;
};

SFbxOldModel* Loader::Lookup(std::string_view name)
{
    const auto found = m_models.find(name);
    return found == m_models.end() ? nullptr : &found->second;
}

bool Loader::ReadModel(const SFbxRecord& record)
{
    const SFbxObjectName split = FbxSplitName(record.Text(0));
    std::string_view type = record.Text(1);
    if (type.empty())
        if (const SFbxRecord* pType = record.Find("Type"))
            type = pType->Text(0);
    if (FbxIsEditorCamera(split.name))
        return true;
    if (type.empty() && record.Find("Properties60") == nullptr && record.Find("Properties") == nullptr)
        type = "Mesh"; // version 5 holds the mesh in the node and says nothing more

    SFbxOldModel model;
    FbxScene& scene = m_builder.Scene();
    model.pNode = scene.AddNode({split.name, type, m_builder.Templates().Of("FbxNode")});
    if (!type.empty())
    {
        model.pAttribute =
            scene.AddAttribute({split.name, type, m_builder.Templates().Of(type == "Camera" ? "FbxCamera" : "")});
        model.pNode->AddNodeAttribute(model.pAttribute);
    }
    if (!m_builder.HasRoom())
        return false;

    if (const SFbxRecord* pProperties = record.Find("Properties60"))
    {
        model.bStatic = true;
        std::vector<SFbxPropertyData>& parsed = m_builder.ParseProperties(*pProperties, false);
        auto attributes = parsed.end();
        if (type == "Camera" || type == "Light")
            attributes =
                std::stable_partition(parsed.begin(), parsed.end(),
                                      [](const SFbxPropertyData& data) {
                                          return IsNodeProperty(data.name) || (data.nFlags & eFbxFlag_UserDefined) != 0;
                                      });
        const size_t nOwn = static_cast<size_t>(attributes - parsed.begin());
        model.pNode->AddProperties(parsed.data(), nOwn);
        if (nOwn < parsed.size())
            model.pAttribute->AddProperties(parsed.data() + nOwn, parsed.size() - nOwn);
    }
    if (const SFbxRecord* pChildren = record.Find("Children"))
        m_children.emplace_back(model.pNode, pChildren);
    SFbxOldModel& kept = m_models.try_emplace(m_builder.Arena().CopyText(split.name), model).first->second;
    if (record.Find("Channel"))
    {
        // Channels in the node itself are what it rests at.
        m_channels.Read(record, kept, nullptr);
        kept.bStatic = true;
    }
    return true;
}

void Loader::ReadSettings()
{
    FbxObject& settings = m_builder.Scene().GetGlobalSettings();
    const SFbxRecord* pObjects = m_tree.root.Find("Objects");
    const SFbxRecord* pRecord = pObjects ? pObjects->Find("GlobalSettings") : nullptr;
    if (!pRecord)
        pRecord = m_tree.root.Find("GlobalSettings");
    if (pRecord)
        if (const SFbxRecord* pProperties = pRecord->Find("Properties60"))
            m_builder.ReadProperties(settings, *pProperties, false);
    if (!settings.FindProperty("TimeMode").IsValid())
    {
        // Older still: a frame rate in words.
        const SFbxRecord* pOld = m_tree.root.Find("Settings");
        if (const SFbxRecord* pVersion5 = m_tree.root.Find("Version5"))
            pOld = pVersion5->Find("Settings");
        const SFbxRecord* pRate = pOld ? pOld->Find("FrameRate") : nullptr;
        double fRate = 0.0;
        if (pRate && pRate->nValues > 0)
        {
            const std::string_view text = pRate->Text(0);
            fRate = pRate->pValues[0].AsDouble();
            if (!text.empty())
                std::from_chars(text.data(), text.data() + text.size(), fRate);
        }
        if (fRate > 0.0)
        {
            settings.OwnProperty("TimeMode", "enum").SetInt64(14);
            settings.OwnProperty("CustomFrameRate", "double").SetDouble(fRate);
        }
    }
    m_builder.ReadSettings();
}

void Loader::ReadConnections()
{
    const SFbxRecord* pConnections = m_tree.root.Find("Connections");
    for (const SFbxRecord* p = pConnections ? pConnections->pChild : nullptr; p; p = p->pNext)
    {
        const SFbxObjectName source = FbxSplitName(p->Text(1));
        const SFbxObjectName target = FbxSplitName(p->Text(2));
        if (p->Text(0) != "OO" || source.className != "Model" || target.className != "Model")
            continue;
        SFbxOldModel* pSource = Lookup(source.name);
        SFbxOldModel* pTarget = Lookup(target.name);
        if (!pSource)
            continue;
        if (pTarget)
            pTarget->pNode->AddChild(pSource->pNode);
        else if (target.name == "Scene")
            m_builder.Scene().GetRootNode()->AddChild(pSource->pNode);
    }
}

void Loader::ReadChildren()
{
    for (const auto& [pNode, pChildren] : m_children)
        for (uint32_t n = 0; n < pChildren->nValues; ++n)
            if (SFbxOldModel* pChild = Lookup(FbxSplitName(pChildren->Text(n)).name); pChild && pChild->pNode != pNode)
                pNode->AddChild(pChild->pNode);
}

bool Loader::ReadTake(const SFbxRecord& take)
{
    FbxAnimStack* pStack = m_builder.AddStack({take.Text(0), {}, nullptr});
    FbxAnimLayer* pLayer = m_builder.Scene().AddAnimLayer({"BaseLayer", {}, nullptr});
    if (!m_builder.HasRoom())
        return false;
    pStack->ConnectLayer(pLayer);
    if (const SFbxRecord* pTime = take.Find("LocalTime"))
        pStack->SetLocalTimeSpan({m_builder.FileTime().Time(pTime->Int(0)), m_builder.FileTime().Time(pTime->Int(1))});
    for (const SFbxRecord* p = take.pChild; p; p = p->pNext)
        if (p->Is("Model"))
            if (SFbxOldModel* pModel = Lookup(FbxSplitName(p->Text(0)).name))
                if (!m_channels.Read(*p, *pModel, pLayer))
                    return false;
    return true;
}

bool Loader::ReadTakes()
{
    const SFbxRecord* pTakes = m_tree.root.Find("Takes");
    bool bFirst = true;
    for (const SFbxRecord* p = pTakes ? pTakes->pChild : nullptr; p; p = p->pNext)
    {
        if (!p->Is("Take"))
            continue;
        if (!ReadTake(*p))
            return false;
        // What the first take said of a node without a place of its own stays its place.
        if (bFirst)
            for (auto& [name, model] : m_models)
                model.bStatic = true;
        bFirst = false;
    }
    if (m_tree.nVersion < 6000 && m_builder.Scene().GetAnimStackCount() == 0)
    {
        // The animation of a file without takes is the one inside its nodes.
        FbxAnimStack* pStack = m_builder.AddStack({"(internal)", {}, nullptr});
        FbxAnimLayer* pLayer = m_builder.Scene().AddAnimLayer({"(internal)", {}, nullptr});
        pStack->ConnectLayer(pLayer);
        for (const SFbxRecord* p = m_tree.root.pChild; p; p = p->pNext)
            if (p->Is("Model"))
                if (SFbxOldModel* pModel = Lookup(FbxSplitName(p->Text(0)).name))
                    if (!m_channels.Read(*p, *pModel, pLayer))
                        return false;
    }
    return true;
}

bool Loader::Load()
{
    ReadSettings();
    const SFbxRecord* pObjects = m_tree.root.Find("Objects");
    for (const SFbxRecord* pList : {static_cast<const SFbxRecord*>(&m_tree.root), pObjects})
        for (const SFbxRecord* p = pList ? pList->pChild : nullptr; p; p = p->pNext)
            if (p->Is("Model") && !ReadModel(*p))
                return false;
    ReadConnections();
    ReadChildren();
    if (!m_builder.FinishTree())
        return false;
    if (m_bAnimation && !ReadTakes())
        return false;
    const SFbxRecord* pTakes = m_tree.root.Find("Takes");
    const SFbxRecord* pCurrent = pTakes ? pTakes->Find("Current") : nullptr;
    m_builder.FinishStacks(pCurrent ? pCurrent->Text(0) : std::string_view());
    return true;
}

} // namespace

bool FbxLoadScene6(const SFbxRecordTree& tree, FbxSceneBuilder& builder, bool bAnimation)
{
    return Loader(tree, builder, bAnimation).Load();
}
