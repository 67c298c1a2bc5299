#include "fbx/load/fbxscenebuilder.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <map>
#include <numeric>
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
    FbxObject* pObject = nullptr;
    FbxAnimCurveNode* pCurveNode = nullptr;
    const FbxAnimCurve* pCurve = nullptr;
    uint32_t nCurveNode = 0;
};

struct SChannelNames
{
    std::string_view names[FbxAnimCurveNode::kMaxChannels];
};

class Loader
{
public:
    Loader(const SFbxRecordTree& tree, FbxSceneBuilder& builder, bool bAnimation)
        : m_tree(tree), m_builder(builder), m_bAnimation(bAnimation)
    {
    }

    bool Load();

private:
    void ReadDefinitions();
    const SFbxPropertyTemplate* TemplateOf(std::string_view name, std::string_view type);
    void ReadDocuments();
    void ReadSettings(const SFbxRecord& record);
    bool ReadObject(const SFbxRecord& record);
    void ReadCurveNode(const SFbxRecord& record, int64_t nId);
    bool ReadCurve(const SFbxRecord& record, int64_t nId);
    const SFbxValue* ArrayOf(const SFbxRecord& record);
    bool SortKeys(FbxAnimCurve& curve);
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
    bool m_bAnimation;
    std::vector<std::pair<int64_t, SEntry>> m_entries; ///< by number, once all are read; of equal ones the first counts
    struct STemplate
    {
        const SFbxRecord* pProperties = nullptr;
        const SFbxPropertyTemplate* pTemplate = nullptr;
    };
    std::map<std::string_view, STemplate> m_templates; ///< of the file, by class; of equal ones the first counts
    STemplate m_plainTemplates[3];                     ///< of classes that the file has none for: node, camera, others
    std::vector<SChannelNames> m_channelNames;
    std::string_view m_activeStack;
};

void Loader::ReadDefinitions()
{
    const SFbxRecord* pDefinitions = m_tree.root.Find("Definitions");
    for (const SFbxRecord* p = pDefinitions ? pDefinitions->pChild : nullptr; p; p = p->pNext)
    {
        if (!p->Is("ObjectType"))
            continue;
        for (const SFbxRecord* pTemplate = p->pChild; pTemplate; pTemplate = pTemplate->pNext)
        {
            if (!pTemplate->Is("PropertyTemplate"))
                continue;
            // The first files of this layout wrote "KFbxNode".
            std::string_view name = pTemplate->Text(0);
            if (name.substr(0, 4) == "KFbx")
                name.remove_prefix(1);
            m_templates.try_emplace(name, STemplate{pTemplate->Find("Properties70"), nullptr});
        }
    }
}

/// Made when first asked for, completed by what the class has anyway.
const SFbxPropertyTemplate* Loader::TemplateOf(std::string_view name, std::string_view type)
{
    const size_t nKind = name == "FbxNode" ? 0 : type == "Camera" ? 1 : 2;
    const auto found = m_templates.find(name);
    STemplate& entry = found != m_templates.end() ? found->second : m_plainTemplates[nKind];
    if (!entry.pTemplate)
        entry.pTemplate = nKind == 0   ? m_builder.NodeTemplate(entry.pProperties, true)
                          : nKind == 1 ? m_builder.CameraTemplate(entry.pProperties, true)
                                       : m_builder.Template(entry.pProperties, true);
    return entry.pTemplate;
}

void Loader::ReadDocuments()
{
    Enter(0, EKind::eNode).pObject = m_builder.Scene().GetRootNode();
    const SFbxRecord* pDocuments = m_tree.root.Find("Documents");
    const SFbxRecord* pDocument = pDocuments ? pDocuments->Find("Document") : nullptr;
    if (!pDocument)
        return;
    if (const SFbxRecord* pRoot = pDocument->Find("RootNode"))
        Enter(pRoot->Int(0), EKind::eNode).pObject = m_builder.Scene().GetRootNode();
    const SFbxRecord* pProperties = pDocument->Find("Properties70");
    for (const SFbxRecord* p = pProperties ? pProperties->pChild : nullptr; p; p = p->pNext)
        if (p->Text(0) == "ActiveAnimStackName")
            m_activeStack = p->Text(4);
}

void Loader::ReadSettings(const SFbxRecord& record)
{
    if (const SFbxRecord* pProperties = record.Find("Properties70"))
        m_builder.ReadProperties(m_builder.Scene().GetGlobalSettings(), *pProperties, true);
}

