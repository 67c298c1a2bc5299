#pragma once

#include "host/adopt/skeletons.h"

#include <vector>

namespace Host
{

/// What becomes of scale on the bones of a skeleton and on what is above it, by name and amount: a uniform one that
/// stays is in the lengths below, anything else can't be carried over whole.
std::vector<SMessage> ScaleNotes(const ZSourceScene& source, const std::vector<SStackMotion>& stacks,
                                 const SSkeleton& skeleton);

} // namespace Host
