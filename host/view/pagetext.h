#pragma once

#include <string_view>

namespace Host
{

/// The page without takes; they stand where PAGE_DATA does.
std::string_view PageText();

constexpr std::string_view PAGE_DATA = "<!--DATA-->";

} // namespace Host
