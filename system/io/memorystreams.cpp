#include "system/io/memorystreams.h"

#include <algorithm>

ZMemoryInputStream::ZMemoryInputStream(ZComponentCreateInfo& info)
{
    const auto* pBytes = info.Get<TArrayRef<const uint8_t>>(0);
    ZASSERT(pBytes != nullptr);
    m_bOpen = pBytes != nullptr;
    if (pBytes != nullptr)
        m_bytes = *pBytes;
}

size_t ZMemoryInputStream::Read(void* pBuffer, size_t nSize)
{
    const size_t nRead = std::min(nSize, m_bytes.Size() - m_nPosition);
    if (nRead != 0)
        std::memcpy(pBuffer, m_bytes.GetStart() + m_nPosition, nRead);
    m_nPosition += nRead;
    return nRead;
}

ZMemoryOutputStream::ZMemoryOutputStream(ZComponentCreateInfo& info)
{
    TArray<uint8_t>* const* ppBytes = info.Get<TArray<uint8_t>*>(0);
    ZASSERT(ppBytes != nullptr);
    m_pBytes = ppBytes != nullptr ? *ppBytes : nullptr;
}

size_t ZMemoryOutputStream::Write(const void* pBuffer, size_t nSize)
{
    if (m_pBytes == nullptr || nSize == 0)
        return 0;
    // Many small writes must not copy what is there each time.
    const size_t nNeeded = static_cast<size_t>(m_pBytes->Size()) + nSize;
    if (nNeeded > m_pBytes->Capacity())
        m_pBytes->Reserve(std::max<size_t>(nNeeded, static_cast<size_t>(m_pBytes->Capacity()) * 5 / 4 + 1));
    m_pBytes->Append(static_cast<const uint8_t*>(pBuffer), nSize);
    return nSize;
}
