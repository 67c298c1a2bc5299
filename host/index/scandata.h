#pragma once

#include "host/index/sourcescan.h"
#include "resource/_shared/_internal/resourcescandata.h"

namespace Host
{

// What a scan said, between the engine's form and the host's.

SResourceScanData DataOf(const SSourceScan& scan);
/// All but the source and its error.
void FillScan(SSourceScan& scan, const SResourceScanData& data);

} // namespace Host
