#pragma once

#include "base/collections/tarrayref.h"
#include "base/misc/assert.h"
#include "base/misc/memory.h"

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <new>
#include <type_traits>
#include <utility>

/// Growing array of 16 bytes.
///
///   offset size
///      0     8  pointer to the elements, or, with the top bit of the capacity set, the elements themselves
///      8     4  count
///     12     4  capacity
///
/// Elements of up to eight bytes in all stand inside the object: eight bytes, four 16-bit numbers. When full, the
/// capacity grows to capacity + 1 + capacity / 4. An array inside a deserialised block has capacity 0 and a count: it
/// points into the block, owns nothing, and is only read.
template <class T>
class TArray
{
public:
    static constexpr uint32_t INLINE_BIT = 0x80000000u;
    // Elements that may not be moved by copying bytes, or need more alignment than the slot has, always stand outside.
    static constexpr uint32_t INLINE_COUNT =
        std::is_trivially_copyable_v<T> && alignof(T) <= 8 ? static_cast<uint32_t>(8 / sizeof(T)) : 0;

    TArray() = default;
    TArray(std::initializer_list<T> elements) { Append(elements.begin(), elements.size()); }
    explicit TArray(TArrayRef<const T> elements) { Append(elements.GetStart(), elements.Size()); }
    TArray(const TArray& other) { Append(other.GetStart(), other.Size()); }
    TArray(TArray&& other) noexcept { Take(other); }
    ~TArray() { Destroy(); }

    TArray& operator=(const TArray& other)
    {
        if (this != &other)
        {
            Clear();
            Append(other.GetStart(), other.Size());
        }
        return *this;
    }
    TArray& operator=(TArray&& other) noexcept
    {
        if (this != &other)
        {
            Destroy();
            Take(other);
        }
        return *this;
    }

    uint32_t Size() const { return m_uiCount; }
    bool IsEmpty() const { return m_uiCount == 0; }
    uint32_t Capacity() const { return m_uiCapacity & ~INLINE_BIT; }
    bool IsInline() const { return (m_uiCapacity & INLINE_BIT) != 0; }

    T* GetStart() { return IsInline() ? static_cast<T*>(static_cast<void*>(&m_pElements)) : m_pElements; }
    const T* GetStart() const
    {
        return IsInline() ? static_cast<const T*>(static_cast<const void*>(&m_pElements)) : m_pElements;
    }
    T* begin() { return GetStart(); }
    T* end() { return GetStart() + m_uiCount; }
    const T* begin() const { return GetStart(); }
    const T* end() const { return GetStart() + m_uiCount; }

    T& operator[](size_t nIndex)
    {
        ZASSERT_OR_HALT_TEXT(nIndex < m_uiCount, "nIndex < m_uiCount");
        return GetStart()[nIndex];
    }
    const T& operator[](size_t nIndex) const
    {
        ZASSERT_OR_HALT_TEXT(nIndex < m_uiCount, "nIndex < m_uiCount");
        return GetStart()[nIndex];
    }
    T& Last()
    {
        ZASSERT_OR_HALT_TEXT(m_uiCount > 0, "m_uiCount > 0");
        return GetStart()[m_uiCount - 1];
    }
    const T& Last() const { return const_cast<TArray*>(this)->Last(); }

    operator TArrayRef<const T>() const { return {GetStart(), m_uiCount}; }
    TArrayRef<T> Ref() { return {GetStart(), m_uiCount}; }
    TArrayRef<const T> Ref() const { return {GetStart(), m_uiCount}; }

    T& Add(const T& element)
    {
        if (m_uiCount == Capacity())
        {
            T copy(element); // it may stand in this very array
            return Place(std::move(copy));
        }
        return *::new (static_cast<void*>(GetStart() + m_uiCount++)) T(element);
    }
    T& Add(T&& element)
    {
        if (m_uiCount == Capacity())
        {
            T moved(std::move(element));
            return Place(std::move(moved));
        }
        return *::new (static_cast<void*>(GetStart() + m_uiCount++)) T(std::move(element));
    }

    void Append(const T* pElements, size_t nCount)
    {
        if (nCount == 0)
            return;
        Reserve(static_cast<size_t>(m_uiCount) + nCount);
        T* pTo = GetStart() + m_uiCount;
        if constexpr (std::is_trivially_copyable_v<T>)
            std::memcpy(static_cast<void*>(pTo), pElements, nCount * sizeof(T));
        else
            for (size_t i = 0; i < nCount; ++i)
                ::new (static_cast<void*>(pTo + i)) T(pElements[i]);
        m_uiCount += static_cast<uint32_t>(nCount);
    }

