#include "base/misc/memory.h"

#include "base/misc/assert.h"

#include <atomic>
#include <cstdlib>

namespace
{

std::atomic<size_t> g_nLiveBlocks{0};

class ZNormalAllocator final : public IAllocator
{
public:
    void* Allocate(size_t nSize, size_t nAlignment) override { return GetMemoryManager()->Allocate(nSize, nAlignment); }
    void Free(void* pBlock) override { GetMemoryManager()->Free(pBlock); }
};

} // namespace

size_t CheckStackArray(size_t nBytes, const char* szAssertion)
{
    ZASSERT_OR_HALT_TEXT(nBytes <= C_MAX_STACK_ARRAY_ALLOCATION, szAssertion);
    return nBytes != 0 ? nBytes : 1;
}

void* ZMemoryManager::Allocate(size_t nSize, size_t nAlignment)
{
    constexpr size_t nDefault = alignof(std::max_align_t);
    void* pBlock = nullptr;
    if (nAlignment <= nDefault)
        pBlock = std::malloc(nSize != 0 ? nSize : 1);
    else if (posix_memalign(&pBlock, nAlignment, nSize) != 0)
        pBlock = nullptr;
    if (pBlock != nullptr)
        g_nLiveBlocks.fetch_add(1, std::memory_order_relaxed);
    return pBlock;
}

void ZMemoryManager::Free(void* pBlock)
{
    if (pBlock == nullptr)
        return;
    g_nLiveBlocks.fetch_sub(1, std::memory_order_relaxed);
    std::free(pBlock);
}

size_t ZMemoryManager::LiveBlockCount() const
{
    return g_nLiveBlocks.load(std::memory_order_relaxed);
}

ZMemoryManager* GetMemoryManager()
{
    static ZMemoryManager s_manager;
    return &s_manager;
}

IAllocator* GetNormalAllocator()
{
    static ZNormalAllocator s_allocator;
    return &s_allocator;
}
