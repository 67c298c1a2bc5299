#include "resource/animation/fbximport/fbxconverter.h"

#include "base/misc/assert.h"
#include "base/misc/zresourceid.h"
#include "fbx/scene/fbxscene.h"

#include <algorithm>
#include <limits>
#include <string>
#include <unordered_map>
#include <vector>

namespace
{

/// What an old stack says of its animation, gathered before anything is changed. From the compression's name on down to
/// the facial animation nothing of it has a place in the new layout.
struct SOldTakeInfo
{
    std::string name;
    FbxNode* pGround = nullptr;
    FbxNode* pAnimatedObject = nullptr;
    std::string rigFile;
    std::string compression;
    float compressionTolerance = 0.0f;
    float trajectoryTolerance = 0.0f;
    bool includeHandAnimation = false;
    bool includeRootBoneAnimation = false;
    bool keyFramedFacialAnimation = false;
    bool hasSequenceOrigin = false;
    FbxMatrix4 sequenceOrigin;
    int32_t startFrame = 0;
    int32_t endFrame = 0;
};

void CreateBool(FbxObject& object, const char* szName, bool bValue)
{
    object.CreateProperty(szName, EFbxType::eBool).SetBool(bValue);
}

void CreateText(FbxObject& object, const char* szName, std::string_view text)
{
    object.CreateProperty(szName, EFbxType::eString).SetString(text);
}

bool Has(const FbxObject& object, std::string_view name)
{
    return object.FindProperty(name).IsValid();
}

bool IsTrue(const FbxObject& object, std::string_view name)
{
    return object.FindProperty(name).GetBool();
}

std::string Lowered(std::string_view text)
{
    std::string sLowered(text);
    for (char& c : sLowered)
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    return sLowered;
}

/// The names of a node's root objects, quoted and separated; false when it names none. They are numbered without gaps,
/// from RootObjectName0 on or from RootObjectName, which stands for the first.
bool ReadRootObjectNames(const FbxNode& node, std::string& sList)
{
    FbxProperty property = node.FindProperty("RootObjectName0", false);
    if (!property.IsValid())
        property = node.FindProperty("RootObjectName", false);
    if (!property.IsValid())
        return false;
    // A table, since a file may number as many as it likes.
    std::unordered_map<std::string, FbxProperty> named;
    for (size_t n = 0; n < node.GetPropertyCount(); ++n)
        named.try_emplace(Lowered(node.GetProperty(n).GetName()), node.GetProperty(n));
    for (int nNext = 1;; ++nNext)
    {
        sList += '"' + property.GetString() + '"';
        const auto next = named.find("rootobjectname" + std::to_string(nNext));
        if (next == named.end())
            return true;
        sList += ", ";
        property = next->second;
    }
}

void ConvertNode(FbxScene& scene, FbxNode* pNode)
{
    ZASSERT_OR_HALT(pNode);
    std::string sRootObjects;
    const bool bNamesRoots = ReadRootObjectNames(*pNode, sRootObjects);
    const FbxProperty isGround = pNode->FindProperty("IsGround");
    if (!isGround.IsValid())
        return;
    const bool bGround = isGround.GetBool();
    CreateBool(*pNode, bNamesRoots ? "IsGroundRoot" : "IsAttachRoot", bGround);
    if (bNamesRoots)
        CreateText(*pNode, "RootObjectNames", "[" + sRootObjects + "]");
    // Without animation the file is there for its rigs.
    if (scene.GetAnimStackCount() == 0)
        CreateBool(*pNode, "IsRig", true);
}

void ReplaceFirst(std::string& sText, std::string_view from, std::string_view to)
{
    const size_t nAt = sText.find(from);
    if (nAt != std::string::npos)
        sText.replace(nAt, from.size(), to);
}

/// A path on the tool's drive as an identifier in the asset tree.
std::string ToRigResource(std::string sPath)
{
    for (const std::string_view start : {"\\Assembly\\", "\\main\\Assembly\\"})
    {
        if (sPath.starts_with(start))
        {
            ReplaceFirst(sPath, start, "assembly:\\");
            break;
        }
    }
    std::replace(sPath.begin(), sPath.end(), '\\', '/');
    ReplaceFirst(sPath, ".xml", ".fbx");
    return sPath;
}

/// The scene's nodes by name and by number, as the old stacks refer to them. Of several the first counts.
class ZNodeIndex
{
public:
    explicit ZNodeIndex(const FbxScene& scene)
    {
        for (size_t n = 0; n < scene.GetNodeCount(); ++n)
        {
            const FbxProperty id = scene.GetNode(n)->FindProperty("UniqueID", false);
            if (id.IsValid())
                m_byId.try_emplace(id.GetUInt64(), scene.GetNode(n));
        }
        // Names go by the tree, depth first, like the scene's own search.
        std::vector<FbxNode*> pending{scene.GetRootNode()};
        while (!pending.empty())
        {
            FbxNode* pNode = pending.back();
            pending.pop_back();
            m_byName.try_emplace(pNode->GetName(), pNode);
            for (size_t n = pNode->GetChildCount(); n > 0; --n)
                if (pNode->GetChild(n - 1)->GetParent() == pNode)
                    pending.push_back(pNode->GetChild(n - 1));
        }
    }

