#pragma once

#include "host/index/sourcescan.h"

#include <string>

namespace Host
{

/// The rig that a take is packed with, as far as its scan tells: its own, or the one that takes without take when they
/// move nothing but a trajectory.
std::string RigOfTake(const SSourceScan::SSubResource& take);

} // namespace Host
