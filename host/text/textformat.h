#pragma once

#include <cstdint>
#include <string>

namespace Host
{

/// printf into a string; what goes beyond 500 characters is cut.
__attribute__((format(printf, 1, 2))) std::string Formatted(const char* szFormat, ...);

/// "12.3 kB", "0.42 s".
std::string BytesText(uint64_t nBytes);
std::string SecondsText(double fSeconds);
/// Time of the day, here: "12:04:31".
std::string ClockText();

} // namespace Host
