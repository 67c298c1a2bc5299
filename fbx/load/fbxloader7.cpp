#include "fbx/load/fbxcurvenoderecord.h"
#include "fbx/load/fbxcurverecord.h"

#include <algorithm>
#include <map>
#include <utility>

// Files from version 7 on: objects with numbers, connected by a list of number pairs.
namespace
{

enum class EKind : uint8_t
{
    eNode,
    eAttribute,
    eStack,
    eLayer,
    eCurveNode,
    eCurve
};

struct SEntry
{
    EKind eKind = EKind::eNode;
    uint32_t nCurveNode = 0;
    FbxObject* pObject = nullptr;
    const FbxAnimCurve* pCurve = nullptr;
};

class Loader
{
public:
    Loader(const SFbxRecordTree& tree, FbxSceneBuilder& builder, bool bAnimation)
        : m_tree(tree), m_builder(builder), m_scene(builder.Scene()), m_channels(m_scene), m_bAnimation(bAnimation)
    {
    }

    bool Load();

private:
    void ReadDocuments();
    void ReadSettings(const SFbxRecord& record);
    bool ReadObject(const SFbxRecord& record);
    bool ReadCurve(const SFbxRecord& record);
    void ReadConnections();
    void ConnectObjects(const SEntry& source, const SEntry& target);
    void ConnectProperty(const SEntry& source, const SEntry& target, std::string_view property);
    void ReadSpans();
    SEntry& Enter(int64_t nId, EKind eKind)
    {
        m_entries.emplace_back().first = nId;
        m_entries.back().second.eKind = eKind;
        return m_entries.back().second;
    }
    const SEntry* Lookup(int64_t nId) const;

