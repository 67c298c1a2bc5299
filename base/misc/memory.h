#pragma once

#include "base/misc/export.h"

#include <cstddef>
#include <new>
#include <utility>

/// The stack arrays that size themselves by data stay below this many bytes.
constexpr size_t C_MAX_STACK_ARRAY_ALLOCATION = 131072;

/// `count` elements on the stack of the calling function, not constructed. More than C_MAX_STACK_ARRAY_ALLOCATION bytes
/// fail the assertion, whose text is the caller's, and halt.
#define Z_STACK_ARRAY(type, count, assertionText)                                                                      \
    static_cast<type*>(__builtin_alloca_with_align(CheckStackArray((count) * sizeof(type), assertionText),             \
                                                   8 * (alignof(type) > 16 ? alignof(type) : 16)))
Z_EXPORT size_t CheckStackArray(size_t nBytes, const char* szAssertion);

/// The one heap of a process, shared by host and modules. Safe for several threads.
class ZMemoryManager
{
public:
    /// Null when memory has run out. Alignment is a power of two; 0 means the default, 16.
    Z_EXPORT void* Allocate(size_t nSize, size_t nAlignment = 0);
    Z_EXPORT void Free(void* pBlock);

    /// Blocks that are allocated and not yet freed.
    Z_EXPORT size_t LiveBlockCount() const;
};

Z_EXPORT ZMemoryManager* GetMemoryManager();

/// Where a caller says which heap a block comes from; blocks go back to the allocator that gave them.
class Z_EXPORT IAllocator
{
public:
    virtual void* Allocate(size_t nSize, size_t nAlignment) = 0;
    virtual void Free(void* pBlock) = 0;

protected:
    ~IAllocator() = default;
};

Z_EXPORT IAllocator* GetNormalAllocator();

/// Null when memory has run out.
template <class T, class... TArgs>
T* ZNew(TArgs&&... args)
{
    void* pBlock = GetMemoryManager()->Allocate(sizeof(T), alignof(T));
    if (pBlock == nullptr)
        return nullptr;
    try
    {
        return ::new (pBlock) T(std::forward<TArgs>(args)...);
    }
    catch (...)
    {
        GetMemoryManager()->Free(pBlock);
        throw;
    }
}

template <class T>
void ZDelete(T* pObject)
{
    if (pObject == nullptr)
        return;
    pObject->~T();
    GetMemoryManager()->Free(const_cast<void*>(static_cast<const volatile void*>(pObject)));
}

/// Standard containers on the engine's heap.
template <class T>
struct TZAllocator
{
    using value_type = T;

    TZAllocator() = default;
    template <class TOther>
    TZAllocator(const TZAllocator<TOther>&)
    {
    }

    T* allocate(size_t nCount)
    {
        void* pBlock = nCount <= static_cast<size_t>(-1) / sizeof(T)
                           ? GetMemoryManager()->Allocate(nCount * sizeof(T), alignof(T))
                           : nullptr;
        if (pBlock == nullptr)
            throw std::bad_alloc();
        return static_cast<T*>(pBlock);
    }
    void deallocate(T* pBlock, size_t) { GetMemoryManager()->Free(pBlock); }

    friend bool operator==(const TZAllocator&, const TZAllocator&) { return true; }
};
