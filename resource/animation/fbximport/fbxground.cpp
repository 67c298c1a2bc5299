#include "resource/animation/fbximport/fbxground.h"

#include "resource/animation/fbximport/fbxanimationutils.h"
#include "resource/animation/frame/animationexception.h"

namespace ResourceAnimation
{

namespace
{

bool IsGround(const FbxNode* pNode)
{
    return GroundKindOf(pNode) != eGround_None;
}

/// Depth first below a node, the node itself left out; null when there is none of that name.
FbxNode* FindDescendant(const FbxNode* pAncestor, const ZString& name)
{
    TArray<FbxNode*> pending;
    const auto addChildren = [&pending](const FbxNode* pNode)
    {
        for (size_t i = pNode->GetChildCount(); i-- > 0;)
            pending.Add(pNode->GetChild(i));
    };
    addChildren(pAncestor);
    while (!pending.IsEmpty())
    {
        FbxNode* pNode = pending.Last();
        pending.RemoveAt(pending.Size() - 1);
        if (name == pNode->GetName())
            return pNode;
        addChildren(pNode);
    }
    return nullptr;
}

void ReadRootObjects(const FbxNode* pGround, const FbxProperty& names, TArray<FbxNode*>& rootObjects)
{
    TArray<ZString> wanted;
    ReadJson(pGround, "RootObjectNames", names,
             [&wanted](const ZJsonValue& list)
             {
                 for (const ZJsonValue& entry : list.AsArray())
                     wanted.Add(entry.AsString());
             });
    for (const ZString& name : wanted)
    {
        FbxNode* pNode = pGround->GetParent() != nullptr ? FindDescendant(pGround->GetParent(), name) : nullptr;
        if (pNode == nullptr)
            throw ZFbxObjectDoesNotExistException(ZString::Format(
                "Ground '{0}' expect to have hierarchy '{1}', but it does not exist", pGround->GetName(), name));
        // Children of the ground are its bones in any case.
        if (pNode->GetParent() != pGround)
            rootObjects.Add(pNode);
    }
}

} // namespace

EGroundKind GroundKindOf(const FbxNode* pNode)
{
    if (pNode->GetCamera() != nullptr)
        return eGround_Camera;
    if (IsGroundRootNode(pNode))
        return eGround_Root;
    return IsAttachRootNode(pNode) ? eGround_Attach : eGround_None;
}

ZFbxGround::ZFbxGround(FbxNode* pNode) : m_pFbxNode(pNode)
{
    ZASSERT_OR_HALT(pNode);
    ZASSERT(IsGround(pNode));
    m_groundName = ZString::FromView(FindFbxProperty(pNode, "GroundName", EFbxType::eString, true).GetString());
    m_bIsRig = ReadOptionalBool(pNode, "IsRig");
    m_eKind = GroundKindOf(pNode);
    if (m_eKind != eGround_Root)
        return;
    const FbxProperty rootObjectNames = FindFbxProperty(pNode, "RootObjectNames", EFbxType::eString, true);
    if (rootObjectNames.IsValid())
        ReadRootObjects(pNode, rootObjectNames, m_rootObjects);
    // A ground that is no rig itself must name one.
    m_rigResource = ZString::FromView(FindFbxProperty(pNode, "RigResource", EFbxType::eString, m_bIsRig).GetString());
}

ZString ZFbxGround::GetDisplayName() const
{
    return m_groundName.IsEmpty() ? ObjectName(m_pFbxNode) : m_groundName;
}

} // namespace ResourceAnimation
