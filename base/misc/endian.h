#pragma once

#include <bit>
#include <concepts>
#include <cstdint>
#include <cstring>

/// Byte order of a target, the platform class of packed resources.
enum EEndian : int
{
    eEndian_Big = 0,
    eEndian_Little = 1
};

constexpr EEndian NATIVE_ENDIAN = std::endian::native == std::endian::little ? eEndian_Little : eEndian_Big;

constexpr uint8_t SwapBytes(uint8_t n)
{
    return n;
}
constexpr uint16_t SwapBytes(uint16_t n)
{
    return __builtin_bswap16(n);
}
constexpr uint32_t SwapBytes(uint32_t n)
{
    return __builtin_bswap32(n);
}
constexpr uint64_t SwapBytes(uint64_t n)
{
    return __builtin_bswap64(n);
}

/// Reads and writes at any address, in the byte order given.
template <std::unsigned_integral T>
T LoadEndian(const void* pFrom, EEndian eEndian)
{
    T n;
    std::memcpy(&n, pFrom, sizeof n);
    return eEndian == NATIVE_ENDIAN ? n : SwapBytes(n);
}
template <std::unsigned_integral T>
void StoreEndian(void* pTo, T n, EEndian eEndian)
{
    if (eEndian != NATIVE_ENDIAN)
        n = SwapBytes(n);
    std::memcpy(pTo, &n, sizeof n);
}

/// Swaps nCount numbers of nWidth bytes each (1, 2, 4 or 8), which need not be aligned.
inline void SwapNumbers(void* pNumbers, size_t nWidth, size_t nCount)
{
    auto* p = static_cast<uint8_t*>(pNumbers);
    const auto swapAll = [p, nCount](auto zero)
    {
        for (size_t i = 0; i < nCount; ++i)
        {
            std::memcpy(&zero, p + i * sizeof zero, sizeof zero);
            zero = SwapBytes(zero);
            std::memcpy(p + i * sizeof zero, &zero, sizeof zero);
        }
    };
    if (nWidth == 2)
        swapAll(uint16_t{});
    else if (nWidth == 4)
        swapAll(uint32_t{});
    else if (nWidth == 8)
        swapAll(uint64_t{});
}
