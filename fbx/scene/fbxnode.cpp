#include "fbx/scene/fbxnode.h"

#include "fbx/scene/fbxcamera.h"
#include "fbx/scene/fbxscene.h"

#include <algorithm>

FbxNode* FbxNode::Create(FbxNode* pContainer, std::string_view name)
{
    FbxScene& scene = *pContainer->GetScene();
    FbxNode* pNode = scene.AddNode({name, "Null", scene.GetRootNode()->GetTemplate()});
    pContainer->AddChild(pNode);
    return pNode;
}

void FbxNode::AddChild(FbxNode* pChild)
{
    if (pChild->m_pParent || pChild == GetScene()->GetRootNode())
        return;
    pChild->m_pParent = this;
    m_children.push_back(pChild);
    GetScene()->GetAnimationEvaluator()->Invalidate();
}

void FbxNode::RemoveChild(FbxNode* pChild)
{
    const auto found = std::find(m_children.begin(), m_children.end(), pChild);
    if (found == m_children.end())
        return;
    m_children.erase(found);
    if (pChild->m_pParent == this)
        pChild->m_pParent = nullptr;
    GetScene()->GetAnimationEvaluator()->Invalidate();
}

FbxCamera* FbxNode::GetCamera() const
{
    if (m_attributes.empty())
        return nullptr;
    const int64_t n = FindProperty("DefaultAttributeIndex").GetInt64();
    const size_t nDefault = n > 0 && n < static_cast<int64_t>(m_attributes.size()) ? static_cast<size_t>(n) : 0;
    return dynamic_cast<FbxCamera*>(m_attributes[nDefault]);
}

bool FbxNode::GetRotationActive() const
{
    return FindProperty("RotationActive").GetBool();
}

void FbxNode::SetRotationActive(bool bActive)
{
    OwnProperty("RotationActive", "bool").SetBool(bActive);
}

void FbxNode::SetPostRotation(int nPivotSet, const FbxVector3& degrees)
{
    if (nPivotSet == 0)
        OwnProperty("PostRotation", "Vector3D").SetVector3(degrees);
}

void FbxNode::SetTurn(const SFbxNodeTurn& turn)
{
    m_pTurn = std::make_unique<SFbxNodeTurn>(turn);
    GetScene()->GetAnimationEvaluator()->Invalidate();
}

int64_t FbxNode::RotationOrder() const
{
    return FindProperty("RotationOrder").GetInt64();
}

FbxTransform FbxNode::EvaluateLocalTransform(FbxTime time) const
{
    return GetScene()->GetAnimationEvaluator()->EvaluateLocalTransform(this, time);
}

FbxTransform FbxNode::EvaluateGlobalTransform(FbxTime time) const
{
    return GetScene()->GetAnimationEvaluator()->EvaluateGlobalTransform(this, time);
}

FbxMatrix4 FbxNode::EvaluateLocalMatrix(FbxTime time) const
{
    return GetScene()->GetAnimationEvaluator()->EvaluateLocalMatrix(this, time);
}

FbxMatrix4 FbxNode::EvaluateGlobalMatrix(FbxTime time) const
{
    return GetScene()->GetAnimationEvaluator()->EvaluateGlobalMatrix(this, time);
}
