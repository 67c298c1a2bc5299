#pragma once

#include "fbx/file/fbxrecord.h"

#include <memory>
#include <vector>

struct libdeflate_decompressor;

/// Bytes of an array's element by its letter, 0 for letters of other values.
constexpr size_t FbxElementSize(char letter)
{
    switch (letter)
    {
    case 'l':
    case 'd':
        return 8;
    case 'i':
    case 'f':
        return 4;
    case 'b':
    case 'c':
        return 1;
    default:
        return 0;
    }
}

/// An array as its file stores it.
struct SFbxStoredArray
{
    const char* p = nullptr; ///< elements, deflated or not
    size_t nBytes = 0;       ///< as stored
    size_t nDecoded = 0;
    uint32_t nCount = 0;
    char type = 0;
    bool bDeflated = false;
    bool bNative = false; ///< in this machine's byte order
};

/// Unpacks arrays of a file.
class FbxArrayDecoder
{
public:
    explicit FbxArrayDecoder(bool bBigEndian) : m_bBigEndian(bBigEndian) {}

    /// Of a value that is an array: the reader of records has checked that all of it lies in the file.
    SFbxStoredArray Open(const SFbxValue& value) const;
    /// Elements in their own type and this machine's byte order, nDecoded bytes in pOut. False when they are damaged.
    bool Decode(const SFbxStoredArray& array, void* pOut);

private:
    struct SFree
    {
        void operator()(libdeflate_decompressor* p) const;
    };
    std::unique_ptr<libdeflate_decompressor, SFree> m_pInflate; ///< once it is needed
    bool m_bBigEndian;
};

/// Elements of arrays in this machine's byte order, whatever the file stores. Stays below 64 times the file's size plus
/// 256 MB for all arrays together.
class FbxArrayBytes
{
public:
    FbxArrayBytes(size_t nFileBytes, bool bBigEndian)
        : m_decoder(bBigEndian), m_nBudget(uint64_t(nFileBytes) * 64 + (uint64_t(256) << 20))
    {
    }

    /// Null when the array's bytes are damaged, or the budget is spent. Valid until the next call.
    const char* Decode(const SFbxValue& value);

private:
    FbxArrayDecoder m_decoder;
    uint64_t m_nBudget;
    std::vector<char> m_bytes;
};
