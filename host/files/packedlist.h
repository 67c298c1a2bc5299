#pragma once

#include <functional>
#include <string>
#include <vector>

namespace Host
{

/// A packed animation that stands in an output folder.
struct SPackedAnimation
{
    std::string sId;       ///< canonical; the path below the folder when nothing tells it
    std::string sPlatform; ///< the folder that it stands in
    std::string sPath;     ///< with the output folder
};

/// All packed animations of an output folder, by platform and identifier: files with the extension of one, and those
/// that begin as one. Whether they are sound is not looked at. No platforms: all.
/// `idOfFile` is asked for the identifier of a place, below the folder, that does not tell it; empty when it is not
/// known.
std::vector<SPackedAnimation> FindPackedAnimations(const std::string& sOut, const std::vector<std::string>& platforms,
                                                   const std::function<std::string(const std::string&)>& idOfFile);

} // namespace Host
