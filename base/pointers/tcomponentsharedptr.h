#pragma once

#include "base/component/icomponentinterface.h"
#include "base/misc/assert.h"

#include <cstdint>
#include <utility>

/// Holds a component and calls its AddRef and Release. Adopt() takes over the reference that creating it gave.
template <class T>
class TComponentSharedPtr
{
public:
    TComponentSharedPtr() = default;
    explicit TComponentSharedPtr(T* pComponent) : m_pComponent(pComponent)
    {
        if (m_pComponent != nullptr)
        {
            [[maybe_unused]] const size_t result = m_pComponent->AddRef();
            ZASSERT(result != SIZE_MAX);
        }
    }
    TComponentSharedPtr(const TComponentSharedPtr& other) : TComponentSharedPtr(other.m_pComponent) {}
    TComponentSharedPtr(TComponentSharedPtr&& other) noexcept : m_pComponent(std::exchange(other.m_pComponent, nullptr))
    {
    }
    TComponentSharedPtr& operator=(TComponentSharedPtr other) noexcept
    {
        std::swap(m_pComponent, other.m_pComponent);
        return *this;
    }
    ~TComponentSharedPtr()
    {
        if (m_pComponent != nullptr)
            m_pComponent->Release();
    }
    static TComponentSharedPtr Adopt(T* pComponent)
    {
        TComponentSharedPtr result;
        result.m_pComponent = pComponent;
        return result;
    }

    T* Get() const { return m_pComponent; }
    T& operator*() const { return *operator->(); }
    T* operator->() const
    {
        ZASSERT_OR_HALT(m_pComponent != nullptr);
        return m_pComponent;
    }
    explicit operator bool() const { return m_pComponent != nullptr; }

private:
    T* m_pComponent = nullptr;
};

/// Sole use of a component for the time of a scope: releases it at the end, and counts nothing.
template <class T>
class TComponentScope
{
public:
    explicit TComponentScope(T* pComponent = nullptr) : m_pComponent(pComponent) {}
    TComponentScope(const TComponentScope&) = delete;
    TComponentScope& operator=(const TComponentScope&) = delete;
    ~TComponentScope() { Release(); }

    void Release()
    {
        if (m_pComponent != nullptr)
            std::exchange(m_pComponent, nullptr)->Release();
    }
    T* Get() const { return m_pComponent; }
    T* operator->() const
    {
        ZASSERT_OR_HALT(m_pComponent != nullptr);
        return m_pComponent;
    }
    explicit operator bool() const { return m_pComponent != nullptr; }

private:
    T* m_pComponent;
};
