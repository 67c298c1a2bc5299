#pragma once

#include "base/misc/assert.h"
#include "base/misc/memory.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <utility>

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
            // The uses hold one weak count together.
            if (m_pCounts->nWeak.fetch_sub(1, std::memory_order_acq_rel) == 1)
                ZDelete(m_pCounts);
        }
    }

    template <class... TArgs>
    static TSharedPtr Create(TArgs&&... args)
    {
        TSharedPtr result;
        SCounts* pCounts = ZNew<SCounts>();
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
    struct SCounts
    {
        std::atomic<uint32_t> nUses{1};
        std::atomic<uint32_t> nWeak{1};
    };

    T* m_pObject = nullptr;
    SCounts* m_pCounts = nullptr;
};
