#pragma once

#include "base/misc/assert.h"

#include <type_traits>
#include <utility>

/// Counted pointer to an object that counts its own references by AddRef and Release: nodes of an XML document. Adopt()
/// takes over the reference that making it gave.
template <class T>
class ZComPtr
{
public:
    ZComPtr() = default;
    explicit ZComPtr(T* pObject) : m_pObject(pObject)
    {
        if (m_pObject != nullptr)
            m_pObject->AddRef();
    }
    ZComPtr(const ZComPtr& other) : ZComPtr(other.m_pObject) {}
    ZComPtr(ZComPtr&& other) noexcept : m_pObject(std::exchange(other.m_pObject, nullptr)) {}
    /// To a base of T.
    template <class TOther>
    requires(!std::is_same_v<TOther, T>) ZComPtr(const ZComPtr<TOther>& other) : ZComPtr(static_cast<T*>(other.Get()))
    {
    }
    ZComPtr& operator=(ZComPtr other) noexcept
    {
        std::swap(m_pObject, other.m_pObject);
        return *this;
    }
    ~ZComPtr()
    {
        if (m_pObject != nullptr)
            m_pObject->Release();
    }
    static ZComPtr Adopt(T* pObject)
    {
        ZComPtr result;
        result.m_pObject = pObject;
        return result;
    }

    T* Get() const { return m_pObject; }
    T* operator->() const
    {
        ZASSERT_OR_HALT(m_pObject != nullptr);
        return m_pObject;
    }
    explicit operator bool() const { return m_pObject != nullptr; }

private:
    T* m_pObject = nullptr;
};
