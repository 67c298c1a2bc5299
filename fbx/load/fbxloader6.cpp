#include "fbx/load/fbxscenebuilder.h"

#include <algorithm>
#include <bit>
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

/// The mixed list of numbers and letters that old keys are written in.
class KeyStream
{
public:
    explicit KeyStream(const SFbxRecord& record) : m_p(record.pValues), m_pEnd(record.pValues + record.nValues) {}
    bool Number(double& f)
    {
        if (m_p == m_pEnd || !m_p->IsNumber())
            return false;
        f = m_p++->AsDouble();
        return true;
    }
    bool Ticks(int64_t& n)
    {
        if (m_p == m_pEnd || !m_p->IsNumber())
            return false;
        n = m_p++->AsInt64();
        return true;
    }
    bool Letter(char& c)
    {
        if (m_p == m_pEnd)
            return false;
        c = m_p++->AsLetter();
        return c != '\0';
    }
    bool IsLetterNext() const { return m_p != m_pEnd && m_p->AsLetter() != '\0' && !m_p->IsNumber(); }

private:
    const SFbxValue* m_p;
    const SFbxValue* m_pEnd;
};

struct SOldKey
{
    int64_t nTicks = 0;
    float fValue = 0;
    uint32_t nFlags = 0;
    float fSlopeRight = 0;
    float fSlopeNextLeft = 0;
    float fWeightRight = 1.0f / 3.0f;
    float fWeightNextLeft = 1.0f / 3.0f;

    bool HasAttributesOf(const SOldKey& o) const
    {
        return nFlags == o.nFlags && fSlopeRight == o.fSlopeRight && fSlopeNextLeft == o.fSlopeNextLeft &&
               fWeightRight == o.fWeightRight && fWeightNextLeft == o.fWeightNextLeft;
    }
};

bool ReadWeights(KeyStream& stream, SOldKey& key)
{
    char c;
    double a = 0;
    double b = 0;
    if (!stream.Letter(c))
        return false;
    switch (c)
    {
    case 'a':
        if (!stream.Number(a) || !stream.Number(b))
            return false;
        key.fWeightRight = static_cast<float>(a);
        key.fWeightNextLeft = static_cast<float>(b);
        return true;
    case 'r':
    case 'l':
        if (!stream.Number(a))
            return false;
        (c == 'r' ? key.fWeightRight : key.fWeightNextLeft) = static_cast<float>(a);
        return true;
    case 'n':
    case 'c':
        return true;
    default:
        return false;
    }
}

bool ReadKey(KeyStream& stream, int nKeyVersion, SOldKey& key)
{
    double fValue = 0;
    char cMode;
    if (!stream.Ticks(key.nTicks) || !stream.Number(fValue) || !stream.Letter(cMode))
        return false;
    key.fValue = static_cast<float>(fValue);
    if (cMode == 'L')
    {
        key.nFlags = eFbxKey_Linear;
        return true;
    }
    if (cMode == 'C')
    {
        key.nFlags = eFbxKey_Constant;
        char c = 's';
        if (nKeyVersion >= 4004 && !stream.Letter(c))
            return false;
        if (c == 'n')
            key.nFlags |= eFbxKey_ConstantNext;
        return true;
    }
    char cSlope;
    if (cMode != 'U' || !stream.Letter(cSlope))
        return false;
    key.nFlags = eFbxKey_Cubic;
    double a = 0;
    double b = 0;
    double c = 0;
    int nWeights = 1;
    switch (cSlope)
    {
    case 's':
    case 'b':
        if (!stream.Number(a) || !stream.Number(b))
            return false;
        key.nFlags |= eFbxKey_User | (cSlope == 'b' ? eFbxKey_Break : 0u);
        key.fSlopeRight = static_cast<float>(a);
        key.fSlopeNextLeft = static_cast<float>(b);
        nWeights = nKeyVersion == 4003 ? 0 : 1;
        break;
    case 'a':
        nWeights = nKeyVersion <= 4004 ? 0 : 1;
        break;
    case 'p':
    case 'q':
        if (!stream.Number(a) || !stream.Number(b))
            return false;
        nWeights = nKeyVersion <= 4004 ? 1 : 2;
        break;
    case 't':
        if (!stream.Number(a) || !stream.Number(b) || !stream.Number(c))
            return false;
        // The weights' place holds the bias; tangents of this kind have no weights of their own.
        key.nFlags |= eFbxKey_Tcb;
        key.fSlopeRight = static_cast<float>(a);
        key.fSlopeNextLeft = static_cast<float>(b);
        key.fWeightRight = static_cast<float>(c);
        return true;
    case 'd':
        if (!stream.Number(a))
            return false;
        break;
    default:
        return false;
    }
    for (; nWeights > 0; --nWeights)
        if (!ReadWeights(stream, key))
            return false;
    return true;
}

