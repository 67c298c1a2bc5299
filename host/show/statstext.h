#pragma once

#include "host/stats/packedmemory.h"

#include <map>
#include <string>

namespace Host
{

std::string MeasuredLine(const SMeasured& measured);
/// {"summary":{…}}
std::string StatsSummaryLine(const std::map<std::string, SPlatformMemory>& platforms);
/// The report as it is saved, and behind it what is of use on a terminal: track classes, and the nTop largest
/// animations.
std::string StatsText(const SPlatformMemory& platform, size_t nTop);

} // namespace Host
