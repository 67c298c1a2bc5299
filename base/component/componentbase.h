#pragma once

#include "base/component/icomponentinterface.h"
#include "base/misc/zsystem.h"

#include <atomic>
#include <cstddef>
#include <iterator>

/// One interface of a component class: its identity and how far its part of an object stands from the object's start.
struct SInterfaceEntry
{
    STypeID* m_pTypeID;
    ptrdiff_t m_nAdjustment;
};

/// The table that QueryInterface walks; ends in a null identity. Built at the first call, safely against threads: a
/// word goes 0, 1, 2, whoever moves it from 0 to 1 fills the table, the others wait until it is 2.
template <class TClass, class... TInterfaces>
class TInterfaceTable
{
public:
    static void* Query(TClass* pObject, STypeID* pInterface)
    {
        for (const SInterfaceEntry* pEntry = Entries(); pEntry->m_pTypeID != nullptr; ++pEntry)
            if (pEntry->m_pTypeID == pInterface)
                return reinterpret_cast<char*>(pObject) + pEntry->m_nAdjustment;
        return nullptr;
    }

private:
    template <class TInterface>
    static ptrdiff_t Adjustment()
    {
        // Any address but null: a cast of null stays null.
        auto* pObject = reinterpret_cast<TClass*>(static_cast<uintptr_t>(4096));
        return reinterpret_cast<char*>(static_cast<TInterface*>(pObject)) - reinterpret_cast<char*>(pObject);
    }

    static const SInterfaceEntry* Entries()
    {
        static SInterfaceEntry s_entries[sizeof...(TInterfaces) + 1];
        static constinit std::atomic<int> s_nState{0};
        if (s_nState.load(std::memory_order_acquire) != 2)
        {
            int nExpected = 0;
            if (s_nState.compare_exchange_strong(nExpected, 1))
            {
                size_t n = 0;
                ((s_entries[n++] = {GetTypeID<TInterfaces>(), Adjustment<TInterfaces>()}), ...);
                s_entries[n] = {nullptr, 0};
                s_nState.store(2, std::memory_order_release);
            }
            while (s_nState.load(std::memory_order_acquire) != 2)
                ZThread::DoYield();
        }
        return s_entries;
    }
};

/// Components that count references: streams, serialisers.
template <class TClass, class TInterface>
class TCountedComponent : public TInterface
{
public:
    ZObjectRef GetVariantRef() override { return {static_cast<TClass*>(this), GetTypeID<TInterface>()}; }
    size_t AddRef() override { return m_nReferences.fetch_add(1, std::memory_order_relaxed) + 1; }
    size_t Release() override
    {
        const size_t nLeft = m_nReferences.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (nLeft == 0)
            delete static_cast<TClass*>(this);
        return nLeft;
    }
    void* QueryInterface(STypeID* pInterface) override
    {
        return TInterfaceTable<TClass, TInterface, IComponentInterface>::Query(static_cast<TClass*>(this), pInterface);
    }

private:
    std::atomic<size_t> m_nReferences{1};
};
