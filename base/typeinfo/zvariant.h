#pragma once

#include "base/misc/assert.h"
#include "base/typeinfo/zobjectref.h"

#include <utility>

/// An owning typed value of 16 bytes: 8 for the value, 8 for its type.
///
/// A scalar of up to eight bytes stands in the first eight; any other value stands on the heap, and they point to it.
/// In a deserialised block a value outside points into the block, and the variant must not be destroyed.
class ZVariant
{
public:
    ZVariant() = default;
    template <class T>
    requires(!std::is_same_v<std::remove_cvref_t<T>, ZVariant>) explicit ZVariant(const T& value)
    {
        Set(::GetTypeID<T>(), &value);
    }
    ZVariant(const ZVariant& other) { Set(other.m_pTypeID, other.Get()); }
    ZVariant(ZVariant&& other) noexcept
        : m_nStorage(std::exchange(other.m_nStorage, 0)), m_pTypeID(std::exchange(other.m_pTypeID, nullptr))
    {
    }
    ZVariant& operator=(ZVariant other) noexcept
    {
        std::swap(m_nStorage, other.m_nStorage);
        std::swap(m_pTypeID, other.m_pTypeID);
        return *this;
    }
    ~ZVariant() { Clear(); }

    /// Stores a copy. A type without a registered descriptor leaves the variant empty and fails an assertion.
    Z_EXPORT void Set(STypeID* pTypeID, const void* pValue);
    Z_EXPORT void Clear();

    STypeID* GetTypeID() const { return m_pTypeID; }
    Z_EXPORT const void* Get() const;
    ZObjectRef Ref() const { return {Get(), m_pTypeID}; }

    template <class T>
    bool CanConvertTo() const
    {
        return ZObjectRef::CanConvert(m_pTypeID, ::GetTypeID<T>());
    }
    /// The value when the type fits; a default one behind the assertion "CanConvertTo<T>()" when it does not.
    template <class T>
    T GetValue() const
    {
        ZASSERT_TEXT(CanConvertTo<T>(), "CanConvertTo<T>()");
        return CanConvertTo<T>() ? *static_cast<const T*>(Get()) : T();
    }

    /// Whether values of this type stand in the variant itself.
    static bool IsStoredInside(const IType& type) { return type.Kind() == ETypeKind::eScalar && type.Size() <= 8; }

private:
    uint64_t m_nStorage = 0;
    STypeID* m_pTypeID = nullptr;
};
static_assert(sizeof(ZVariant) == 16, "packed records hold it in place");
Z_TYPE_NAME(ZVariant, "ZVariant");
