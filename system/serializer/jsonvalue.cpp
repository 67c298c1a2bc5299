#include "system/serializer/jsonvalue.h"

#include "system/serializer/jsonparser.h"

#include <cmath>

namespace
{

const char* KindText(ZJsonValue::EKind eKind)
{
    switch (eKind)
    {
    case ZJsonValue::EKind::eNull:
        return "null";
    case ZJsonValue::EKind::eBool:
        return "a boolean";
    case ZJsonValue::EKind::eNumber:
        return "a number";
    case ZJsonValue::EKind::eString:
        return "a string";
    case ZJsonValue::EKind::eArray:
        return "an array";
    case ZJsonValue::EKind::eObject:
        return "an object";
    default:
        return "nothing";
    }
}

} // namespace

ZJsonValue::ZJsonValue(const ZString& text)
{
    *this = ZJsonParser(text).Parse();
}

bool ZJsonValue::Require(EKind eKind, EJsonValidationMode eMode) const
{
    if (m_eKind == eKind)
        return true;
    if (eMode == EJsonValidationMode::eLenient)
        return false;
    if (m_eKind == EKind::eAbsent)
        throw ZJsonException(ZString::Format("the key '{0}' is missing", m_sText));
    throw ZJsonException(ZString::Format("expected {0}, found {1}", KindText(eKind), KindText(m_eKind)));
}

ZJsonValue ZJsonValue::operator[](const ZString& key) const
{
    Require(EKind::eObject, EJsonValidationMode::eStrict);
    if (const ZJsonValue* pValue = m_pMembers->Find(key))
        return *pValue;
    ZJsonValue absent;
    absent.m_sText = key;
    return absent;
}

int32_t ZJsonValue::AsInt32(EJsonValidationMode eMode) const
{
    if (!Require(EKind::eNumber, eMode))
        return 0;
    if (m_fValue >= -2147483648.0 && m_fValue <= 2147483647.0 && m_fValue == std::trunc(m_fValue))
        return static_cast<int32_t>(m_fValue);
    if (eMode == EJsonValidationMode::eLenient)
        return 0;
    throw ZJsonException(ZString::Format("expected a whole number of 32 bits, found {0}", m_fValue));
}

double ZJsonValue::AsDouble(EJsonValidationMode eMode) const
{
    return Require(EKind::eNumber, eMode) ? m_fValue : 0.0;
}

bool ZJsonValue::AsBool(EJsonValidationMode eMode) const
{
    return Require(EKind::eBool, eMode) && m_bValue;
}

ZString ZJsonValue::AsString(EJsonValidationMode eMode) const
{
    return Require(EKind::eString, eMode) ? m_sText : ZString();
}

const ZJsonValue::TElements& ZJsonValue::AsArray(EJsonValidationMode eMode) const
{
    static const TElements s_none;
    return Require(EKind::eArray, eMode) ? *m_pElements : s_none;
}

const ZJsonValue::TObject& ZJsonValue::AsObject(EJsonValidationMode eMode) const
{
    static const TObject s_none;
    return Require(EKind::eObject, eMode) ? *m_pMembers : s_none;
}
