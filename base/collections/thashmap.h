#pragma once

#include "base/misc/memory.h"
#include "base/misc/zstring.h"

#include <unordered_map>
#include <utility>

/// A key's own GetHashCode(), or its value when it is a 32-bit hash already.
template <class TKey>
struct TDefaultHashMapPolicy
{
    size_t operator()(const TKey& key) const
    {
        if constexpr (requires { key.GetHashCode(); })
            return key.GetHashCode();
        else
            return static_cast<size_t>(key);
    }
};

/// Unordered map. Nothing that reaches output may follow its order of iteration.
template <class TKey, class TValue, class TPolicy = TDefaultHashMapPolicy<TKey>>
class THashMap
{
public:
    using TTable =
        std::unordered_map<TKey, TValue, TPolicy, std::equal_to<TKey>, TZAllocator<std::pair<const TKey, TValue>>>;

    size_t Size() const { return m_table.size(); }
    bool IsEmpty() const { return m_table.empty(); }
    void Clear() { m_table.clear(); }
    void Reserve(size_t nCount) { m_table.reserve(nCount); }

    TValue* Find(const TKey& key)
    {
        const auto it = m_table.find(key);
        return it == m_table.end() ? nullptr : &it->second;
    }
    const TValue* Find(const TKey& key) const { return const_cast<THashMap*>(this)->Find(key); }
    bool Contains(const TKey& key) const { return Find(key) != nullptr; }
    TValue& operator[](const TKey& key) { return m_table[key]; }
    /// False, and nothing changed, when the key is there already.
    bool Insert(const TKey& key, const TValue& value) { return m_table.emplace(key, value).second; }

    auto begin() { return m_table.begin(); }
    auto end() { return m_table.end(); }
    auto begin() const { return m_table.begin(); }
    auto end() const { return m_table.end(); }

private:
    TTable m_table;
};
