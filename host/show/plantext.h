#pragma once

#include <string>

namespace Host
{

/// A plan as one line of JSON: {"format":…,"file":PATH}, and with no file {"format":…,"file":null,"manifest":TEXT}.
std::string PlanLine(const std::string& sFormat, const std::string& sFile, const std::string& sManifest);

} // namespace Host
