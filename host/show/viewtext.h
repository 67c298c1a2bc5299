#pragma once

#include "host/files/packedlist.h"

#include <cstdint>
#include <string>

namespace Host
{

struct SViewSummary
{
    std::string sFile;
    size_t nTakes = 0;
    size_t nFailed = 0; ///< that could not be compared with their source, or shown at all
    uint64_t nBytes = 0;
};

/// An error tells that there was nothing to compare with; whether the take is shown all the same stands beside.
std::string ViewLine(const SPackedAnimation& packed, const std::string& sError, bool bShown);
std::string ViewSummaryLine(const SViewSummary& summary);
std::string ViewSummaryText(const SViewSummary& summary);

} // namespace Host
