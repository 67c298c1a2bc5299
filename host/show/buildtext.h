#pragma once

#include "host/build/buildtotals.h"

#include <string>

namespace Host
{

/// {"summary":{…}}
std::string BuildSummaryLine(const ZBuildTotals& totals);
std::string BuildSummaryText(const ZBuildTotals& totals);
/// What stands above the summary: failures by cause, and the slowest of what was packed. Empty when there is nothing of
/// it to tell.
std::string BuildStoryText(const ZBuildTotals& totals);

} // namespace Host
