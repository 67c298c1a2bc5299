#pragma once

#include "base/typeinfo/itype.h"

/// Pointer plus type; owns nothing.
class ZObjectRef
{
public:
    ZObjectRef() = default;
    ZObjectRef(const void* pObject, STypeID* pTypeID) : m_pObject(const_cast<void*>(pObject)), m_pTypeID(pTypeID) {}

    template <class T>
    static ZObjectRef Of(const T& object)
    {
        return {&object, ::GetTypeID<T>()};
    }

    void* Get() const { return m_pObject; }
    STypeID* GetTypeID() const { return m_pTypeID; }
    bool IsEmpty() const { return m_pTypeID == nullptr; }

    /// Types convert to themselves only.
    static bool CanConvert(STypeID* pFrom, STypeID* pTo) { return pFrom != nullptr && pFrom == pTo; }

private:
    void* m_pObject = nullptr;
    STypeID* m_pTypeID = nullptr;
};

class ZString;

/// An optional argument of Format and of the trace calls. Refers to the caller's value for the time of the call.
class ZVariantRef
{
public:
    ZVariantRef() = default;
    ZVariantRef(const ZObjectRef& object) : m_object(object) {}
    ZVariantRef(const char* szText) : m_szText(szText) {}
    template <class T>
    requires(!std::is_convertible_v<const T&, const char*> && !std::is_enum_v<T>) ZVariantRef(const T& value)
        : m_object(ZObjectRef::Of(value))
    {
    }

    bool IsEmpty() const { return m_szText == nullptr && m_object.IsEmpty(); }
    const char* Text() const { return m_szText; }
    const ZObjectRef& Object() const { return m_object; }
    Z_EXPORT void AppendText(ZString& text) const;

private:
    ZObjectRef m_object;
    const char* m_szText = nullptr;
};