    /// The number wins where a stack has both.
    FbxNode* Find(const FbxObject& stack, std::string_view idProperty, std::string_view nameProperty) const
    {
        const FbxProperty id = stack.FindProperty(idProperty);
        if (id.IsValid())
        {
            const auto found = m_byId.find(id.GetUInt64());
            return found != m_byId.end() ? found->second : nullptr;
        }
        const FbxProperty name = stack.FindProperty(nameProperty);
        if (!name.IsValid())
            return nullptr;
        const auto found = m_byName.find(name.GetString());
        return found != m_byName.end() ? found->second : nullptr;
    }

private:
    std::unordered_map<uint64_t, FbxNode*> m_byId;
    std::unordered_map<std::string_view, FbxNode*> m_byName;
};

int32_t FrameOf(FbxTime time, const FbxScene& scene)
{
    const int64_t nFrame = time.GetFrameCount(scene.GetGlobalSettings().GetFrameRate());
    return static_cast<int32_t>(
        std::clamp<int64_t>(nFrame, std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max()));
}

SOldTakeInfo GatherTake(const FbxScene& scene, const FbxAnimStack* pAnimStack, const ZNodeIndex& nodes)
{
    ZASSERT_OR_HALT(pAnimStack);
    const FbxAnimStack& stack = *pAnimStack;
    SOldTakeInfo take;
    take.name = stack.GetName();
    take.pGround = nodes.Find(stack, "GroundID", "GroundName");
    take.pAnimatedObject = nodes.Find(stack, "AnimatedObjectID", "AnimatedObjectName");
    take.rigFile = ToRigResource(stack.FindProperty("RigFile").GetString());
    take.compression = stack.FindProperty("Compression").GetString();
    // The tolerance has always been read through its neighbour; nothing uses it.
    if (Has(stack, "CompressionTolerance"))
        take.compressionTolerance = static_cast<float>(stack.FindProperty("Compression").GetDouble());
    take.trajectoryTolerance = static_cast<float>(stack.FindProperty("TrajectoryTolerance").GetDouble());
    take.includeHandAnimation = IsTrue(stack, "IncludeHandAnimation");
    take.includeRootBoneAnimation = IsTrue(stack, "IncludeRootBoneAnimation");
    take.keyFramedFacialAnimation = IsTrue(stack, "KeyFramedFacialAnimation");
    const FbxTimeSpan span = stack.GetLocalTimeSpan();
    take.startFrame = FrameOf(span.start, scene);
    take.endFrame = FrameOf(span.stop, scene);
    const FbxProperty origin = stack.FindProperty("CutsequenceOriginObject");
    take.hasSequenceOrigin = origin.IsValid();
    take.sequenceOrigin = origin.GetMatrix();
    return take;
}

/// Makes a take node of each take. What is asked of a node time and again is kept: a file may have any number of stacks
/// on any depth of nodes.
class ZTakeApplier
{
public:
    ZTakeApplier(const ZResourceID& id, const FbxScene& scene)
        : m_root(id.GetRoot()), m_nNodes(scene.GetNodeCount()), m_states(m_nNodes)
    {
    }

    void Apply(const SOldTakeInfo& take, size_t nIndex)
    {
        FbxNode* pGround = take.pGround;
        if (pGround == nullptr)
        {
            if (take.pAnimatedObject == nullptr)
                return;
            pGround = GroundAbove(*take.pAnimatedObject);
        }
        if (pGround == nullptr)
        {
            pGround = take.pAnimatedObject;
            if (!Has(*pGround, "IsGroundRoot"))
            {
                CreateBool(*pGround, "IsGroundRoot", true);
                State(*pGround).eGround = EGround::eYes;
            }
        }
        // The first take of a ground decides over its rig.
        SState& state = State(*pGround);
        if (!state.bRigNamed && !Has(*pGround, "RigResource"))
            CreateText(*pGround, "RigResource", take.rigFile);
        state.bRigNamed = true;
        // A packer knows its source in lower case, the stack as somebody has spelled it.
        if (!state.bRig && m_root.ToString().ICompare(ZString::FromView(take.rigFile)) == 0)
        {
            CreateBool(*pGround, "IsRig", true);
            state.bRig = true;
        }
        CreateTakeNode(*pGround, take, nIndex);
    }

private:
    enum class EGround : uint8_t
    {
        eUnknown,
        eNo,
        eYes
    };
    struct SState
    {
        EGround eGround = EGround::eUnknown;
        bool bRigNamed = false;
        bool bRig = false;
    };

    SState& State(const FbxNode& node) { return m_states[static_cast<size_t>(node.GetIndex())]; }

