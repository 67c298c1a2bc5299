#pragma once

#include "os/linechannel.h"
#include "os/process.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <system_error>

namespace Os
{

/// A copy of this process that runs a function on its end of a channel and ends with it. It shares what this process
/// has loaded by then, so this one must not have started a thread. It never outlives its parent; what it prints to
/// standard output goes to standard error.
struct SForkedProcess
{
    TProcessId nProcess = 0;
    std::unique_ptr<ZLineChannel> pChannel;
};

/// Lines that the copy sends ring the bell. `nMemory` bounds its own data in bytes; 0: no bound. `beforeMain` runs in
/// the copy first, to let go of what is the parent's; `main` returns the exit status.
std::error_code ForkProcess(const ZBell& bell, uint64_t nMemory, const std::function<void()>& beforeMain,
                            const std::function<int(ZLineChannel&)>& main, SForkedProcess& process);

void KillProcess(TProcessId nProcess);
/// Waits for a process that is ending, kills one that takes seconds over it, and says in words how it ended: "SIGSEGV
/// (Segmentation fault)".
std::string AwaitEnd(TProcessId nProcess);
std::string DescribeEnd(int nStatus);

/// Whether the bound on memory acts: not under sanitizers, whose own memory is beyond any bound that is of use.
bool BoundsMemory();

} // namespace Os
