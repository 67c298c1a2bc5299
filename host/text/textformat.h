#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace Host
{

/// printf into a string; what goes beyond 500 characters is cut.
__attribute__((format(printf, 1, 2))) std::string Formatted(const char* szFormat, ...);

/// "12.3 kB", "0.42 s".
std::string BytesText(uint64_t nBytes);
std::string SecondsText(double fSeconds);
/// "1 take", "2 takes".
std::string Counted(size_t n, const char* szWhat);
/// Time of the day, here: "12:04:31".
std::string ClockText();

} // namespace Host