    FbxNode* GroundAbove(const FbxNode& node)
    {
        for (FbxNode* p = node.GetParent(); p != nullptr; p = p->GetParent())
        {
            EGround& eGround = State(*p).eGround;
            if (eGround == EGround::eUnknown)
                eGround = IsTrue(*p, "IsGroundRoot") || IsTrue(*p, "IsAttachRoot") ? EGround::eYes : EGround::eNo;
            if (eGround == EGround::eYes)
                return p;
        }
        return nullptr;
    }

    static void CreateTakeNode(FbxNode& ground, const SOldTakeInfo& take, size_t nIndex)
    {
        FbxNode* pTake = FbxNode::Create(&ground, "TAKE_NODE" + std::to_string(nIndex));
        CreateBool(*pTake, "IsTakeNode", true);
        // Without commas and escapes: packed takes were made from this text for years, and the reader takes it.
        CreateText(*pTake, "TakeData",
                   "{\"startFrame\": " + std::to_string(take.startFrame) + "\"endFrame\": " +
                       std::to_string(take.endFrame) + "\"partialList\": []\"name\": \"" + take.name + "\"}");
        if (take.hasSequenceOrigin)
            pTake->CreateProperty("TakeSequenceOrigin", EFbxType::eDouble4x4).SetMatrix(take.sequenceOrigin);
    }

    const ZResourceID m_root;
    const size_t m_nNodes; ///< take nodes come behind them and are no one's ground
    std::vector<SState> m_states;
};

/// A ground root that no take gave a rig to is none.
void DropGroundsWithoutRig(const FbxScene& scene)
{
    for (size_t n = 0; n < scene.GetNodeCount(); ++n)
    {
        FbxNode* pNode = scene.GetNode(n);
        if (FbxProperty property = pNode->FindProperty("IsGroundRoot");
            property.IsValid() && !Has(*pNode, "IsRig") && !Has(*pNode, "RigResource"))
            property.SetBool(false);
    }
}

/// All takes share the curves of the first stack, as ranges of its frames; the layers of the others are dropped.
void MergeStacks(FbxScene& scene, const std::vector<SOldTakeInfo>& takes)
{
    int32_t nFirst = std::numeric_limits<int32_t>::max();
    int32_t nLast = std::numeric_limits<int32_t>::min();
    for (const SOldTakeInfo& take : takes)
    {
        nFirst = std::min(nFirst, take.startFrame);
        nLast = std::max(nLast, take.endFrame);
    }
    FbxAnimStack* pMerged = FbxAnimStack::Create(&scene, "_Take001");
    if (pMerged == nullptr)
        return;
    if (scene.GetAnimStackCount() > 0)
    {
        const FbxAnimStack* pFirst = scene.GetAnimStack(0);
        for (size_t n = 0; n < pFirst->GetLayerCount(); ++n)
            pMerged->ConnectLayer(pFirst->GetLayer(n));
    }
    while (scene.GetAnimStackCount() > 0)
        scene.DisconnectAnimStack(scene.GetAnimStack(scene.GetAnimStackCount() - 1));
    scene.ConnectAnimStack(pMerged);
    const double fFrameRate = scene.GetGlobalSettings().GetFrameRate();
    pMerged->SetLocalTimeSpan({FbxTime::FromFrame(nFirst, fFrameRate), FbxTime::FromFrame(nLast, fFrameRate)});
}

} // namespace

bool ZFbxConverter::IsOldFormat(FbxScene* pScene)
{
    ZASSERT_OR_HALT(pScene);
    for (size_t n = 0; n < pScene->GetAnimStackCount(); ++n)
    {
        const FbxAnimStack& stack = *pScene->GetAnimStack(n);
        if (Has(stack, "AnimatedObjectName") || Has(stack, "AnimatedObjectID"))
            return true;
    }
    for (size_t n = 0; n < pScene->GetNodeCount(); ++n)
    {
        const FbxNode& node = *pScene->GetNode(n);
        if (Has(node, "IsGround") || node.FindProperty("UniqueID", false).IsValid())
            return true;
    }
    return false;
}

void ZFbxConverter::ConvertToNewPipeline(const ZResourceID& id, FbxScene* pScene)
{
    ZASSERT_OR_HALT(pScene);
    for (size_t n = 0; n < pScene->GetNodeCount(); ++n)
        ConvertNode(*pScene, pScene->GetNode(n));

    std::vector<SOldTakeInfo> takes;
    takes.reserve(pScene->GetAnimStackCount());
    const ZNodeIndex nodes(*pScene);
    for (size_t n = 0; n < pScene->GetAnimStackCount(); ++n)
        takes.push_back(GatherTake(*pScene, pScene->GetAnimStack(n), nodes));

    ZTakeApplier applier(id, *pScene);
    for (size_t n = 0; n < takes.size(); ++n)
        applier.Apply(takes[n], n);
    DropGroundsWithoutRig(*pScene);
    MergeStacks(*pScene, takes);
}
