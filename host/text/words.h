#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Host
{

/// A to Z alone, as identifiers are compared.
std::string ToLower(std::string_view text);

/// Without the blanks around it.
std::string_view Trimmed(std::string_view text);

/// A finite decimal number and nothing else, but blanks around it.
bool IsNumber(std::string_view text, double& fValue);

/// The candidate that takes the fewest changes of letters to become this name; empty when none is near.
std::string NearestName(std::string_view name, const std::vector<std::string>& candidates);

} // namespace Host
