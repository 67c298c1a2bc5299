#pragma once

#include "host/index/sourcescan.h"

namespace Host
{

/// For people: a line for the source, and one for each thing in it; with bAll references and properties too.
std::string ScanText(const SSourceScan& scan, bool bAll);

} // namespace Host
