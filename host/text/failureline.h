#pragma once

#include <string>
#include <string_view>

namespace Host
{

/// {"file":…,"error":…,"hint":…}, without what is empty: the JSON line of a command that can't do its work.
std::string FailureLine(std::string_view file, std::string_view text, std::string_view hint);

} // namespace Host
