#pragma once

#include "base/collections/tarray.h"
#include "base/misc/zstring.h"

namespace ResourceAnimation
{

class ZFbxTakeData;

/// What the import of a take leaves behind in its scene, as texts for the user: scale of its ground, of what is above
/// it and of its bones, by name and amount, and frames beyond the anim stack that the scene plays.
TArray<ZString> DescribeTakeLosses(const ZFbxTakeData& take);

} // namespace ResourceAnimation
