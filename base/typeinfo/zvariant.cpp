#include "base/typeinfo/zvariant.h"

#include "base/misc/memory.h"

#include <cstring>

void ZVariant::Set(STypeID* pTypeID, const void* pValue)
{
    ZVariant fresh; // the value may stand in this very variant
    if (pTypeID != nullptr)
    {
        const IType* pType = ZTypeRegistry::GetType(pTypeID);
        ZASSERT(pType != nullptr);
        if (pType == nullptr)
            return Clear();
        if (IsStoredInside(*pType))
        {
            std::memcpy(&fresh.m_nStorage, pValue, pType->Size());
        }
        else
        {
            void* pBlock = GetMemoryManager()->Allocate(pType->Size(), pType->Alignment());
            if (pBlock == nullptr)
                throw std::bad_alloc();
            pType->CopyConstruct(pBlock, pValue);
            fresh.m_nStorage = reinterpret_cast<uintptr_t>(pBlock);
        }
        fresh.m_pTypeID = pTypeID;
    }
    std::swap(m_nStorage, fresh.m_nStorage);
    std::swap(m_pTypeID, fresh.m_pTypeID);
}

void ZVariant::Clear()
{
    if (m_pTypeID == nullptr)
        return;
    const IType* pType = ZTypeRegistry::GetType(m_pTypeID);
    if (pType != nullptr && !IsStoredInside(*pType))
    {
        void* pBlock = reinterpret_cast<void*>(m_nStorage);
        pType->Destruct(pBlock);
        GetMemoryManager()->Free(pBlock);
    }
    m_nStorage = 0;
    m_pTypeID = nullptr;
}

const void* ZVariant::Get() const
{
    const IType* pType = ZTypeRegistry::GetType(m_pTypeID);
    if (pType == nullptr)
        return nullptr;
    return IsStoredInside(*pType) ? static_cast<const void*>(&m_nStorage) : reinterpret_cast<const void*>(m_nStorage);
}
