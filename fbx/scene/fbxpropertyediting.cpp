#include "fbx/scene/fbxobject.h"
#include "fbx/scene/fbxscene.h"

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

} // namespace

FbxProperty FbxObject::CreateProperty(std::string_view name, EFbxType eType)
{
    FbxProperty found = FindProperty(name);
    if (found.IsValid())
        return found;
    const std::string_view typeName = TypeNameOf(eType);
    if (typeName.empty())
        return {};
    SFbxPropertyData& data = EditProperty(name, typeName);
    data.nFlags = eFbxFlag_UserDefined;
    if (eType == EFbxType::eString)
        data.text = m_pScene->GetMemory().CopyText({});
    if (eType == EFbxType::eDouble4x4)
        FbxProperty(this, &data).SetMatrix(FbxMatrix4());
    return {this, &data};
}

SFbxPropertyData* FbxProperty::Own()
{
    if (!m_pData || !m_pObject)
        return nullptr;
    // A value that came from the class's template becomes the object's own.
    SFbxPropertyData& data = m_pObject->EditProperty(m_pData->name, m_pData->typeName);
    m_pData = &data;
    return &data;
}

bool FbxProperty::SetBool(bool bValue)
{
    if (m_pData && m_pData->eType == EFbxType::eString)
        return SetString(bValue ? "true" : "false");
    return SetInt64(bValue);
}

bool FbxProperty::SetInt64(int64_t nValue)
{
    SFbxPropertyData* p = m_pData && m_pData->nChannels == 1 ? Own() : nullptr;
    if (!p)
        return false;
    p->integer = nValue;
    p->values[0] = static_cast<double>(nValue);
    return true;
}

bool FbxProperty::SetDouble(double fValue)
{
    SFbxPropertyData* p = m_pData && m_pData->nChannels == 1 ? Own() : nullptr;
    if (!p)
        return false;
    p->integer = fValue > -9.2e18 && fValue < 9.2e18 ? static_cast<int64_t>(fValue) : 0;
    p->values[0] = fValue;
    return true;
}

bool FbxProperty::SetVector3(const FbxVector3& v)
{
    SFbxPropertyData* p = m_pData && (m_pData->nChannels == 3 || m_pData->nChannels == 4) ? Own() : nullptr;
    if (!p)
        return false;
    p->values[0] = v.x;
    p->values[1] = v.y;
    p->values[2] = v.z;
    return true;
}

bool FbxProperty::SetChannel(size_t nChannel, double fValue)
{
    if (m_pData && m_pData->nChannels == 1 && nChannel == 0)
        return SetDouble(fValue);
    SFbxPropertyData* p = m_pData && nChannel < m_pData->nChannels && m_pData->nChannels <= 4 ? Own() : nullptr;
    if (!p)
        return false;
    p->values[nChannel] = fValue;
    return true;
}

bool FbxProperty::SetString(std::string_view text)
{
    SFbxPropertyData* p = m_pData && m_pData->nChannels == 0 ? Own() : nullptr;
    if (!p)
        return false;
    p->text = m_pObject->GetScene()->GetMemory().CopyText(text);
    return true;
}

bool FbxProperty::SetMatrix(const FbxMatrix4& matrix)
{
    SFbxPropertyData* p = m_pData && m_pData->eType == EFbxType::eDouble4x4 ? Own() : nullptr;
    if (!p)
        return false;
    double* pValues = m_pObject->GetScene()->GetMemory().AllocateArray<double>(16);
    for (int n = 0; n < 16; ++n)
        pValues[n] = matrix.m[n / 4][n % 4];
    p->pMatrix = pValues;
    return true;
}
