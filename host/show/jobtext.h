#pragma once

#include "host/state/jobresult.h"

#include <string>

namespace Host
{

/// The JSON line of one job; `sOut` is the output folder as the user wrote it.
std::string JobLine(const SJobResult& result, const std::string& sOut);

} // namespace Host
