#pragma once

#include "host/files/assettree.h"
#include "host/index/scanindex.h"

namespace Host
{

/// How far an asset tree has moved on since it was scanned, as far as names, sizes and times tell.
struct SIndexAge
{
    size_t nChanged = 0;
    size_t nGone = 0;
    size_t nNew = 0; ///< not in the index
};
SIndexAge AgeOf(const std::vector<ZScanIndex::SSource>& scanned, const ZAssetTree& tree);

} // namespace Host
