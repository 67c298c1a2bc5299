#pragma once

#include <string>
#include <string_view>

namespace Host
{

/// A text as one word for a shell.
std::string ShellWord(std::string_view text);

} // namespace Host