    /// At least this capacity; exactly this one when it has to allocate.
    void Reserve(size_t nCapacity)
    {
        if (nCapacity > Capacity() || (nCapacity != 0 && m_uiCapacity == 0))
            SetCapacity(nCapacity);
    }

    /// New elements are value-initialised.
    void Resize(size_t nCount)
    {
        Reserve(nCount);
        T* pElements = GetStart();
        if constexpr (std::is_arithmetic_v<T>)
        {
            if (nCount > m_uiCount)
                std::memset(pElements + m_uiCount, 0, (nCount - m_uiCount) * sizeof(T));
        }
        else
        {
            for (size_t i = m_uiCount; i < nCount; ++i)
                ::new (static_cast<void*>(pElements + i)) T();
        }
        for (size_t i = nCount; i < m_uiCount; ++i)
            pElements[i].~T();
        m_uiCount = static_cast<uint32_t>(nCount);
    }

    /// Destroys the elements and keeps the storage.
    void Clear() { Resize(0); }

    void RemoveAt(size_t nIndex)
    {
        ZASSERT_OR_HALT_TEXT(nIndex < m_uiCount, "nIndex < m_uiCount");
        T* pElements = GetStart();
        for (size_t i = nIndex + 1; i < m_uiCount; ++i)
            pElements[i - 1] = std::move(pElements[i]);
        pElements[--m_uiCount].~T();
    }

    friend bool operator==(const TArray& a, const TArray& b)
    {
        if (a.m_uiCount != b.m_uiCount)
            return false;
        const T* pA = a.GetStart();
        const T* pB = b.GetStart();
        if (pA == pB)
            return true;
        if constexpr (std::is_integral_v<T>)
            return a.m_uiCount == 0 || std::memcmp(pA, pB, a.m_uiCount * sizeof(T)) == 0;
        for (uint32_t i = 0; i < a.m_uiCount; ++i)
            if (!(pA[i] == pB[i]))
                return false;
        return true;
    }

private:
    T& Place(T&& element)
    {
        const size_t nCapacity = Capacity();
        SetCapacity(nCapacity + 1 + nCapacity / 4);
        return *::new (static_cast<void*>(GetStart() + m_uiCount++)) T(std::move(element));
    }

    void SetCapacity(size_t nNewcapacity)
    {
        ZASSERT_OR_HALT_TEXT(nNewcapacity < INLINE_BIT, "nNewcapacity < (1 << 31)");
        if (nNewcapacity <= INLINE_COUNT && m_uiCapacity == 0 && m_uiCount == 0)
        {
            m_uiCapacity = INLINE_BIT | INLINE_COUNT;
            return;
        }
        T* pOld = GetStart();
        T* pNew = static_cast<T*>(GetMemoryManager()->Allocate(nNewcapacity * sizeof(T), alignof(T)));
        if (pNew == nullptr)
            throw std::bad_alloc();
        if constexpr (std::is_trivially_copyable_v<T>)
        {
            if (m_uiCount != 0)
                std::memcpy(static_cast<void*>(pNew), pOld, m_uiCount * sizeof(T));
        }
        else
        {
            for (uint32_t i = 0; i < m_uiCount; ++i)
            {
                ::new (static_cast<void*>(pNew + i)) T(std::move(pOld[i]));
                pOld[i].~T();
            }
        }
        if (!IsInline() && m_uiCapacity != 0)
            GetMemoryManager()->Free(pOld);
        m_pElements = pNew;
        m_uiCapacity = static_cast<uint32_t>(nNewcapacity);
    }

    void Destroy()
    {
        if (m_uiCapacity == 0)
            return; // nothing, or elements that a deserialised block owns
        T* pElements = GetStart();
        if constexpr (!std::is_trivially_destructible_v<T>)
            for (uint32_t i = 0; i < m_uiCount; ++i)
                pElements[i].~T();
        if (!IsInline())
            GetMemoryManager()->Free(pElements);
        m_pElements = nullptr;
        m_uiCount = 0;
        m_uiCapacity = 0;
    }

    void Take(TArray& other)
    {
        m_pElements = std::exchange(other.m_pElements, nullptr);
        m_uiCount = std::exchange(other.m_uiCount, 0u);
        m_uiCapacity = std::exchange(other.m_uiCapacity, 0u);
    }

    T* m_pElements = nullptr;
    uint32_t m_uiCount = 0;
    uint32_t m_uiCapacity = 0;
};

/// What all arrays have in common, for code that walks them by reflection.
struct SArrayLayout
{
    uint64_t nPointerOrElements;
    uint32_t uiCount;
    uint32_t uiCapacity;
};
static_assert(sizeof(TArray<int>) == 16 && sizeof(SArrayLayout) == 16, "packed records hold arrays in place");