    const SFbxRecordTree& m_tree;
    FbxSceneBuilder& m_builder;
    FbxScene& m_scene;
    FbxCurveNodeChannels m_channels;
    bool m_bAnimation;
    std::vector<std::pair<int64_t, SEntry>> m_entries; ///< by number, once all are read; of equal ones the first counts
    std::string_view m_activeStack;
};

void Loader::ReadDocuments()
{
    Enter(0, EKind::eNode).pObject = m_scene.GetRootNode();
    const SFbxRecord* pDocuments = m_tree.root.Find("Documents");
    const SFbxRecord* pDocument = pDocuments ? pDocuments->Find("Document") : nullptr;
    if (!pDocument)
        return;
    if (const SFbxRecord* pRoot = pDocument->Find("RootNode"))
        Enter(pRoot->Int(0), EKind::eNode).pObject = m_scene.GetRootNode();
    const SFbxRecord* pProperties = pDocument->Find("Properties70");
    for (const SFbxRecord* p = pProperties ? pProperties->pChild : nullptr; p; p = p->pNext)
        if (p->Text(0) == "ActiveAnimStackName")
            m_activeStack = p->Text(4);
}

void Loader::ReadSettings(const SFbxRecord& record)
{
    if (const SFbxRecord* pProperties = record.Find("Properties70"))
        m_builder.ReadProperties(m_scene.GetGlobalSettings(), *pProperties, true);
}

bool Loader::ReadObject(const SFbxRecord& record)
{
    const int64_t nId = record.Int(0);
    const std::string_view name = FbxSplitName(record.Text(1)).name;
    const std::string_view type = record.Text(2);
    FbxClassTemplates& templates = m_builder.Templates();
    FbxObject* pObject = nullptr;
    FbxAnimLayer* pLayer = nullptr;
    EKind eKind = EKind::eNode;
    if (record.Is("GlobalSettings"))
        ReadSettings(record);
    else if (record.Is("Model"))
    {
        if (!FbxIsEditorCamera(name))
            pObject = m_scene.AddNode({name, type, templates.Of("FbxNode"), nId});
    }
    else if (record.Is("NodeAttribute") || record.Is("Geometry"))
    {
        const bool bBone = type == "LimbNode" || type == "Limb" || type == "Root";
        const std::string sClass = bBone ? "FbxSkeleton" : std::string("Fbx").append(type);
        pObject = m_scene.AddAttribute({name, type, templates.Of(sClass), nId});
        eKind = EKind::eAttribute;
    }
    else if (!m_bAnimation)
        return true;
    else if (record.Is("AnimationCurve"))
        return ReadCurve(record);
    else if (record.Is("AnimationCurveNode"))
        Enter(nId, EKind::eCurveNode).nCurveNode = m_channels.Read(record);
    else if (record.Is("AnimationStack"))
    {
        pObject = m_builder.AddStack({name, {}, templates.Of("FbxAnimStack"), nId});
        eKind = EKind::eStack;
    }
    else
    {
        pObject = pLayer = m_scene.AddAnimLayer({name, {}, templates.Of("FbxAnimLayer"), nId});
        eKind = EKind::eLayer;
    }
    if (!pObject)
        return true;
    if (!m_builder.HasRoom())
        return false;
    if (const SFbxRecord* pProperties = record.Find("Properties70"))
        m_builder.ReadProperties(*pObject, *pProperties, true);
    if (pLayer)
        m_builder.ReadLayer(*pLayer);
    Enter(nId, eKind).pObject = pObject;
    return true;
}

bool Loader::ReadCurve(const SFbxRecord& record)
{
    const FbxAnimCurve* pCurve = nullptr;
    if (!FbxReadCurve(record, m_builder, pCurve))
        return false;
    if (pCurve)
        Enter(record.Int(0), EKind::eCurve).pCurve = pCurve;
    return true;
}

void Loader::ConnectObjects(const SEntry& source, const SEntry& target)
{
    if (target.eKind == EKind::eNode)
    {
        FbxNode& node = static_cast<FbxNode&>(*target.pObject);
        if (source.eKind == EKind::eNode)
            node.AddChild(static_cast<FbxNode*>(source.pObject));
        else if (source.eKind == EKind::eAttribute)
            node.AddNodeAttribute(static_cast<FbxNodeAttribute*>(source.pObject));
    }
    else if (target.eKind == EKind::eStack && source.eKind == EKind::eLayer)
        static_cast<FbxAnimStack*>(target.pObject)->ConnectLayer(static_cast<FbxAnimLayer*>(source.pObject));
    else if (target.eKind == EKind::eLayer && source.eKind == EKind::eCurveNode)
        m_channels.Node(source.nCurveNode)->ConnectLayer(static_cast<FbxAnimLayer*>(target.pObject));
}

void Loader::ConnectProperty(const SEntry& source, const SEntry& target, std::string_view property)
{
    if (source.eKind == EKind::eCurveNode && target.pObject)
        target.pObject->ConnectCurveNode(property, m_channels.Node(source.nCurveNode));
    else if (source.eKind == EKind::eCurve && target.eKind == EKind::eCurveNode)
        m_channels.Connect(target.nCurveNode, property, source.pCurve);
}

const SEntry* Loader::Lookup(int64_t nId) const
{
    const auto at = std::lower_bound(m_entries.begin(), m_entries.end(), nId,
                                     [](const auto& entry, int64_t n) { return entry.first < n; });
    return at != m_entries.end() && at->first == nId ? &at->second : nullptr;
}

void Loader::ReadConnections()
{
    std::stable_sort(m_entries.begin(), m_entries.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    const SFbxRecord* pConnections = m_tree.root.Find("Connections");
    for (const SFbxRecord* p = pConnections ? pConnections->pChild : nullptr; p; p = p->pNext)
    {
        if (p->nValues < 3 || !p->pValues[1].IsNumber() || !p->pValues[2].IsNumber())
            continue;
        const SEntry* pSource = Lookup(p->Int(1));
        const SEntry* pTarget = pSource ? Lookup(p->Int(2)) : nullptr;
        if (!pTarget)
            continue;
        const std::string_view kind = p->Text(0);
        if (kind == "OO")
            ConnectObjects(*pSource, *pTarget);
        else if (kind == "OP")
            ConnectProperty(*pSource, *pTarget, p->Text(3));
    }
}

/// From the stack's own properties, or where it has none of a span from the take of its name, which older readers look
/// at.
void Loader::ReadSpans()
{
    const SFbxRecord* pTakes = m_tree.root.Find("Takes");
    std::map<std::string_view, const SFbxRecord*> spans;
    for (const SFbxRecord* p = pTakes ? pTakes->pChild : nullptr; p; p = p->pNext)
        if (p->Is("Take"))
            if (const SFbxRecord* pTime = p->Find("LocalTime"))
                spans.try_emplace(p->Text(0), pTime);
    const FbxFileTime& fileTime = m_builder.FileTime();
    for (size_t n = 0; n < m_scene.GetAnimStackCount(); ++n)
    {
        FbxAnimStack* pStack = m_scene.GetAnimStack(n);
        const auto found = spans.find(pStack->GetName());
        if (found != spans.end() && !pStack->HasOwnProperty("LocalStart") && !pStack->HasOwnProperty("LocalStop"))
            pStack->SetLocalTimeSpan({fileTime.Time(found->second->Int(0)), fileTime.Time(found->second->Int(1))});
        else
            pStack->SetLocalTimeSpan({FbxTime::FromTicks(pStack->FindProperty("LocalStart").GetInt64()),
                                      FbxTime::FromTicks(pStack->FindProperty("LocalStop").GetInt64())});
    }
}

bool Loader::Load()
{
    m_builder.Templates().Read(m_tree.root, m_builder.FileTime());
    ReadDocuments();
    if (const SFbxRecord* pSettings = m_tree.root.Find("GlobalSettings"))
        ReadSettings(*pSettings);
    const SFbxRecord* pObjects = m_tree.root.Find("Objects");
    size_t nObjects = 0;
    for (const SFbxRecord* p = pObjects ? pObjects->pChild : nullptr; p; p = p->pNext)
        ++nObjects;
    m_entries.reserve(nObjects + 2);
    for (const SFbxRecord* p = pObjects ? pObjects->pChild : nullptr; p; p = p->pNext)
        if (!ReadObject(*p))
            return false;
    m_builder.ReadSettings();
    ReadConnections();
    if (!m_builder.FinishTree())
        return false;
    ReadSpans();
    m_builder.FinishStacks(m_activeStack);
    return true;
}

} // namespace

bool FbxLoadScene7(const SFbxRecordTree& tree, FbxSceneBuilder& builder, bool bAnimation)
{
    return Loader(tree, builder, bAnimation).Load();
}
