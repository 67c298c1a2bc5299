#pragma once

#include <string>
#include <string_view>

namespace Os
{

using TProcessId = int;

TProcessId OwnProcess();
TProcessId ParentProcess();
/// Of this machine among those of its network; empty when it has none.
std::string MachineName();

/// Standard streams that the process was started without are opened, so that no file of its own takes their place: one
/// that is read is empty, and writing fails as it would without.
void OpenStandardStreams();

/// Ends the process at once: nothing is flushed, no object ended.
[[noreturn]] void ExitNow(int nExitCode);

/// When a mapped file is cut off by others and looked at behind its end: writes the text to standard error and ends the
/// process. The text must live as long as the process.
void ExitOnLostMapping(std::string_view text, int nExitCode);

} // namespace Os
