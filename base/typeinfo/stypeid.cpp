#include "base/typeinfo/stypeid.h"

#include "base/misc/assert.h"
#include "base/misc/hash.h"

#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace
{

/// Leaked on purpose: identities outlive every static object that may still print one.
struct STypeTable
{
    std::mutex mutex;
    std::map<std::string, STypeID*> byName;
    std::map<uint32_t, STypeID*> byHash;
};

STypeTable& Table()
{
    static STypeTable* s_pTable = new STypeTable;
    return *s_pTable;
}

} // namespace

void SharedInitTypeIDs(STypeIDEntry* const* ppBegin, STypeIDEntry* const* ppEnd)
{
    STypeTable& table = Table();
    for (; ppBegin != ppEnd; ++ppBegin)
    {
        const char* szName = (*ppBegin)->m_pName(); // may build the name of an argument type first
        const std::lock_guard lock(table.mutex);
        auto [it, bNew] = table.byName.emplace(szName, nullptr);
        if (bNew)
        {
            auto* pTypeID = new STypeID{it->first.c_str(), HashBytes(szName, std::strlen(szName))};
            // Serialised data name types by hash alone.
            ZASSERT_TEXT(table.byHash.emplace(pTypeID->m_nHash, pTypeID).second, "type name hashes are distinct");
            it->second = pTypeID;
        }
        (*ppBegin)->m_pTypeID.store(it->second, std::memory_order_release);
    }
}

STypeID* FindTypeIDByHash(uint32_t nHash)
{
    STypeTable& table = Table();
    const std::lock_guard lock(table.mutex);
    const auto it = table.byHash.find(nHash);
    return it == table.byHash.end() ? nullptr : it->second;
}

ZTypeNameBuilder::ZTypeNameBuilder(const char* szTemplate, const char* const* pArguments, int argCount)
{
    ZASSERT(argCount < 4);
    if (argCount == 1)
        std::snprintf(m_szName, sizeof m_szName, "%s<%s>", szTemplate, pArguments[0]);
    else
        std::snprintf(m_szName, sizeof m_szName, "%s<%s,%s>", szTemplate, pArguments[0], pArguments[1]);
}

ZTypeNameBuilder::ZTypeNameBuilder(const char* szTemplate, const char* szArgument, unsigned int nNumber)
{
    std::snprintf(m_szName, sizeof m_szName, "%s<%s,%u>", szTemplate, szArgument, nNumber);
}
