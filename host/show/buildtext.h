#pragma once

#include "host/build/treebuild.h"

#include <string>

namespace Host
{

/// {"summary":{…}}
std::string BuildSummaryLine(const SBuildTotals& totals);
std::string BuildSummaryText(const SBuildTotals& totals);

} // namespace Host
