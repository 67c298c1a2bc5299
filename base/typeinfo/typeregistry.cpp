#include "base/math/quaternion.h"
#include "base/misc/fromchars.h"
#include "base/misc/zresourceid.h"
#include "base/typeinfo/mathtypes.h"
#include "base/typeinfo/ttype.h"
#include "base/typeinfo/zvariant.h"

#include <charconv>
#include <mutex>

ZTypeRegistry* g_pTypeRegistry = nullptr;

void ZTypeRegistry::Register(const IType* pType)
{
    const IType* pNone = nullptr;
    pType->GetID()->m_pType.compare_exchange_strong(pNone, pType, std::memory_order_acq_rel);
}

void ZTypeRegistry::Unregister(const IType* pType)
{
    const IType* pExpected = pType;
    pType->GetID()->m_pType.compare_exchange_strong(pExpected, nullptr, std::memory_order_acq_rel);
}

namespace
{

template <class T>
void AppendNumber(const T& value, ZString& text)
{
    char buffer[64];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
    text.Append(std::string_view(buffer, static_cast<size_t>(end - buffer)));
}

void AppendBool(const bool& value, ZString& text)
{
    text.Append(value ? "true" : "false");
}

/// An optional sign, digits with at most one point, an exponent: neither nan nor infinity is a number here.
template <class T>
bool ParseNumber(void* pDestination, const IType*, const ZString& text)
{
    const ZString trimmed = text.CopyTrim();
    const char* pStart = trimmed.ToCString();
    const char* pEnd = pStart + trimmed.Length();
    if (pStart != pEnd && *pStart == '+')
        ++pStart;
    const char* pDigits = pStart != pEnd && *pStart == '-' && pStart == trimmed.ToCString() ? pStart + 1 : pStart;
    if (pDigits == pEnd || !((*pDigits >= '0' && *pDigits <= '9') || *pDigits == '.'))
        return false;
    T value{};
    const auto result = FromChars(pStart, pEnd, value);
    if (result.ec != std::errc() || result.ptr != pEnd)
        return false;
    *static_cast<T*>(pDestination) = value;
    return true;
}

bool ParseBool(void* pDestination, const IType*, const ZString& text)
{
    const ZString word = text.CopyTrim();
    const bool bTrue = word.ICompare("true") == 0 || word == "1";
    if (!bTrue && word.ICompare("false") != 0 && !(word == "0"))
        return false;
    *static_cast<bool*>(pDestination) = bTrue;
    return true;
}

bool ParseString(void* pDestination, const IType*, const ZString& text)
{
    *static_cast<ZString*>(pDestination) = text;
    return true;
}

bool ParseHashedString(void* pDestination, const IType*, const ZString& text)
{
    *static_cast<ZHashedString*>(pDestination) = ZHashedString(text);
    return true;
}

/// Floats separated by commas, white space around them.
template <class T>
bool ParseFloats(void* pDestination, const IType* pType, const ZString& text)
{
    const TArray<ZString> pieces = text.Split(',');
    float values[4] = {};
    if (pieces.Size() != sizeof(T) / sizeof(float))
        return false;
    for (uint32_t i = 0; i < pieces.Size(); ++i)
        if (!ParseNumber<float>(&values[i], pType, pieces[i]))
            return false;
    std::memcpy(pDestination, values, sizeof(T));
    return true;
}

template <class T>
void AppendFloats(const T& value, ZString& text)
{
    float values[sizeof(T) / sizeof(float)];
    std::memcpy(values, &value, sizeof values);
    for (size_t i = 0; i < std::size(values); ++i)
    {
        if (i != 0)
            text.Append(", ");
        AppendNumber(values[i], text);
    }
}

void AppendHash(const ZHashedString& value, ZString& text)
{
    AppendNumber(value.GetHashCode(), text);
}

class ZStringType final : public TType<ZString>
{
public:
    ZStringType() : TType(ETypeKind::eString) { m_pParse = &ParseString; }
    void AppendText(const void* pObject, ZString& text) const override
    {
        text.Append(*static_cast<const ZString*>(pObject));
    }
};

class ZTypeRefType final : public TType<STypeID*>
{
public:
    ZTypeRefType() : TType(ETypeKind::eTypeRef) {}
    void AppendText(const void* pObject, ZString& text) const override
    {
        const STypeID* pTypeID = *static_cast<STypeID* const*>(pObject);
        text.Append(pTypeID != nullptr ? pTypeID->m_szName : "none");
    }
};

class ZVariantType final : public TType<ZVariant>
{
public:
    ZVariantType() : TType(ETypeKind::eVariant) {}
    void AppendText(const void* pObject, ZString& text) const override
    {
        ZVariantRef(static_cast<const ZVariant*>(pObject)->Ref()).AppendText(text);
    }
};

template <class T>
void RegisterNumber(ZTypeRegistry& registry)
{
    static const TScalarType<T> s_type(sizeof(T), &AppendNumber<T>, &ParseNumber<T>);
    registry.Register(&s_type);
}

template <class T>
void RegisterFloats(ZTypeRegistry& registry)
{
    static const TScalarType<T> s_type(sizeof(float), &AppendFloats<T>, &ParseFloats<T>);
    registry.Register(&s_type);
}

void RegisterBaseTypes(ZTypeRegistry& registry)
{
    static const TScalarType<bool> s_bool(1, &AppendBool, &ParseBool);
    registry.Register(&s_bool);
    RegisterNumber<int8_t>(registry);
    RegisterNumber<uint8_t>(registry);
    RegisterNumber<int16_t>(registry);
    RegisterNumber<uint16_t>(registry);
    RegisterNumber<int32_t>(registry);
    RegisterNumber<uint32_t>(registry);
    RegisterNumber<int64_t>(registry);
    RegisterNumber<uint64_t>(registry);
    RegisterNumber<float>(registry);
    RegisterNumber<double>(registry);
    RegisterFloats<SVector2>(registry);
    RegisterFloats<SVector3>(registry);
    RegisterFloats<SVector4>(registry);
    RegisterFloats<SQuaternion>(registry);
    static const TScalarType<SQV> s_sqv(sizeof(float));
    registry.Register(&s_sqv);
    static const ZStringType s_string;
    registry.Register(&s_string);
    static const TScalarType<ZHashedString> s_hashed(4, &AppendHash, &ParseHashedString);
    registry.Register(&s_hashed);
    static const ZTypeRefType s_typeRef;
    registry.Register(&s_typeRef);
    static const ZVariantType s_variant;
    registry.Register(&s_variant);
    static const TType<ZResourceID> s_resourceID(ETypeKind::eOther);
    registry.Register(&s_resourceID);
}

} // namespace

ZTypeRegistry* CreateTypeRegistry()
{
    static std::once_flag s_once;
    std::call_once(s_once,
                   []
                   {
                       static ZTypeRegistry s_registry;
                       RegisterBaseTypes(s_registry);
                       g_pTypeRegistry = &s_registry;
                   });
    return g_pTypeRegistry;
}

namespace
{
// Formatting needs the base types from the first message on.
[[maybe_unused]] ZTypeRegistry* const s_pRegistryAtLoad = CreateTypeRegistry();
} // namespace
