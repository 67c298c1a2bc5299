#pragma once

#include "host/diff/treediff.h"

#include <string>

namespace Host
{

std::string DiffLine(const SFileDifference& difference);
/// Empty for files that are the same.
std::string DiffText(const SFileDifference& difference);

/// How many of each kind.
struct SDiffTotals
{
    size_t counts[4] = {};
    double fMaxMillimetres = 0.0;

    void Add(const SFileDifference& difference);
    bool IsSame() const { return counts[0] + counts[1] + counts[2] == 0; }
};
std::string DiffSummaryLine(const SDiffTotals& totals);
std::string DiffSummaryText(const SDiffTotals& totals);

} // namespace Host
