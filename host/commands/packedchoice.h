#pragma once

#include "host/files/assettree.h"
#include "host/files/packedlist.h"
#include "host/options/commandline.h"

#include <string>
#include <vector>

namespace Host
{

/// Packed animations of the output folder that a command line means.
struct SPackedChoice
{
    std::vector<SPackedAnimation> packed; ///< by platform and identifier
    std::vector<std::string> missing;     ///< words that nothing stands for
    bool bNothingThere = false;           ///< the folder holds none at all
};

/// All that the words name, or all without words; of the platforms that are given. Without platforms all of them, or,
/// of a command that shows each take once, those of one: pc where that is there.
SPackedChoice ChoosePacked(const SOptions& options, const ZAssetTree& tree, bool bOnePlatform);

} // namespace Host