class Loader
{
public:
    Loader(const SFbxRecordTree& tree, FbxSceneBuilder& builder, bool bAnimation)
        : m_tree(tree), m_builder(builder), m_bAnimation(bAnimation)
    {
    }

    bool Load();

private:
    struct SModel
    {
        FbxNode* pNode = nullptr;
        FbxNodeAttribute* pAttribute = nullptr;
        bool bStatic = false; ///< the record says where the node rests
    };

    bool ReadModel(const SFbxRecord& record);
    void ReadSettings();
    void ReadConnections();
    void ReadChildren();
    bool ReadTakes();
    bool ReadTake(const SFbxRecord& take);
    bool ReadChannels(const SFbxRecord& owner, SModel& model, FbxAnimLayer* pLayer);
    bool ReadChannel(const SFbxRecord& channel, std::string_view property, SModel& model, FbxAnimLayer* pLayer);
    bool ReadCurve(const SFbxRecord& channel, const FbxAnimCurve*& pCurve);
    SModel* Lookup(std::string_view name);

    const SFbxRecordTree& m_tree;
    FbxSceneBuilder& m_builder;
    bool m_bAnimation;
    const SFbxPropertyTemplate* m_pNodeTemplate = nullptr;
    const SFbxPropertyTemplate* m_pCameraTemplate = nullptr;
    const SFbxPropertyTemplate* m_pEmptyTemplate = nullptr;
    std::map<std::string_view, SModel> m_models; ///< by name without class; of equal ones the first counts
    std::vector<std::pair<FbxNode*, const SFbxRecord*>> m_children;
};

