#pragma once

#include "base/collections/tarray.h"
#include "base/typeinfo/zobjectref.h"

/// Arguments for creating a component: pairs of type and pointer to value, which live with the caller.
class ZComponentCreateInfo
{
public:
    static constexpr size_t MAX_ARGUMENTS = 4;

    ZComponentCreateInfo() = default;
    template <class... T>
    requires(sizeof...(T) <= MAX_ARGUMENTS) static ZComponentCreateInfo Of(const T&... values)
    {
        ZComponentCreateInfo info;
        ((info.m_arguments[info.m_nCount++] = ZObjectRef::Of(values)), ...);
        return info;
    }

    size_t Count() const { return m_nCount; }
    /// Null when there is no such argument or it has another type.
    template <class T>
    const T* Get(size_t nIndex) const
    {
        if (nIndex >= m_nCount || m_arguments[nIndex].GetTypeID() != GetTypeID<T>())
            return nullptr;
        return static_cast<const T*>(m_arguments[nIndex].Get());
    }

private:
    size_t m_nCount = 0;
    ZObjectRef m_arguments[MAX_ARGUMENTS];
};
