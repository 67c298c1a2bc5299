#pragma once

#include "base/collections/tarray.h"

#include <cstdint>
#include <cstring>
#include <type_traits>

namespace ResourceAnimation
{

/// Whether neither infinity nor NaN stands among the floats that the values consist of. A file that held one would be
/// found out by its reader, long after its cause.
template <class T>
bool AreFinite(const TArray<T>& values)
{
    static_assert(std::is_trivially_copyable_v<T> && sizeof(T) % sizeof(float) == 0);
    constexpr uint32_t EXPONENT = 0x7f800000;
    const auto* const pBytes = reinterpret_cast<const char*>(values.GetStart());
    uint32_t nOdd = 0;
    for (size_t n = 0; n < values.Size() * sizeof(T); n += sizeof(uint32_t))
    {
        uint32_t nBits;
        std::memcpy(&nBits, pBytes + n, sizeof nBits);
        nOdd |= static_cast<uint32_t>((nBits & EXPONENT) == EXPONENT);
    }
    return nOdd == 0;
}

} // namespace ResourceAnimation
