#pragma once

#include "base/misc/assert.h"

/// Walks a collection forward, once.
template <class T>
class TEnumerator
{
public:
    TEnumerator(T* pStart, T* pEnd) : m_pCurrent(pStart), m_pEnd(pEnd) {}
    template <class TCollection>
    explicit TEnumerator(TCollection& collection)
        : m_pCurrent(collection.GetStart()), m_pEnd(collection.GetStart() + collection.Size())
    {
    }

    bool IsAtEnd() const { return m_pCurrent == m_pEnd; }
    T& Current() const
    {
        ZASSERT_OR_HALT(m_pCurrent != m_pEnd);
        return *m_pCurrent;
    }
    void Next()
    {
        ZASSERT_OR_HALT(m_pCurrent != m_pEnd);
        ++m_pCurrent;
    }

private:
    T* m_pCurrent;
    T* m_pEnd;
};
