#pragma once

#include "host/plan/resourceplan.h"

#include <string>

namespace Host
{

/// Where a manifest's commands work. All paths absolute.
struct SPlanPlace
{
    std::string sProgram;
    std::string sModule;
    std::vector<std::string> tools; ///< files of the program and of all that packs
    std::string sTools;             ///< tells one state of them from another
    std::string sFolder;            ///< where the manifest was planned
    std::string sWritten;           ///< the manifest, as it was named there
    std::string sAssets;
    std::string sOut;
    std::vector<std::string>
        manifestNames;     ///< other words that may name it: ninja looks for what -f says, as it says it
    std::string sManifest; ///< empty: written to standard output, so nothing can make it anew
    std::vector<std::string> platforms;
};

/// A manifest for ninja (https://ninja-build.org/manual.html, "Ninja file reference") that makes what a build makes: an
/// edge for each packed resource, and one that writes the manifest anew when the tree has changed. A name with a line
/// feed, which no manifest can hold, is put on the list instead.
std::string NinjaManifest(const SResourcePlan& plan, const SPlanPlace& place, std::vector<std::string>& leftOut);

} // namespace Host
