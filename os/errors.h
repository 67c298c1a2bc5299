#pragma once

#include <system_error>

namespace Os
{

/// Why the last call to the system failed, on this thread.
std::error_code LastError();

} // namespace Os
