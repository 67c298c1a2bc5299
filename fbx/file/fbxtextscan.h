#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

/// The first place of a text that holds one of the characters; pEnd when none does. Sixteen bytes at once, four times
/// over, so that long stretches without them cost little more than reading memory does.
template <char... kCharacters>
inline const char* FbxFindFirst(const char* p, const char* pEnd)
{
    using SBytes = signed char __attribute__((vector_size(16)));
    using SWords = long long __attribute__((vector_size(16)));
    const auto matches = [](const char* q)
    {
        SBytes bytes;
        std::memcpy(&bytes, q, sizeof bytes);
        return ((bytes == static_cast<signed char>(kCharacters)) | ...);
    };
    const auto isAny = [](auto found)
    {
        const SWords words = reinterpret_cast<SWords>(found);
        return (words[0] | words[1]) != 0;
    };
    constexpr std::ptrdiff_t kStep = sizeof(SBytes);
    while (pEnd - p >= 4 * kStep &&
           !isAny(matches(p) | matches(p + kStep) | matches(p + 2 * kStep) | matches(p + 3 * kStep)))
        p += 4 * kStep;
    while (pEnd - p >= kStep && !isAny(matches(p)))
        p += kStep;
    while (p != pEnd && !((*p == kCharacters) || ...))
        ++p;
    return p;
}