Loader::SModel* Loader::Lookup(std::string_view name)
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

    SModel model;
    FbxScene& scene = m_builder.Scene();
    model.pNode = scene.AddNode({split.name, type, m_pNodeTemplate});
    if (!type.empty())
    {
        model.pAttribute =
            scene.AddAttribute({split.name, type, type == "Camera" ? m_pCameraTemplate : m_pEmptyTemplate});
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
    SModel& kept = m_models.try_emplace(m_builder.Arena().CopyText(split.name), model).first->second;
    if (record.Find("Channel"))
    {
        // Channels in the node itself are what it rests at.
        ReadChannels(record, kept, nullptr);
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
        SModel* pSource = Lookup(source.name);
        SModel* pTarget = Lookup(target.name);
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
            if (SModel* pChild = Lookup(FbxSplitName(pChildren->Text(n)).name); pChild && pChild->pNode != pNode)
                pNode->AddChild(pChild->pNode);
}

bool Loader::ReadCurve(const SFbxRecord& channel, const FbxAnimCurve*& pOut)
{
    const SFbxRecord* pKeys = channel.Find("Key");
    const SFbxRecord* pCount = channel.Find("KeyCount");
    if (!pKeys || !pCount || !m_bAnimation)
        return true;
    int64_t nKeyVersion = 0;
    if (const SFbxRecord* pVersion = channel.Find("KeyVer"))
        nKeyVersion = pVersion->Int(0);
    if (nKeyVersion <= 0)
        nKeyVersion = m_tree.nVersion < 6000 ? 4004 : 4005;
    const int64_t nClaimed = pCount->Int(0);
    // A key has three values at least.
    if (nClaimed < 0 || nClaimed > int64_t(pKeys->nValues) / 3 + 1)
        return m_builder.Fail("a channel claims more keys than it has");

    KeyStream stream(*pKeys);
    std::vector<SOldKey> keys(static_cast<size_t>(nClaimed));
    for (SOldKey& key : keys)
        if (!ReadKey(stream, static_cast<int>(std::min<int64_t>(nKeyVersion, 100000)), key))
            return m_builder.Fail("the keys of a channel can't be read");
    if (keys.empty())
        return true;
    const auto before = [](const SOldKey& a, const SOldKey& b) { return a.nTicks < b.nTicks; };
    if (!std::is_sorted(keys.begin(), keys.end(), before))
        std::stable_sort(keys.begin(), keys.end(), before);

    FbxArena& arena = m_builder.Arena();
    const uint32_t nKeys = static_cast<uint32_t>(keys.size());
    int64_t* pTimes = arena.AllocateArray<int64_t>(nKeys);
    float* pValues = arena.AllocateArray<float>(nKeys);
    // Attributes are kept as newer files have them: one entry for all keys in a row that share it.
    uint32_t nEntries = 1;
    for (uint32_t n = 1; n < nKeys; ++n)
        nEntries += !keys[n].HasAttributesOf(keys[n - 1]);
    uint32_t* pFlags = arena.AllocateArray<uint32_t>(nEntries);
    uint32_t* pWords = arena.AllocateArray<uint32_t>(size_t(nEntries) * 4);
    int32_t* pCounts = arena.AllocateArray<int32_t>(nEntries);
    uint32_t nEntry = 0;
    for (uint32_t n = 0; n < nKeys; ++n)
    {
        const SOldKey& key = keys[n];
        pTimes[n] = key.nTicks;
        pValues[n] = key.fValue;
        if (n > 0 && key.HasAttributesOf(keys[n - 1]))
        {
            ++pCounts[nEntry - 1];
            continue;
        }
        pFlags[nEntry] = key.nFlags;
        uint32_t* pWord = pWords + size_t(nEntry) * 4;
        for (const float f : {key.fSlopeRight, key.fSlopeNextLeft, key.fWeightRight, key.fWeightNextLeft})
            *pWord++ = std::bit_cast<uint32_t>(f);
        pCounts[nEntry++] = 1;
    }
    FbxAnimCurve* pCurve = m_builder.Scene().AddCurve();
    pCurve->pTimeline = m_builder.Arrays().AddTimeline(pTimes, nKeys);
    pCurve->pValues = pValues;
    pCurve->attributes = {pFlags, pWords, pCounts, nEntries, true};
    pCurve->pre = FbxReadExtrapolation(channel.Find("Pre-Extrapolation"));
    pCurve->post = FbxReadExtrapolation(channel.Find("Post-Extrapolation"));
    pOut = pCurve;
    return true;
}

/// One property: its channels in records of their own, or the keys right here. Without a layer the fixed values are
/// the property's.
bool Loader::ReadChannel(const SFbxRecord& channel, std::string_view property, SModel& model, FbxAnimLayer* pLayer)
{
    const SFbxRecord* parts[FbxAnimCurveNode::kMaxChannels] = {};
    size_t nParts = 0;
    if (channel.Find("Key") || channel.Find("Default"))
        parts[nParts++] = &channel;
    else
        for (const SFbxRecord* p = channel.pChild; p && nParts < FbxAnimCurveNode::kMaxChannels; p = p->pNext)
            if (p->Is("Channel") && (p->Find("Key") || p->Find("Default")))
                parts[nParts++] = p;
    if (nParts == 0)
        return true;

    FbxObject* pObject = model.pNode;
    if (model.pAttribute && !model.pNode->FindProperty(property).IsValid() &&
        model.pAttribute->FindProperty(property).IsValid())
        pObject = model.pAttribute;

    if (FbxProperty found = pObject->FindProperty(property); !model.bStatic && found.IsValid())
        for (size_t n = 0; n < nParts; ++n)
            if (const SFbxRecord* pDefault = parts[n]->Find("Default"); pDefault && pDefault->Value(0))
                found.SetChannel(n, pDefault->pValues[0].AsDouble());
    if (!pLayer)
        return true;

    FbxAnimCurveNode* pNode = m_builder.Scene().AddCurveNode();
    for (size_t n = 0; n < nParts; ++n)
    {
        FbxAnimCurveNode::SChannel to;
        if (const SFbxRecord* pDefault = parts[n]->Find("Default"); pDefault && pDefault->Value(0))
        {
            to.fDefault = pDefault->pValues[0].AsDouble();
            to.bHasDefault = true;
        }
        if (!ReadCurve(*parts[n], to.pCurve))
            return false;
        pNode->SetChannel(n, to);
    }
    pNode->ConnectLayer(pLayer);
    pObject->ConnectCurveNode(property, pNode);
    return true;
}

bool Loader::ReadChannels(const SFbxRecord& owner, SModel& model, FbxAnimLayer* pLayer)
{
    for (const SFbxRecord* p = owner.pChild; p; p = p->pNext)
    {
        if (!p->Is("Channel"))
            continue;
        if (p->Text(0) != "Transform")
        {
            if (!ReadChannel(*p, p->Text(0), model, pLayer))
                return false;
            continue;
        }
        for (const SFbxRecord* pPart = p->pChild; pPart; pPart = pPart->pNext)
        {
            const std::string_view letter = pPart->Is("Channel") ? pPart->Text(0) : std::string_view();
            const std::string_view property = letter == "T"   ? "Lcl Translation"
                                              : letter == "R" ? "Lcl Rotation"
                                              : letter == "S" ? "Lcl Scaling"
                                                              : std::string_view();
            if (!property.empty() && !ReadChannel(*pPart, property, model, pLayer))
                return false;
        }
    }
    return true;
}

bool Loader::ReadTake(const SFbxRecord& take)
{
    FbxAnimStack* pStack = m_builder.AddStack({take.Text(0), {}, m_pEmptyTemplate});
    FbxAnimLayer* pLayer = m_builder.Scene().AddAnimLayer({"BaseLayer", {}, m_pEmptyTemplate});
    if (!m_builder.HasRoom())
        return false;
    pStack->ConnectLayer(pLayer);
    if (const SFbxRecord* pTime = take.Find("LocalTime"))
        pStack->SetLocalTimeSpan({FbxTime::FromTicks(pTime->Int(0)), FbxTime::FromTicks(pTime->Int(1))});
    for (const SFbxRecord* p = take.pChild; p; p = p->pNext)
        if (p->Is("Model"))
            if (SModel* pModel = Lookup(FbxSplitName(p->Text(0)).name))
                if (!ReadChannels(*p, *pModel, pLayer))
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
        FbxAnimStack* pStack = m_builder.AddStack({"(internal)", {}, m_pEmptyTemplate});
        FbxAnimLayer* pLayer = m_builder.Scene().AddAnimLayer({"(internal)", {}, m_pEmptyTemplate});
        pStack->ConnectLayer(pLayer);
        for (const SFbxRecord* p = m_tree.root.pChild; p; p = p->pNext)
            if (p->Is("Model"))
                if (SModel* pModel = Lookup(FbxSplitName(p->Text(0)).name))
                    if (!ReadChannels(*p, *pModel, pLayer))
                        return false;
    }
    return true;
}

bool Loader::Load()
{
    m_pNodeTemplate = m_builder.NodeTemplate(nullptr, false);
    m_pCameraTemplate = m_builder.CameraTemplate(nullptr, false);
    m_pEmptyTemplate = m_builder.Template(nullptr, false);
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
