#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace Host
{

/// A number from 0 on; "inf" is one. What CLI11 has for it takes NaN, and names its largest double by 309 digits.
CLI::Validator NotNegative();

/// One of these words; of another one it is told which is near.
CLI::Validator OneOf(const std::vector<std::string>& words);

/// What to say of words that a command, or the program, did not expect. Empty when there are none.
std::string TellUnexpected(const CLI::App& app, const std::vector<std::string>& words);

/// Throws where an option is given that names a file or folder, and names none.
void RefuseEmptyNames(const CLI::App& command);

} // namespace Host
