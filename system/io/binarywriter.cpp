#include "system/io/binarywriter.h"

#include <algorithm>

ZBinaryWriter::ZBinaryWriter(ZComponentCreateInfo& info)
{
    IOutputStream* const* ppStream = info.Get<IOutputStream*>(0);
    const bool* pSwap = info.Get<bool>(1);
    ZASSERT(ppStream != nullptr && pSwap != nullptr);
    m_pStream = ppStream != nullptr ? *ppStream : nullptr;
    m_bSwap = pSwap != nullptr && *pSwap;
}

template <class T>
void ZBinaryWriter::Write(const T* pValues, size_t nCount)
{
    if (m_pStream == nullptr)
        return;
    if (!m_bSwap || sizeof(T) == 1)
    {
        m_pStream->Write(pValues, nCount * sizeof(T));
        return;
    }
    // Through a buffer on the stack: the caller's values stay as they are.
    constexpr size_t nChunk = 4096 / sizeof(T);
    T buffer[nChunk];
    for (size_t nDone = 0; nDone < nCount;)
    {
        const size_t n = std::min(nChunk, nCount - nDone);
        std::memcpy(buffer, pValues + nDone, n * sizeof(T));
        SwapNumbers(buffer, sizeof(T), n);
        m_pStream->Write(buffer, n * sizeof(T));
        nDone += n;
    }
}
