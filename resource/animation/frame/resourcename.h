#pragma once

#include "base/misc/utf8.h"
#include "base/misc/zstring.h"

namespace ResourceAnimation
{

/// A name for messages: control characters, and bytes that are no UTF-8, as \x0A.
inline ZString PrintableName(const ZString& name)
{
    constexpr std::string_view DIGITS = "0123456789ABCDEF";
    ZString result;
    for (std::string_view text = name.View(); !text.empty();)
    {
        const auto n = static_cast<unsigned char>(text[0]);
        const size_t nLength = n >= ' ' ? Utf8SequenceLength(text) : 0;
        if (nLength == 0)
        {
            result.Append("\\x");
            result.Append(DIGITS[n >> 4]);
            result.Append(DIGITS[n & 15]);
        }
        result.Append(text.substr(0, nLength));
        text.remove_prefix(nLength == 0 ? 1 : nLength);
    }
    return result;
}

/// Why no identifier can name a take, rig or character of this name; empty where one can.
inline ZString NameFault(const ZString& name)
{
    for (const char c : name.View())
        if (static_cast<unsigned char>(c) < ' ' || c == '<' || c == '>')
            return "no identifier holds angle brackets or control characters";
    if (!IsUtf8(name.View()))
        return "its name is no UTF-8";
    if (name.IsEmpty())
        return "it has no name";
    return name[0] == '/' ? ZString("its name begins with a slash") : ZString();
}

} // namespace ResourceAnimation
