#pragma once

#include "host/state/staleness.h"

#include <functional>
#include <string>
#include <unordered_set>
#include <vector>

namespace Host
{

/// What a look at the whole tree has found. All identifiers in lower case.
struct SPresentSources
{
    std::unordered_set<std::string> files;
    std::unordered_set<std::string> unknown;      ///< of these, those that could not be scanned
    std::unordered_set<std::string> subResources; ///< of all that were
    std::vector<std::string> unreadableFolders;   ///< with a slash at their end
};

/// Packed resources that earlier runs made, of sources and takes that are gone, and what was packed with these. Those
/// that a resource in `made` was packed with are not among them, whatever they are made of. `look` is asked once,
/// unless all that is there was made.
std::vector<SBuildRecord> FindGone(ZBuildState& state, const ZAssetTree& tree,
                                   const std::function<SPresentSources()>& look, const std::vector<SJob>& made);

} // namespace Host
