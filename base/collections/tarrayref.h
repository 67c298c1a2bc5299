#pragma once

#include "base/misc/assert.h"

#include <cstddef>

/// Pointer and count, no ownership; read-only when the element type is const. Whoever made it keeps the elements alive.
template <class T>
class TArrayRef
{
public:
    TArrayRef() = default;
    TArrayRef(T* pStart, size_t nCount) : m_pStart(pStart), m_nCount(nCount) {}
    template <size_t N>
    TArrayRef(T (&elements)[N]) : m_pStart(elements), m_nCount(N)
    {
    }

    operator TArrayRef<const T>() const { return {m_pStart, m_nCount}; }

    size_t Size() const { return m_nCount; }
    bool IsEmpty() const { return m_nCount == 0; }
    T* GetStart() const { return m_pStart; }
    T* GetEnd() const { return m_pStart + m_nCount; }
    T* begin() const { return GetStart(); }
    T* end() const { return GetEnd(); }

    T& operator[](size_t nIndex) const
    {
        ZASSERT_OR_HALT_TEXT(nIndex < m_nCount, "m_pStart + nIndex < GetEnd()");
        return m_pStart[nIndex];
    }

private:
    T* m_pStart = nullptr;
    size_t m_nCount = 0;
};
