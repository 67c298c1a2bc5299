#pragma once

#include "host/index/sourcescan.h"
#include "resource/_shared/_internal/resourcescandata.h"

namespace Host
{

// What a scan said, between the engine's form and the host's.

SResourceScanData DataOf(const SSourceScan& scan);
/// All but the source and its error. Takes the data's parts, so that both never stand there whole.
void FillScan(SSourceScan& scan, SResourceScanData& data);

} // namespace Host
