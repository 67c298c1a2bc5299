#pragma once

#include "base/misc/export.h"
#include "base/misc/memory.h"
#include "base/typeinfo/zobjectref.h"

#include <cstddef>

/// Root of all components. Created by name through ZComponentManager, ended with Release().
class Z_EXPORT IComponentInterface
{
public:
    virtual ~IComponentInterface() = default;
    virtual ZObjectRef GetVariantRef() = 0;
    virtual size_t AddRef() = 0;
    virtual size_t Release() = 0;
    /// This object as the interface asked for; null when it has none of that kind.
    virtual void* QueryInterface(STypeID* pInterface) = 0;

    static void* operator new(size_t nSize)
    {
        void* pBlock = GetMemoryManager()->Allocate(nSize);
        if (pBlock == nullptr)
            throw std::bad_alloc();
        return pBlock;
    }
    static void operator delete(void* pBlock) { GetMemoryManager()->Free(pBlock); }
};
Z_TYPE_NAME(IComponentInterface, "IComponentInterface");
