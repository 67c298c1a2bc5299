#pragma once

#include "base/misc/assert.h"
#include "base/misc/memory.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <utility>

/// Uses of an object, and links to it; the uses hold one weak count together.
struct SSharedCounts
{
    std::atomic<uint32_t> nUses{1};
    std::atomic<uint32_t> nWeak{1};
};

/// Shared pointer of two words: the object and its counts. Counts are atomic, the object is not guarded.
template <class T>
class TSharedPtr
{
public:
    TSharedPtr() = default;
    TSharedPtr(std::nullptr_t) {}
    TSharedPtr(const TSharedPtr& other) : m_pObject(other.m_pObject), m_pCounts(other.m_pCounts)
    {
        if (m_pCounts != nullptr)
            m_pCounts->nUses.fetch_add(1, std::memory_order_relaxed);
    }
    TSharedPtr(TSharedPtr&& other) noexcept
        : m_pObject(std::exchange(other.m_pObject, nullptr)), m_pCounts(std::exchange(other.m_pCounts, nullptr))
    {
    }
    TSharedPtr& operator=(TSharedPtr other) noexcept
    {
        std::swap(m_pObject, other.m_pObject);
        std::swap(m_pCounts, other.m_pCounts);
        return *this;
    }
    ~TSharedPtr()
    {
        if (m_pCounts != nullptr && m_pCounts->nUses.fetch_sub(1, std::memory_order_acq_rel) == 1)
        {
            ZDelete(m_pObject);
            if (m_pCounts->nWeak.fetch_sub(1, std::memory_order_acq_rel) == 1)
                ZDelete(m_pCounts);
        }
    }

    template <class... TArgs>
    static TSharedPtr Create(TArgs&&... args)
    {
        TSharedPtr result;
        SSharedCounts* pCounts = ZNew<SSharedCounts>();
        T* pObject = nullptr;
        try
        {
            pObject = pCounts != nullptr ? ZNew<T>(std::forward<TArgs>(args)...) : nullptr;
        }
        catch (...)
        {
            ZDelete(pCounts);
            throw;
        }
        if (pObject == nullptr)
        {
            ZDelete(pCounts);
            throw std::bad_alloc();
        }
        result.m_pObject = pObject;
        result.m_pCounts = pCounts;
        return result;
    }

    T* Get() const { return m_pObject; }
    T& operator*() const { return *operator->(); }
    T* operator->() const
    {
        ZASSERT_OR_HALT(this->Get() != nullptr);
        return m_pObject;
    }
    explicit operator bool() const { return m_pObject != nullptr; }
    friend bool operator==(const TSharedPtr& a, const TSharedPtr& b) { return a.m_pObject == b.m_pObject; }
    friend bool operator==(const TSharedPtr& a, std::nullptr_t) { return a.m_pObject == nullptr; }

    uint32_t UseCount() const { return m_pCounts != nullptr ? m_pCounts->nUses.load() : 0; }

private:
    template <class TOther>
    friend class TWeakPtr;

    T* m_pObject = nullptr;
    SSharedCounts* m_pCounts = nullptr;
};

/// A link that does not keep its object alive: back to a parent, say. Lock() gives null once the object is gone.
template <class T>
class TWeakPtr
{
public:
    TWeakPtr() = default;
    TWeakPtr(const TSharedPtr<T>& shared) : m_pObject(shared.m_pObject), m_pCounts(shared.m_pCounts) { Hold(); }
    TWeakPtr(const TWeakPtr& other) : m_pObject(other.m_pObject), m_pCounts(other.m_pCounts) { Hold(); }
    TWeakPtr& operator=(TWeakPtr other) noexcept
    {
        std::swap(m_pObject, other.m_pObject);
        std::swap(m_pCounts, other.m_pCounts);
        return *this;
    }
    ~TWeakPtr()
    {
        if (m_pCounts != nullptr && m_pCounts->nWeak.fetch_sub(1, std::memory_order_acq_rel) == 1)
            ZDelete(m_pCounts);
    }

    TSharedPtr<T> Lock() const
    {
        TSharedPtr<T> result;
        if (m_pCounts == nullptr)
            return result;
        uint32_t nUses = m_pCounts->nUses.load();
        while (nUses != 0 && !m_pCounts->nUses.compare_exchange_weak(nUses, nUses + 1))
        {
        }
        if (nUses != 0)
        {
            result.m_pObject = m_pObject;
            result.m_pCounts = m_pCounts;
        }
        return result;
    }

private:
    void Hold()
    {
        if (m_pCounts != nullptr)
            m_pCounts->nWeak.fetch_add(1, std::memory_order_relaxed);
    }

    T* m_pObject = nullptr;
    SSharedCounts* m_pCounts = nullptr;
};
