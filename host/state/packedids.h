#pragma once

#include <functional>
#include <string>

namespace Host
{

/// Asks the build state of an output folder for the identifier of a packed file, by its place below the folder; empty
/// when that is not known, or there is no state that can be read. The state is opened when it is first asked.
std::function<std::string(const std::string& sFile)> PackedIds(const std::string& sOut);

} // namespace Host
