#include "fbx/memory/fbxarena.h"

void FbxArena::Grow(size_t nBytes)
{
    // A request that is large beside a block gets memory of its own size; the rest grows by doubling, so that the
    // unused tail stays below what is in use.
    m_nNext = m_nNext < (size_t(1) << 20) ? m_nNext * 2 : m_nNext;
    const size_t nSize = nBytes > m_nNext / 4 ? nBytes + 64 : m_nNext;
    m_blocks.push_back(std::unique_ptr<std::byte[]>(new std::byte[nSize]));
    m_pBlock = m_blocks.back().get();
    m_nBlock = nSize;
}
