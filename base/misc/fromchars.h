#pragma once

#include <charconv>
#include <cstdint>
#include <string_view>
#include <system_error>
#include <type_traits>

/// Whether a decimal number other than zero, as from_chars takes it, lies between -1 and 1.
inline bool IsFractionText(std::string_view text)
{
    constexpr int64_t nFar = int64_t{1} << 40;
    const std::string_view mantissa = text.substr(0, text.find_first_of("eE"));
    const size_t nFirst = mantissa.find_first_of("123456789");
    const size_t nPoint = mantissa.find('.') == std::string_view::npos ? mantissa.size() : mantissa.find('.');
    if (nFirst == std::string_view::npos)
        return true;
    // Of the first digit that counts: 1 just before the point, 0 just behind it.
    int64_t nPlace = static_cast<int64_t>(nPoint) - static_cast<int64_t>(nFirst) + (nFirst > nPoint ? 1 : 0);
    if (mantissa.size() < text.size())
    {
        const bool bMinus = text[mantissa.size() + 1] == '-';
        int64_t nExponent = 0;
        for (const char c : text.substr(mantissa.size() + 1))
            if (c >= '0' && c <= '9' && nExponent < nFar)
                nExponent = 10 * nExponent + (c - '0');
        nPlace += bMinus ? -nExponent : nExponent;
    }
    return nPlace <= 0;
}

/// std::from_chars, but for numbers so small that the type has none: they are zero, as they are everywhere else.
template <class T>
std::from_chars_result FromChars(const char* pStart, const char* pEnd, T& value)
{
    std::from_chars_result result = std::from_chars(pStart, pEnd, value);
    if constexpr (std::is_floating_point_v<T>)
    {
        if (result.ec == std::errc::result_out_of_range &&
            IsFractionText({pStart, static_cast<size_t>(result.ptr - pStart)}))
        {
            value = *pStart == '-' ? -T(0) : T(0);
            result.ec = {};
        }
    }
    return result;
}
