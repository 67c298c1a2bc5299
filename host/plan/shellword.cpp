#include "host/plan/shellword.h"

namespace Host
{

std::string ShellWord(std::string_view text)
{
    constexpr std::string_view PLAIN = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-+./,:=@%";
    if (!text.empty() && text.find_first_not_of(PLAIN) == std::string_view::npos)
        return std::string(text);
    std::string sWord = "'";
    for (const char c : text)
        sWord += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return sWord + '\'';
}

} // namespace Host
