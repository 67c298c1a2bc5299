#include "fbx/file/fbxarraybytes.h"

#include <libdeflate.h>

#include <cstring>

namespace
{

uint32_t LoadWord(const char* p, bool bBigEndian)
{
    uint32_t n;
    std::memcpy(&n, p, 4);
    return bBigEndian ? __builtin_bswap32(n) : n;
}

template <class T>
void SwapAll(void* pElements, size_t nCount)
{
    char* p = static_cast<char*>(pElements);
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

void FbxArrayDecoder::SFree::operator()(libdeflate_decompressor* p) const
{
    libdeflate_free_decompressor(p);
}

SFbxStoredArray FbxArrayDecoder::Open(const SFbxValue& value) const
{
    SFbxStoredArray array;
    array.type = value.type;
    array.nCount = value.n;
    array.nDecoded = size_t(value.n) * FbxElementSize(value.type);
    array.bNative = value.bNative;
    array.p = value.p;
    array.nBytes = array.nDecoded;
    if (!value.bNative)
    {
        array.bDeflated = LoadWord(value.p + 4, m_bBigEndian) == 1;
        array.p = value.p + 12;
        if (array.bDeflated)
            array.nBytes = LoadWord(value.p + 8, m_bBigEndian);
    }
    return array;
}

bool FbxArrayDecoder::Decode(const SFbxStoredArray& array, void* pOut)
{
    if (!array.bDeflated)
    {
        if (array.nDecoded > 0)
            std::memcpy(pOut, array.p, array.nDecoded);
    }
    else
    {
        if (!m_pInflate)
            m_pInflate.reset(libdeflate_alloc_decompressor());
        if (!m_pInflate || libdeflate_zlib_decompress(m_pInflate.get(), array.p, array.nBytes, pOut, array.nDecoded,
                                                      nullptr) != LIBDEFLATE_SUCCESS)
            return false;
    }
    if (m_bBigEndian && !array.bNative && FbxElementSize(array.type) == 8)
        SwapAll<uint64_t>(pOut, array.nCount);
    else if (m_bBigEndian && !array.bNative && FbxElementSize(array.type) == 4)
        SwapAll<uint32_t>(pOut, array.nCount);
    return true;
}

const char* FbxArrayBytes::Decode(const SFbxValue& value)
{
    if (value.bNative)
        return value.p;
    const SFbxStoredArray array = m_decoder.Open(value);
    if (array.nDecoded > m_nBudget)
        return nullptr;
    m_nBudget -= array.nDecoded;
    m_bytes.resize(array.nDecoded + 1); // never without memory, even for an empty array
    return m_decoder.Decode(array, m_bytes.data()) ? m_bytes.data() : nullptr;
}
