#include "resource/animation/fbximport/fbxanimationimporter.h"

#include "base/misc/trace.h"
#include "fbx/scene/fbxscene.h"
#include "resource/animation/fbximport/fbxanimationutils.h"
#include "resource/animation/fbximport/fbxtakesampler.h"
#include "resource/animation/fbximport/motioncharacteristics.h"
#include "resource/animation/fbximport/takelosses.h"
#include "resource/animation/frame/animationexception.h"

namespace ResourceAnimation::Import
{

namespace
{

/// What follows the last colon: namespaces do not reach the animation.
ZString CutNamespace(const ZString& name)
{
    const size_t nColon = name.LastIndexOf(':');
    return nColon == ZString::NOT_FOUND ? name : name.Substring(nColon + 1);
}

TSharedPtr<ZBone> MakeRestBone(const FbxNode* pNode, float scale, const TSharedPtr<ZBone>& pParent)
{
    SVector3 translation;
    SQuaternion rotation;
    GetGlobalBoneTransform(pNode, FbxTime::Infinite(), &translation, &rotation, nullptr);
    return TSharedPtr<ZBone>::Create(ObjectName(pNode), translation * scale, rotation, pParent,
                                     TArrayRef<const TSharedPtr<ZBone>>());
}

/// The rest pose of all that hangs below a node, take nodes left out, as children of its bone. Walks with a stack of
/// its own: scenes nest as deep as somebody made them.
void BuildBoneChildren(const TSharedPtr<ZBone>& pRootBone, const FbxNode* pRoot, float scale)
{
    struct SPending
    {
        const FbxNode* pNode;
        TSharedPtr<ZBone> pBone;
    };
    TArray<SPending> pending{{pRoot, pRootBone}};
    while (!pending.IsEmpty())
    {
        const SPending parent = pending.Last();
        pending.RemoveAt(pending.Size() - 1);
        TArray<TSharedPtr<ZBone>> children;
        for (size_t i = 0; i < parent.pNode->GetChildCount(); ++i)
        {
            const FbxNode* pChild = parent.pNode->GetChild(i);
            if (HasTakeNodeProperty(pChild))
                continue;
            children.Add(MakeRestBone(pChild, scale, parent.pBone));
            pending.Add({pChild, children.Last()});
        }
        parent.pBone->SetChildren(children);
    }
}

/// The property is what its file says it is.
double FocalLength(const ZVariant& value, const FbxNode* pNode)
{
    if (value.CanConvertTo<float>())
        return static_cast<double>(value.GetValue<float>());
    if (value.CanConvertTo<int32_t>())
        return value.GetValue<int32_t>();
    if (value.CanConvertTo<uint32_t>())
        return value.GetValue<uint32_t>();
    throw ZAnimationException(
        ZString::Format("The property 'FocalLength' of camera '{0}' is of the type {1}, not a number",
                        ObjectName(pNode), value.GetTypeID()));
}

/// A rig with more bones than an index can tell would be cut short without a word.
void CheckBoneCount(const ZBoneHierarchy& hierarchy)
{
    if (hierarchy.Bones().Size() >= SBoneId::INVALID_ID)
        throw ZAnimationException(ZString::Format("Rig '{0}' has {1} bones; a rig has at most {2}", hierarchy.Name(),
                                                  hierarchy.Bones().Size(), SBoneId::INVALID_ID - 1));
}

} // namespace

ZFbxAnimationImporter::ZFbxAnimationImporter(const ZResourceID& id) : ZAnimationImporter(id)
{
    try
    {
        m_pReader = TUniquePtr<ZFbxSceneLoan>(ZNew<ZFbxSceneLoan>(id));
    }
    catch (const ZFbxException& e)
    {
        throw ZAnimationException(e.Message());
    }
}

TArray<ZString> ZFbxAnimationImporter::DescribeLosses(const ZString& takeName)
{
    const ZFbxTakeData* pTake = (*m_pReader)->FindTake(takeName);
    return pTake != nullptr ? DescribeTakeLosses(*pTake) : TArray<ZString>();
}

TSharedPtr<ZAnimation> ZFbxAnimationImporter::ImportAnimation(const ZString& takeName, EBoneSpace eSpace, float scale,
                                                              bool bTotalLinearDelta)
{
    const ZFbxTakeData* pTake = (*m_pReader)->FindTake(takeName);
    if (pTake == nullptr)
        return nullptr;
    const ZFbxGround& ground = *pTake->m_pGround;
    const FbxNode* pNode = ground.m_pFbxNode;
    ZAnimation::TBones bones = ZFbxTakeSampler(*pTake).Sample(eSpace, scale);

    if (bTotalLinearDelta && !bones.IsEmpty())
    {
        SAnimationCharacteristics characteristics;
        ComputeAnimationCharacteristics(ExtractTrajectory(pNode, *pTake), pTake->m_frameRate, characteristics);
        // One value for the whole take: the packer reads it as a single number.
        const float values[] = {characteristics.fTotalLinearDelta};
        bones[0]->AddProperty(ZAnimatedProperty::Create<float>("TotalLinearDelta", TArrayRef<const float>(values)));
    }
    SQV offset = pTake->m_sequenceOffset;
    offset.translation = {offset.translation.x * scale, offset.translation.y * scale, offset.translation.z * scale,
                          1.0f};
    for (TSharedPtr<ZAnimatedBone>& pBone : bones)
        if (const ZString name = CutNamespace(pBone->Name()); !(name == pBone->Name()))
            pBone = ZAnimatedBone::CloneWithName(*pBone, name);

    if (pTake->m_endFrame < pTake->m_startFrame)
        ZTRACE(ITraceListener::eTrace_Failure, "ZFbxAnimationImporter",
               "take '{0}' ends at frame {1}, before its first frame {2}", pTake->m_name, pTake->m_endFrame,
               pTake->m_startFrame);
    TSharedPtr<ZAnimation> pAnimation = ZAnimation::CreateForRange(
        pTake->m_name, pTake->m_startFrame, pTake->m_endFrame, pTake->m_frameRate, CutNamespace(ObjectName(pNode)),
        ground.m_rigResource, bones.Ref(), eSpace, offset, pTake->m_partialList.Ref());
    if (const FbxCamera* pCamera = pNode->GetCamera())
        pAnimation = ZAnimation::ConvertProperty(
            pAnimation, "FocalLength", "FieldOfView",
            [pCamera, pNode](const ZVariant& value)
            { return ZVariant(static_cast<float>(pCamera->ComputeFieldOfView(FocalLength(value, pNode)))); });
    return pAnimation;
}

TArray<ZString> ZFbxAnimationImporter::GetTakeNames()
{
    TArray<ZString> names;
    for (unsigned int i = 0; i < (*m_pReader)->m_takeCount; ++i)
        names.Add((*m_pReader)->GetTakeAt(i)->m_name);
    return names;
}

TSharedPtr<ZBoneHierarchy> ZFbxAnimationImporter::ImportHierarchy(const ZString& rigName, float scale,
                                                                  const ZMessageDelegate* pMessages)
{
    if ((*m_pReader)->GetGroundCount() == 0)
        return nullptr;
    const ZFbxGround* pGround =
        (*m_pReader)->FindGround(rigName.IsEmpty() ? (*m_pReader)->GetGroundAt(0)->GetDisplayName() : rigName);
    if (pGround == nullptr)
        return nullptr;
    if (!pGround->m_bIsRig)
        throw ZAnimationException("Selected ground is not a rig");
    const TSharedPtr<ZBone> pRootBone = MakeRestBone(pGround->m_pFbxNode, scale, nullptr);
    BuildBoneChildren(pRootBone, pGround->m_pFbxNode, scale);
    for (const FbxNode* pRootObject : pGround->m_rootObjects)
    {
        const TSharedPtr<ZBone> pBone = MakeRestBone(pRootObject, scale, pRootBone);
        pRootBone->AddChild(pBone);
        BuildBoneChildren(pBone, pRootObject, scale);
    }
    const TSharedPtr<ZBone> roots[] = {pRootBone};
    const auto pHierarchy =
        TSharedPtr<ZBoneHierarchy>::Create(pGround->GetDisplayName(), pRootBone->Name(),
                                           TArrayRef<const TSharedPtr<ZBone>>(roots), eSpace_Character, pMessages);
    CheckBoneCount(*pHierarchy);
    return pHierarchy;
}

TSharedPtr<ZBoneHierarchy> ZFbxAnimationImporter::ImportSceneTree(float scale)
{
    const auto pDummy = TSharedPtr<ZBone>::Create("DummyRootBone", SVector3(), SQuaternion{0.0f, 0.0f, 0.0f, 0.0f},
                                                  TSharedPtr<ZBone>(), TArrayRef<const TSharedPtr<ZBone>>());
    BuildBoneChildren(pDummy, (*m_pReader)->Scene()->GetRootNode(), scale);
    const TArray<TSharedPtr<ZBone>> roots = pDummy->Children();
    return TSharedPtr<ZBoneHierarchy>::Create("FbxSceneTree", ZString(), roots.Ref(), eSpace_Character, nullptr);
}

} // namespace ResourceAnimation::Import
