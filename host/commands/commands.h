#pragma once

#include "host/options/commandline.h"
#include "host/show/console.h"

namespace Host
{

// One function for each command of the program; each returns an EExitCode. ZHostError and ZUsageError pass through.

int RunScan(const SOptions& options, ZConsole& console);
int RunPack(const SOptions& options, ZConsole& console);
int RunBuild(const SOptions& options, ZConsole& console);
int RunDiff(const SOptions& options, ZConsole& console);
int RunPlan(const SOptions& options, ZConsole& console);
int RunQuery(const SOptions& options, ZConsole& console);
int RunInspect(const SOptions& options, ZConsole& console);
int RunStats(const SOptions& options, ZConsole& console);
int RunVerify(const SOptions& options, ZConsole& console);
int RunExport(const SOptions& options, ZConsole& console);
int RunScene(const SOptions& options, ZConsole& console);
int RunEffect(const SOptions& options, ZConsole& console);
int RunView(const SOptions& options, ZConsole& console);
int RunMark(const SOptions& options, ZConsole& console);
int RunAdopt(const SOptions& options, ZConsole& console);

/// The whole program.
int RunProgram(int nArguments, const char* const* ppArguments);

} // namespace Host
