#pragma once

#include "base/misc/zstring.h"

namespace ResourceAnimation
{

/// A name for messages: control characters as \x0A.
inline ZString PrintableName(const ZString& name)
{
    constexpr std::string_view DIGITS = "0123456789ABCDEF";
    ZString result;
    for (const char c : name.View())
    {
        const auto n = static_cast<unsigned char>(c);
        if (n >= ' ')
        {
            result.Append(c);
            continue;
        }
        result.Append("\\x");
        result.Append(DIGITS[n >> 4]);
        result.Append(DIGITS[n & 15]);
    }
    return result;
}

/// Whether a take, rig or character of this name can be named by an identifier: angle brackets and control characters
/// would tear it apart.
inline bool CanNameResource(const ZString& name)
{
    for (const char c : name.View())
        if (static_cast<unsigned char>(c) < ' ' || c == '<' || c == '>')
            return false;
    return true;
}

} // namespace ResourceAnimation
