#include "fbx/scene/fbxnode.h"

#include "fbx/scene/fbxaccess.h"

#include <algorithm>

FbxNode::FbxNode(FbxScene* pScene) : FbxObject(pScene) {}

FbxNode::~FbxNode() = default;

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
    SFbxPropertyData& data = FbxAccess::Edit(*this, "RotationActive", EFbxType::eBool, "bool");
    data.integer = bActive;
    data.values[0] = bActive ? 1.0 : 0.0;
    GetScene()->GetAnimationEvaluator()->Invalidate();
}

void FbxNode::SetPostRotation(int nPivotSet, const FbxVector3& degrees)
{
    if (nPivotSet != 0)
        return;
    SFbxPropertyData& data = FbxAccess::Edit(*this, "PostRotation", EFbxType::eDouble3, "Vector3D");
    data.values[0] = degrees.x;
    data.values[1] = degrees.y;
    data.values[2] = degrees.z;
    GetScene()->GetAnimationEvaluator()->Invalidate();
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
