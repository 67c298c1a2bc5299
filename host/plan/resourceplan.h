#pragma once

#include "host/build/session.h"

#include <string>
#include <vector>

namespace Host
{

/// A packed resource that a build makes, for builders that want to know it beforehand.
struct SPlannedResource
{
    std::string sId;     ///< canonical
    std::string sSource; ///< what it is made of, as the tree spells it
    std::string sExtension;
    std::string sPlatform;
    std::string sFile;       ///< below the output folder
    std::string sSourceFile; ///< absolute
    std::string sNeed;       ///< place, below the output folder, of the planned resource that it is made with; or empty
    /// Names of the files beside the source's that share its name up to the extension: what packers look for there.
    std::vector<std::string> beside;
};

struct SResourcePlan
{
    std::vector<SPlannedResource> resources; ///< in the order in which a build makes them, those needed first
    std::vector<std::string> unreadable;     ///< identifiers of the sources and folders that could not be scanned
    std::vector<std::string> sourceFiles;    ///< absolute
    std::vector<std::string> folders;        ///< absolute, of the tree, outside of the output folder
};

/// Scans the whole tree, tells what goes wrong there, and plans what a build of it makes.
SResourcePlan PlanResources(ZHostSession& session, const std::vector<std::string>& platforms);

} // namespace Host
