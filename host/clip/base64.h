#pragma once

#include <string>
#include <string_view>

namespace Host
{

/// With the padding that browsers want.
std::string Base64(std::string_view bytes);
/// False for a text that is none.
bool FromBase64(std::string_view text, std::string& sBytes);

} // namespace Host
