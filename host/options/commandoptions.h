#pragma once

#include "host/options/commandline.h"

#include <CLI/CLI.hpp>

namespace Host
{

/// Words that still have to be made options of.
struct SRawOptions
{
    std::string sColor = "auto";
    std::string sProgress = "auto";
    std::string sMarks, sMarked;
    std::string sRoot;
    std::string sSource; ///< of the commands that take one
    std::string sFrames, sAt, sTicks;
    uint64_t nMemoryMegabytes = 4096;
};

/// The commands with their options, help and examples. What the words say goes to both records when they are parsed.
void AddCommands(CLI::App& app, SOptions& options, SRawOptions& raw);

} // namespace Host