bool Loader::ReadObject(const SFbxRecord& record)
{
    if (record.Is("GlobalSettings"))
    {
        ReadSettings(record);
        return true;
    }
    const int64_t nId = record.Int(0);
    if (record.Is("AnimationCurve"))
        return !m_bAnimation || ReadCurve(record, nId);
    if (record.Is("AnimationCurveNode"))
    {
        if (m_bAnimation)
            ReadCurveNode(record, nId);
        return true;
    }

    const std::string_view name = FbxSplitName(record.Text(1)).name;
    const std::string_view type = record.Text(2);
    FbxScene& scene = m_builder.Scene();
    FbxObject* pObject = nullptr;
    EKind eKind = EKind::eNode;
    if (record.Is("Model"))
    {
        if (FbxIsEditorCamera(name))
            return true;
        pObject = scene.AddNode({name, type, TemplateOf("FbxNode", type), nId});
    }
    else if (record.Is("NodeAttribute") || record.Is("Geometry"))
    {
        const bool bBone = type == "LimbNode" || type == "Limb" || type == "Root";
        const std::string sTemplate = bBone ? "FbxSkeleton" : std::string("Fbx").append(type);
        pObject = scene.AddAttribute({name, type, TemplateOf(sTemplate, type), nId});
        eKind = EKind::eAttribute;
    }
    else if (!m_bAnimation)
        return true;
    else if (record.Is("AnimationStack"))
    {
        pObject = m_builder.AddStack({name, {}, TemplateOf("FbxAnimStack", type), nId});
        eKind = EKind::eStack;
    }
    else
    {
        pObject = scene.AddAnimLayer({name, {}, TemplateOf("FbxAnimLayer", type), nId});
        eKind = EKind::eLayer;
    }
    if (!m_builder.HasRoom())
        return false;
    if (const SFbxRecord* pProperties = record.Find("Properties70"))
        m_builder.ReadProperties(*pObject, *pProperties, true);
    if (eKind == EKind::eLayer)
        m_builder.ReadLayer(static_cast<FbxAnimLayer&>(*pObject));
    Enter(nId, eKind).pObject = pObject;
    return true;
}

void Loader::ReadCurveNode(const SFbxRecord& record, int64_t nId)
{
    FbxAnimCurveNode* pNode = m_builder.Scene().AddCurveNode();
    SChannelNames names;
    size_t nChannels = 0;
    const SFbxRecord* pProperties = record.Find("Properties70");
    for (const SFbxRecord* p = pProperties ? pProperties->pChild : nullptr; p; p = p->pNext)
    {
        // One property a channel: "d|X" with the value it has without a curve.
        const std::string_view name = p->Text(0);
        if (name.substr(0, 2) != "d|" || nChannels == FbxAnimCurveNode::kMaxChannels)
            continue;
        FbxAnimCurveNode::SChannel channel;
        if (const SFbxValue* pValue = p->Value(4))
        {
            channel.fDefault = pValue->AsDouble();
            channel.bHasDefault = true;
        }
        pNode->SetChannel(nChannels, channel);
        names.names[nChannels++] = name;
    }
    SEntry& entry = Enter(nId, EKind::eCurveNode);
    entry.pCurveNode = pNode;
    entry.nCurveNode = static_cast<uint32_t>(m_channelNames.size());
    m_channelNames.push_back(names);
}

/// Keys out of order are put in order, each with the attributes it came with.
bool Loader::SortKeys(FbxAnimCurve& curve)
{
    FbxArena& arena = m_builder.Arena();
    const uint32_t nKeys = curve.pTimeline->nKeys;
    constexpr size_t kBytesPerKey = 60; // what is kept of a key, and its place among the sorted ones
    if (!m_builder.Arrays().Claim(nKeys, kBytesPerKey))
        return false;
    std::vector<uint32_t> order(nKeys);
    std::iota(order.begin(), order.end(), 0u);
    const int64_t* pTimes = curve.pTimeline->pTimes;
    std::stable_sort(order.begin(), order.end(), [pTimes](uint32_t a, uint32_t b) { return pTimes[a] < pTimes[b]; });

    int64_t* pSorted = arena.AllocateArray<int64_t>(nKeys);
    float* pValues = arena.AllocateArray<float>(nKeys);
    for (uint32_t n = 0; n < nKeys; ++n)
    {
        pSorted[n] = pTimes[order[n]];
        pValues[n] = curve.pValues[order[n]];
    }
    if (curve.attributes.nEntries > 0)
    {
        std::vector<uint32_t> entries(nKeys);
        uint32_t nEntry = 0;
        int32_t nLeft = curve.attributes.pCounts[0];
        for (uint32_t n = 0; n < nKeys; ++n)
        {
            while (nLeft <= 0 && nEntry + 1 < curve.attributes.nEntries)
                nLeft = curve.attributes.pCounts[++nEntry];
            --nLeft;
            entries[n] = nEntry;
        }
        uint32_t* pFlags = arena.AllocateArray<uint32_t>(nKeys);
        uint32_t* pWords = arena.AllocateArray<uint32_t>(size_t(nKeys) * 4);
        int32_t* pCounts = arena.AllocateArray<int32_t>(nKeys);
        for (uint32_t n = 0; n < nKeys; ++n)
        {
            const uint32_t nFrom = entries[order[n]];
            pFlags[n] = curve.attributes.pFlags[nFrom];
            std::memcpy(pWords + size_t(n) * 4, curve.attributes.pWords + size_t(nFrom) * 4, 16);
            pCounts[n] = 1;
        }
        curve.attributes.pFlags = pFlags;
        curve.attributes.pWords = pWords;
        curve.attributes.pCounts = pCounts;
        curve.attributes.nEntries = nKeys;
    }
    curve.pTimeline = m_builder.Arrays().AddTimeline(pSorted, nKeys);
    curve.pValues = pValues;
    return true;
}

} // namespace

