#include "fbx/scene/fbxproperty.h"

#include "fbx/scene/fbxanim.h"
#include "fbx/scene/fbxobject.h"
#include "fbx/scene/fbxscene.h"
#include "fbx/types/fbxpropertytypes.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace
{

bool IsInteger(EFbxType eType)
{
    switch (eType)
    {
    case EFbxType::eChar:
    case EFbxType::eUChar:
    case EFbxType::eShort:
    case EFbxType::eUShort:
    case EFbxType::eUInt:
    case EFbxType::eLongLong:
    case EFbxType::eULongLong:
    case EFbxType::eBool:
    case EFbxType::eInt:
    case EFbxType::eEnum:
    case EFbxType::eTime:
        return true;
    default:
        return false;
    }
}

/// The number that a text begins with; 0 where that is none, as nan and infinity are not.
template <class T>
T NumberOfText(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    if (text.starts_with('+') && !text.starts_with("+-"))
        text.remove_prefix(1);
    T value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    return result.ec == std::errc() && std::isfinite(static_cast<double>(value)) ? value : T(0);
}

} // namespace

const char* FbxProperty::GetName() const
{
    return m_pData ? m_pData->name.data() : "";
}

EFbxType FbxProperty::GetType() const
{
    return m_pData ? m_pData->eType : EFbxType::eUndefined;
}

const char* FbxProperty::GetTypeName() const
{
    return m_pData ? m_pData->typeName.data() : "";
}

uint32_t FbxProperty::GetFlags() const
{
    return m_pData ? m_pData->nFlags : 0;
}

std::string FbxProperty::GetFlagsText() const
{
    return FbxFlagsText(GetFlags());
}

FbxAnimCurveNode* FbxProperty::GetCurveNode() const
{
    if (!m_pData || !m_pObject || m_pObject->m_curveNodes.empty())
        return nullptr;
    return m_pObject->GetScene()->GetAnimationEvaluator()->FindCurveNode(*this);
}

bool FbxProperty::GetBool() const
{
    if (!m_pData)
        return false;
    if (m_pData->eType == EFbxType::eString)
        return m_pData->text == "true" || m_pData->text == "True" || NumberOfText<double>(m_pData->text) != 0.0;
    return IsInteger(m_pData->eType) ? m_pData->integer != 0 : m_pData->values[0] != 0.0;
}

int64_t FbxProperty::GetInt64() const
{
    if (!m_pData)
        return 0;
    if (m_pData->eType == EFbxType::eString)
        return NumberOfText<int64_t>(m_pData->text);
    return m_pData->integer;
}

uint64_t FbxProperty::GetUInt64() const
{
    if (m_pData && m_pData->eType == EFbxType::eString)
        return NumberOfText<uint64_t>(m_pData->text);
    // Numbers above the signed range are written as their bits.
    return static_cast<uint64_t>(GetInt64());
}

double FbxProperty::GetDouble() const
{
    if (!m_pData)
        return 0.0;
    return m_pData->eType == EFbxType::eString ? NumberOfText<double>(m_pData->text) : m_pData->values[0];
}

std::string FbxProperty::GetString() const
{
    if (!m_pData)
        return {};
    if (m_pData->nChannels == 0)
        return std::string(m_pData->text);
    if (m_pData->eType == EFbxType::eBool)
        return GetBool() ? "true" : "false";
    char buffer[64];
    const auto result = IsInteger(m_pData->eType) ? std::to_chars(buffer, buffer + sizeof buffer, m_pData->integer)
                                                  : std::to_chars(buffer, buffer + sizeof buffer, m_pData->values[0]);
    return std::string(buffer, result.ptr);
}

FbxVector3 FbxProperty::GetVector3() const
{
    if (!m_pData)
        return {};
    return {m_pData->values[0], m_pData->values[1], m_pData->values[2]};
}

FbxMatrix4 FbxProperty::GetMatrix() const
{
    FbxMatrix4 matrix;
    if (m_pData && m_pData->pMatrix)
        for (int n = 0; n < 16; ++n)
            matrix.m[n / 4][n % 4] = m_pData->pMatrix[n];
    return matrix;
}

int FbxProperty::GetChannelCount() const
{
    return m_pData ? m_pData->nChannels : 0;
}

void FbxProperty::GetChannels(double out[16]) const
{
    for (int n = 0; n < 16; ++n)
        out[n] = 0.0;
    if (!m_pData)
        return;
    if (m_pData->pMatrix)
        for (int n = 0; n < 16; ++n)
            out[n] = m_pData->pMatrix[n];
    else
        for (int n = 0; n < m_pData->nChannels && n < 4; ++n)
            out[n] = m_pData->values[n];
}
