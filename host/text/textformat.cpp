#include "host/text/textformat.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <ctime>

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

std::string BytesText(uint64_t nBytes)
{
    char buffer[40];
    if (nBytes < 1000)
        std::snprintf(buffer, sizeof buffer, "%u B", static_cast<unsigned int>(nBytes));
    else if (nBytes < 1000000)
        std::snprintf(buffer, sizeof buffer, "%.1f kB", static_cast<double>(nBytes) / 1e3);
    else
        std::snprintf(buffer, sizeof buffer, "%.1f MB", static_cast<double>(nBytes) / 1e6);
    return buffer;
}

std::string ClockText()
{
    const std::time_t now = std::time(nullptr);
    char buffer[16] = {};
    std::tm local{};
    std::strftime(buffer, sizeof buffer, "%H:%M:%S", ::localtime_r(&now, &local));
    return buffer;
}

std::string SecondsText(double fSeconds)
{
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, fSeconds < 10.0 ? "%.2f s" : "%.0f s", fSeconds);
    return buffer;
}

std::string Counted(size_t n, const char* szWhat)
{
    return std::to_string(n) + ' ' + szWhat + (n == 1 ? "" : "s");
}

} // namespace Host
