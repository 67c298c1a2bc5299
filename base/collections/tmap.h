#pragma once

#include "base/misc/assert.h"
#include "base/misc/memory.h"
#include "base/misc/trace.h"

#include <functional>
#include <map>
#include <utility>

/// Compares in both directions, as the tree's search does: an order that holds both ways would lose entries silently.
template <class TKey>
struct TTwoWayLess
{
    bool operator()(const TKey& a, const TKey& b) const
    {
        const bool bLess = a < b;
        if (bLess && b < a) [[unlikely]]
        {
            ZTRACE(ITraceListener::eTrace_Failure, "TBinaryTreeUtils",
                   "Operator (<) returns true for a < b && b < a. This is bad!");
            ZASSERT_TEXT(!bLess, "!(element < pNode->m_data)");
        }
        return bLess;
    }
};

/// Ordered map on a red-black tree; iteration is in key order. Keys need `<`; one with `==` has a node that was found
/// checked by it.
template <class TKey, class TValue>
class TMap
{
public:
    using TTree = std::map<TKey, TValue, TTwoWayLess<TKey>, TZAllocator<std::pair<const TKey, TValue>>>;
    using TIterator = typename TTree::iterator;
    using TConstIterator = typename TTree::const_iterator;

    size_t Size() const { return m_tree.size(); }
    bool IsEmpty() const { return m_tree.empty(); }
    void Clear() { m_tree.clear(); }

    TValue* Find(const TKey& key)
    {
        const auto it = m_tree.find(key);
        return it == m_tree.end() ? nullptr : (CheckEqual(it->first, key), &it->second);
    }
    const TValue* Find(const TKey& key) const { return const_cast<TMap*>(this)->Find(key); }
    bool Contains(const TKey& key) const { return Find(key) != nullptr; }

    /// Inserts a default value under a key that is not there.
    TValue& operator[](const TKey& key) { return m_tree[key]; }
    /// The failing read: an absent key raises zhalt_exception.
    const TValue& At(const TKey& key) const
    {
        const TValue* pValue = Find(key);
        if (pValue == nullptr)
            throw zhalt_exception();
        return *pValue;
    }
    /// False, and nothing changed, when the key is there already.
    bool Insert(const TKey& key, const TValue& value) { return m_tree.emplace(key, value).second; }
    bool Remove(const TKey& key) { return m_tree.erase(key) != 0; }

    TIterator begin() { return m_tree.begin(); }
    TIterator end() { return m_tree.end(); }
    TConstIterator begin() const { return m_tree.begin(); }
    TConstIterator end() const { return m_tree.end(); }

private:
    static void CheckEqual(const TKey& data, const TKey& element)
    {
        if constexpr (requires { data == element; })
            ZASSERT_TEXT(data == element, "IsEqual(pNode->m_data, element)");
    }

    TTree m_tree;
};
