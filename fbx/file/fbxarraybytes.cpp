#include "fbx/file/fbxdocument.h"

#include <libdeflate.h>

#include <cstring>
#include <memory>

namespace
{

uint32_t LoadWord(const char* p, bool bBigEndian)
{
    uint32_t n;
    std::memcpy(&n, p, 4);
    return bBigEndian ? __builtin_bswap32(n) : n;
}

template <class T>
void SwapAll(char* p, size_t nCount)
{
    for (size_t n = 0; n < nCount; ++n, p += sizeof(T))
    {
        T value;
        std::memcpy(&value, p, sizeof value);
        if constexpr (sizeof(T) == 8)
            value = __builtin_bswap64(value);
        else
            value = __builtin_bswap32(value);
        std::memcpy(p, &value, sizeof value);
    }
}

} // namespace

const char* FbxArrayBytes::Decode(const SFbxValue& array)
{
    if (array.bNative)
        return array.p;
    const size_t nElement = ElementSize(array.type);
    const uint64_t nBytes = uint64_t(array.n) * nElement;
    if (nBytes > m_nBudget)
        return nullptr;
    m_nBudget -= nBytes;
    m_bytes.resize(static_cast<size_t>(nBytes) + 1); // never without memory, even for an empty array
    if (LoadWord(array.p + 4, m_bBigEndian) == 1)
    {
        const std::unique_ptr<libdeflate_decompressor, void (*)(libdeflate_decompressor*)> pInflate(
            libdeflate_alloc_decompressor(), &libdeflate_free_decompressor);
        if (!pInflate ||
            libdeflate_zlib_decompress(pInflate.get(), array.p + 12, LoadWord(array.p + 8, m_bBigEndian),
                                       m_bytes.data(), static_cast<size_t>(nBytes), nullptr) != LIBDEFLATE_SUCCESS)
            return nullptr;
    }
    else
        std::memcpy(m_bytes.data(), array.p + 12, static_cast<size_t>(nBytes));
    if (m_bBigEndian && nElement == 8)
        SwapAll<uint64_t>(m_bytes.data(), array.n);
    else if (m_bBigEndian && nElement == 4)
        SwapAll<uint32_t>(m_bytes.data(), array.n);
    return m_bytes.data();
}
