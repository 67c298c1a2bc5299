#pragma once

#include <string>

namespace Host
{

/// printf into a string; what goes beyond 500 characters is cut.
__attribute__((format(printf, 1, 2))) std::string Formatted(const char* szFormat, ...);

} // namespace Host
