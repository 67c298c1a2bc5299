#pragma once

#include "base/misc/assert.h"
#include "base/misc/memory.h"

#include <utility>

/// Sole owner of an object that ZNew made.
template <class T>
class TUniquePtr
{
public:
    TUniquePtr() = default;
    explicit TUniquePtr(T* pObject) : m_ptr(pObject) {}
    TUniquePtr(TUniquePtr&& other) noexcept : m_ptr(std::exchange(other.m_ptr, nullptr)) {}
    TUniquePtr& operator=(TUniquePtr&& other) noexcept
    {
        std::swap(m_ptr, other.m_ptr);
        return *this;
    }
    ~TUniquePtr() { ZDelete(m_ptr); }

    T* Get() const { return m_ptr; }
    T& operator*() const { return *operator->(); }
    T* operator->() const
    {
        ZASSERT_OR_HALT(this->m_ptr != nullptr);
        return m_ptr;
    }
    explicit operator bool() const { return m_ptr != nullptr; }

private:
    T* m_ptr = nullptr;
};
