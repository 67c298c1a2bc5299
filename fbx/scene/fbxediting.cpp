#include "fbx/scene/fbxaccess.h"
#include "fbx/scene/fbxnode.h"
#include "fbx/scene/fbxpropertytypes.h"

#include <algorithm>

// Objects made and changed in a scene that is loaded.
namespace
{

/// The type name that a file would have for a plain property of a type.
std::string_view TypeNameOf(EFbxType eType)
{
    switch (eType)
    {
    case EFbxType::eBool:
        return "bool";
    case EFbxType::eInt:
        return "int";
    case EFbxType::eULongLong:
        return "ULongLong";
    case EFbxType::eFloat:
        return "float";
    case EFbxType::eDouble:
        return "double";
    case EFbxType::eDouble3:
        return "Vector3D";
    case EFbxType::eDouble4:
        return "Vector4D";
    case EFbxType::eDouble4x4:
        return "matrix4x4";
    case EFbxType::eString:
        return "KString";
    default:
        return {};
    }
}

bool IsOneNumber(const SFbxPropertyData& data)
{
    return data.nChannels == 1;
}

} // namespace

FbxProperty FbxObject::CreateProperty(std::string_view name, EFbxType eType)
{
    FbxProperty found = FindProperty(name);
    if (found.IsValid())
        return found;
    const std::string_view typeName = TypeNameOf(eType);
    if (typeName.empty())
        return {};
    SFbxPropertyData& data = EditProperty(name, eType, typeName);
    data.nFlags = eFbxFlag_UserDefined;
    if (eType == EFbxType::eString)
        data.text = FbxAccess::Arena(*m_pScene).CopyText({});
    if (eType == EFbxType::eDouble4x4)
        FbxProperty(this, &data).SetMatrix(FbxMatrix4());
    GetScene()->GetAnimationEvaluator()->Invalidate();
    return {this, &data};
}

SFbxPropertyData* FbxProperty::Own()
{
    if (!m_pData || !m_pObject)
        return nullptr;
    // A value that came from the class's template becomes the object's own.
    SFbxPropertyData& data = m_pObject->EditProperty(m_pData->name, m_pData->eType, m_pData->typeName);
    m_pData = &data;
    m_pObject->GetScene()->GetAnimationEvaluator()->Invalidate();
    return &data;
}

bool FbxProperty::SetBool(bool bValue)
{
    if (m_pData && m_pData->eType == EFbxType::eString)
        return SetString(bValue ? "true" : "false");
    if (!m_pData || !IsOneNumber(*m_pData))
        return false;
    SFbxPropertyData* p = Own();
    if (!p)
        return false;
    p->integer = bValue;
    p->values[0] = bValue ? 1.0 : 0.0;
    return true;
}

bool FbxProperty::SetString(std::string_view text)
{
    SFbxPropertyData* p = m_pData && m_pData->nChannels == 0 ? Own() : nullptr;
    if (!p)
        return false;
    p->text = FbxAccess::Arena(*m_pObject->GetScene()).CopyText(text);
    return true;
}

bool FbxProperty::SetMatrix(const FbxMatrix4& matrix)
{
    SFbxPropertyData* p = m_pData && m_pData->eType == EFbxType::eDouble4x4 ? Own() : nullptr;
    if (!p)
        return false;
    double* pValues = FbxAccess::Arena(*m_pObject->GetScene()).AllocateArray<double>(16);
    for (int n = 0; n < 16; ++n)
        pValues[n] = matrix.m[n / 4][n % 4];
    p->pMatrix = pValues;
    return true;
}

FbxNode* FbxNode::Create(FbxNode* pContainer, std::string_view name)
{
    FbxScene& scene = *pContainer->GetScene();
    auto pNode = std::make_unique<FbxNode>(&scene);
    FbxNode* p = pNode.get();
    FbxAccess::SetName(*p, name);
    FbxAccess::SetTypeText(*p, "Null");
    FbxAccess::SetTemplate(*p, FbxAccess::Template(*scene.GetRootNode()));
    FbxAccess::Index(*p) = static_cast<int>(FbxAccess::Nodes(scene).size());
    FbxAccess::Storage(scene).objects.push_back(std::move(pNode));
    FbxAccess::Nodes(scene).push_back(p);
    FbxAccess::Parent(*p) = pContainer;
    FbxAccess::Children(*pContainer).push_back(p);
    scene.GetAnimationEvaluator()->Invalidate();
    return p;
}

FbxAnimStack* FbxAnimStack::Create(FbxScene* pScene, std::string_view name)
{
    auto pStack = std::make_unique<FbxAnimStack>(pScene);
    FbxAnimStack* p = pStack.get();
    FbxAccess::SetName(*p, name);
    FbxAccess::Storage(*pScene).objects.push_back(std::move(pStack));
    return p;
}

void FbxAnimStack::ConnectLayer(FbxAnimLayer* pLayer)
{
    m_layers.push_back(pLayer);
    GetScene()->GetAnimationEvaluator()->Invalidate();
}

void FbxScene::ConnectAnimStack(FbxAnimStack* pStack)
{
    if (std::find(m_stacks.begin(), m_stacks.end(), pStack) == m_stacks.end())
        m_stacks.push_back(pStack);
    if (!m_pCurrentStack)
        SetCurrentAnimStack(pStack);
}

void FbxScene::DisconnectAnimStack(FbxAnimStack* pStack)
{
    // From the back: who disconnects all of them does so in linear time from there.
    const auto found = std::find(m_stacks.rbegin(), m_stacks.rend(), pStack);
    if (found == m_stacks.rend())
        return;
    m_stacks.erase(std::next(found).base());
    if (m_pCurrentStack == pStack)
        SetCurrentAnimStack(m_stacks.empty() ? nullptr : m_stacks.front());
}
