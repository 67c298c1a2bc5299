#pragma once

#include "base/misc/export.h"

#include <atomic>
#include <cstdint>
#include <type_traits>

class IType;

/// Identity of a type, compared by pointer. One exists for each type name in a process, whichever library asks.
struct STypeID
{
    const char* m_szName;
    uint32_t m_nHash;                           ///< of the name; what serialised data hold
    std::atomic<const IType*> m_pType{nullptr}; ///< set by ZTypeRegistry::Register
};

/// One type that a library uses: a name and the slot that SharedInitTypeIDs fills.
struct STypeIDEntry
{
    const char* (*m_pName)();
    std::atomic<STypeID*> m_pTypeID;
};

/// Fills the slots of a library's table, so that the same type has one identity across libraries. Safe to repeat.
Z_EXPORT void SharedInitTypeIDs(STypeIDEntry* const* ppBegin, STypeIDEntry* const* ppEnd);

/// The identity whose name has this hash; null when no library has asked for such a type.
Z_EXPORT STypeID* FindTypeIDByHash(uint32_t nHash);

/// Name of a type in the registry: Z_TYPE_NAME gives it for a plain type, TTypeName is specialised for templates.
template <class T>
struct TTypeName;

#define Z_TYPE_NAME(type, name)                                                                                        \
    template <>                                                                                                        \
    struct TTypeName<type>                                                                                             \
    {                                                                                                                  \
        static const char* Get() { return name; }                                                                      \
    }

Z_TYPE_NAME(bool, "bool");
Z_TYPE_NAME(int8_t, "int8");
Z_TYPE_NAME(uint8_t, "uint8");
Z_TYPE_NAME(int16_t, "int16");
Z_TYPE_NAME(uint16_t, "uint16");
Z_TYPE_NAME(int32_t, "int32");
Z_TYPE_NAME(uint32_t, "uint32");
Z_TYPE_NAME(int64_t, "int64");
Z_TYPE_NAME(uint64_t, "uint64");
Z_TYPE_NAME(float, "float32");
Z_TYPE_NAME(double, "float64");
Z_TYPE_NAME(STypeID*, "STypeID");

/// Builds "Name<arg>", "Name<arg,arg>" or "Name<arg,number>" once, in a buffer of 255 characters. A longer name is cut.
class ZTypeNameBuilder
{
public:
    Z_EXPORT ZTypeNameBuilder(const char* szTemplate, const char* const* pArguments, int nArguments);
    Z_EXPORT ZTypeNameBuilder(const char* szTemplate, const char* szArgument, unsigned int nNumber);
    const char* Get() const { return m_szName; }

private:
    char m_szName[255];
};

template <class T>
struct TTypeIDEntry
{
    static inline STypeIDEntry s_entry{&TTypeName<T>::Get, nullptr};
};

template <class T>
STypeID* GetTypeID()
{
    using TPlain = std::remove_cv_t<T>;
    STypeIDEntry& entry = TTypeIDEntry<TPlain>::s_entry;
    STypeID* pTypeID = entry.m_pTypeID.load(std::memory_order_acquire);
    if (pTypeID == nullptr) [[unlikely]]
    {
        STypeIDEntry* pEntry = &entry;
        SharedInitTypeIDs(&pEntry, &pEntry + 1);
        pTypeID = entry.m_pTypeID.load(std::memory_order_acquire);
    }
    return pTypeID;
}

/// A library's table of the types that it uses, handed to SharedInitTypeIDs when it loads.
template <class... T>
struct TTypeIDTable
{
    TTypeIDTable()
    {
        STypeIDEntry* const entries[] = {&TTypeIDEntry<T>::s_entry...};
        SharedInitTypeIDs(entries, entries + sizeof...(T));
    }
};