SFbxExtrapolation FbxReadExtrapolation(const SFbxRecord* pRecord)
{
    SFbxExtrapolation result;
    const SFbxRecord* pType = pRecord ? pRecord->Find("Type") : nullptr;
    if (!pType || !pType->Value(0))
        return result;
    switch (pType->pValues[0].AsLetter())
    {
    case 'R':
        result.eType = EFbxExtrapolation::eRepeat;
        break;
    case 'M':
        result.eType = EFbxExtrapolation::eMirror;
        break;
    case 'K':
        result.eType = EFbxExtrapolation::eSlope;
        break;
    case 'A':
        result.eType = EFbxExtrapolation::eRepeatRelative;
        break;
    default:
        break;
    }
    if (const SFbxRecord* pRepetition = pRecord->Find("Repetition"))
    {
        const int64_t n = pRepetition->Int(0, -1);
        result.nRepetition = n < 0 ? -1 : static_cast<int32_t>(std::min<int64_t>(n, INT32_MAX));
    }
    return result;
}

namespace
{

/// A record's array, which home-made writers spell as a plain list of numbers. Null where there is neither.
const SFbxValue* Loader::ArrayOf(const SFbxRecord& record)
{
    const SFbxValue* pFirst = record.Value(0);
    if (!pFirst || !pFirst->IsNumber())
        return pFirst;
    const bool bIntegers = std::all_of(pFirst, pFirst + record.nValues, [](const auto& v) { return v.type == 'I'; });
    FbxArena& arena = m_builder.Arena();
    int64_t* pNumbers = arena.AllocateArray<int64_t>(record.nValues);
    for (uint32_t n = 0; n < record.nValues; ++n)
        pNumbers[n] = bIntegers ? pFirst[n].i : std::bit_cast<int64_t>(pFirst[n].AsDouble());
    SFbxValue& array = *arena.New<SFbxValue>();
    array.type = bIntegers ? 'l' : 'd';
    array.bNative = true;
    array.n = record.nValues;
    array.p = reinterpret_cast<const char*>(pNumbers);
    return &array;
}

bool Loader::ReadCurve(const SFbxRecord& record, int64_t nId)
{
    const SFbxValue* pTimes = nullptr;
    const SFbxValue* pValues = nullptr;
    const SFbxValue* pFlags = nullptr;
    const SFbxValue* pWords = nullptr;
    const SFbxValue* pCounts = nullptr;
    const SFbxRecord* pPre = nullptr;
    const SFbxRecord* pPost = nullptr;
    for (const SFbxRecord* p = record.pChild; p; p = p->pNext)
    {
        const std::string_view name = p->Name();
        if (name == "KeyTime")
            pTimes = ArrayOf(*p);
        else if (name == "KeyValueFloat")
            pValues = ArrayOf(*p);
        else if (name == "KeyAttrFlags")
            pFlags = ArrayOf(*p);
        else if (name == "KeyAttrDataFloat")
            pWords = ArrayOf(*p);
        else if (name == "KeyAttrRefCount")
            pCounts = ArrayOf(*p);
        else if (name == "Pre-Extrapolation")
            pPre = p;
        else if (name == "Post-Extrapolation")
            pPost = p;
    }
    if (!pTimes && !pValues)
        return true;

    FbxArrayReader& arrays = m_builder.Arrays();
    const auto fail = [&](const std::string& sWhat)
    { return m_builder.Fail("animation curve " + std::to_string(nId) + ": " + sWhat); };
    FbxAnimCurve* pCurve = m_builder.Scene().AddCurve();
    bool bAscending = true;
    uint32_t nValues = 0;
    if (!arrays.Timeline(pTimes, pCurve->pTimeline, bAscending) || !arrays.Floats(pValues, pCurve->pValues, nValues))
        return fail(arrays.Error());
    if (nValues != pCurve->pTimeline->nKeys)
        return fail("has " + std::to_string(pCurve->pTimeline->nKeys) + " key times and " + std::to_string(nValues) +
                    " key values");
    SFbxKeyAttributes& attributes = pCurve->attributes;
    if (pFlags && pWords && pCounts)
    {
        uint32_t nWords = 0;
        uint32_t nCounts = 0;
        const uint32_t* pCountWords = nullptr;
        if (!arrays.Words(pFlags, attributes.pFlags, attributes.nEntries) ||
            !arrays.Words(pWords, attributes.pWords, nWords) || !arrays.Words(pCounts, pCountWords, nCounts))
            return fail(arrays.Error());
        attributes.pCounts = reinterpret_cast<const int32_t*>(pCountWords);
        attributes.nEntries = std::min({attributes.nEntries, nWords / 4, nCounts});
    }
    pCurve->pre = FbxReadExtrapolation(pPre);
    pCurve->post = FbxReadExtrapolation(pPost);
    if (!bAscending && !SortKeys(*pCurve))
        return fail(arrays.Error());
    bool bCubic = false;
    for (uint32_t n = 0; n < attributes.nEntries; ++n)
        bCubic |= (attributes.pFlags[n] & eFbxKey_Cubic) != 0;
    if (bCubic && !arrays.Claim(nValues, kFbxEvaluatedKeyBytes))
        return fail(arrays.Error());
    Enter(nId, EKind::eCurve).pCurve = pCurve;
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
        source.pCurveNode->ConnectLayer(static_cast<FbxAnimLayer*>(target.pObject));
}

void Loader::ConnectProperty(const SEntry& source, const SEntry& target, std::string_view property)
{
    if (source.eKind == EKind::eCurveNode && target.pObject)
        target.pObject->ConnectCurveNode(property, source.pCurveNode);
    if (source.eKind != EKind::eCurve || target.eKind != EKind::eCurveNode)
        return;
    FbxAnimCurveNode& node = *target.pCurveNode;
    SChannelNames& names = m_channelNames[target.nCurveNode];
    const size_t nChannels = node.GetChannelCount();
    size_t nChannel = 0;
    while (nChannel < nChannels && names.names[nChannel] != property)
        ++nChannel;
    if (nChannel == nChannels)
    {
        // Not listed by the curve node: the usual letters have their places.
        const char c = property.size() == 3 ? property[2] : '\0';
        nChannel = c == 'Y' ? 1 : c == 'Z' ? 2 : c == 'W' ? 3 : c == 'X' ? 0 : nChannels;
        if (nChannel >= FbxAnimCurveNode::kMaxChannels)
            return;
        names.names[nChannel] = property;
    }
    FbxAnimCurveNode::SChannel channel = node.GetChannel(nChannel);
    channel.pCurve = source.pCurve;
    node.SetChannel(nChannel, channel);
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

/// From the stack's own properties, or where it has none from the take of its name that older readers look at.
void Loader::ReadSpans()
{
    const SFbxRecord* pTakes = m_tree.root.Find("Takes");
    std::map<std::string_view, const SFbxRecord*> spans;
    for (const SFbxRecord* p = pTakes ? pTakes->pChild : nullptr; p; p = p->pNext)
        if (p->Is("Take"))
            if (const SFbxRecord* pTime = p->Find("LocalTime"))
                spans.try_emplace(p->Text(0), pTime);
    const FbxScene& scene = m_builder.Scene();
    for (size_t n = 0; n < scene.GetAnimStackCount(); ++n)
    {
        FbxAnimStack* pStack = scene.GetAnimStack(n);
        const bool bOwn = pStack->GetWrittenPropertyCount() > 0;
        const auto found = spans.find(pStack->GetName());
        if (!bOwn && found != spans.end())
            pStack->SetLocalTimeSpan(
                {FbxTime::FromTicks(found->second->Int(0)), FbxTime::FromTicks(found->second->Int(1))});
        else
            pStack->SetLocalTimeSpan({FbxTime::FromTicks(pStack->FindProperty("LocalStart").GetInt64()),
                                      FbxTime::FromTicks(pStack->FindProperty("LocalStop").GetInt64())});
    }
}

bool Loader::Load()
{
    ReadDefinitions();
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
