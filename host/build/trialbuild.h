#pragma once

#include "host/build/session.h"

#include <string>
#include <vector>

namespace Host
{

/// Packs for one platform what is in sources of a tree, into a folder of its own that is gone afterwards, and reports
/// what came of each: to hear beforehand what packing has to say. `words` as for ZTreeBuild. ZHostError when there is
/// no place for the folder.
void TrialBuild(SSessionOptions options, const std::vector<std::string>& words, const std::string& sPlatform,
                const ZJobScheduler::FReport& report);

} // namespace Host
