#pragma once

#include "host/build/jobrunner.h"
#include "host/workers/workerpool.h"

namespace Host
{

/// What a worker process of a build does: the jobs, and the publishing, that its lines ask for, until there is nobody
/// who asks.
void RunJobsOf(ZLineChannel& channel, const SJobPlace& place);

} // namespace Host
