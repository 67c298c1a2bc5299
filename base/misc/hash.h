#pragma once

#include <cstddef>
#include <cstdint>

/// A to Z only: bytes of UTF-8 beyond ASCII stand for themselves in every comparison of this code base.
constexpr char FoldCase(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

/// FNV-1a over bytes, 32 bits. Packed data hold it: bone uids, property names, type names.
constexpr uint32_t HashBytes(const char* pBytes, size_t nCount, bool bFoldCase = false)
{
    uint32_t nHash = 2166136261u;
    for (size_t i = 0; i < nCount; ++i)
        nHash = (nHash ^ static_cast<uint8_t>(bFoldCase ? FoldCase(pBytes[i]) : pBytes[i])) * 16777619u;
    return nHash;
}
