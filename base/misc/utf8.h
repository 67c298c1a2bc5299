#pragma once

#include <cstddef>
#include <string_view>

/// Length of the UTF-8 sequence that `text` begins with; 0 when it begins with none.
inline size_t Utf8SequenceLength(std::string_view text)
{
    const auto byte = [text](size_t n) { return n < text.size() ? static_cast<unsigned char>(text[n]) : 0u; };
    const auto follows = [&byte](size_t n) { return (byte(n) & 0xc0u) == 0x80u; };
    const unsigned int c = byte(0);
    if (c < 0x80)
        return text.empty() ? 0 : 1;
    if (c >= 0xc2 && c < 0xe0)
        return follows(1) ? 2 : 0;
    if (c >= 0xe0 && c < 0xf0)
    {
        // Neither longer than need be nor a half of a surrogate pair.
        const bool bSound = (c != 0xe0 || byte(1) >= 0xa0) && (c != 0xed || byte(1) < 0xa0);
        return bSound && follows(1) && follows(2) ? 3 : 0;
    }
    if (c >= 0xf0 && c < 0xf5)
    {
        const bool bSound = (c != 0xf0 || byte(1) >= 0x90) && (c != 0xf4 || byte(1) < 0x90);
        return bSound && follows(1) && follows(2) && follows(3) ? 4 : 0;
    }
    return 0;
}

inline bool IsUtf8(std::string_view text)
{
    while (!text.empty())
    {
        const size_t nLength = Utf8SequenceLength(text);
        if (nLength == 0)
            return false;
        text.remove_prefix(nLength);
    }
    return true;
}
