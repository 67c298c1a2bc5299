#pragma once

#include "host/adopt/adoption.h"

#include <string>

namespace Host
{

/// JSON lines of adopting.
std::string AdoptLine(const SAdopted& result);
std::string AdoptSummaryLine(const SAdoptSummary& summary);

/// What was made of a file, for people, with its notes; warnings are for standard error.
std::string AdoptText(const SAdopted& result);
std::string AdoptSummaryText(const SAdoptSummary& summary, bool bDryRun);

} // namespace Host
