#pragma once

#include "host/module/scenefile.h"

#include <string>
#include <vector>

namespace Host
{

/// A scene as people want to read it: its settings and stacks, then the tree with kinds, marks and rest transforms, and
/// the local transforms at each of the times.
std::string SceneText(const ZSceneFile& file, const std::string& sPath, const std::vector<FbxTime>& times);

} // namespace Host
