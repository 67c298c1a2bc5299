#pragma once

#include "host/build/session.h"

#include <string>

namespace Host
{

/// For a job that failed because its source does not hold what it asks for: what there is instead. Empty when it does,
/// or when that can't be told. Scans the source; not while other jobs run.
std::string WhatThereIs(ZHostSession& session, const SJob& job);

} // namespace Host
