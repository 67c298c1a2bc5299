#include "host/text/textformat.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace Host
{

std::string Formatted(const char* szFormat, ...)
{
    char buffer[501];
    va_list arguments;
    va_start(arguments, szFormat);
    // The analyzer does not see va_start in a function with attributes.
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized)
    const int nLength = std::vsnprintf(buffer, sizeof buffer, szFormat, arguments);
    va_end(arguments);
    return {buffer, nLength < 0 ? 0 : std::min(static_cast<size_t>(nLength), sizeof buffer - 1)};
}

} // namespace Host
