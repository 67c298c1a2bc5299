#pragma once

#include "host/module/scenefile.h"

#include <string>
#include <vector>

namespace Host
{

/// A scene as one line: its settings, the axes of the file and those it was turned to, stacks, all nodes at rest and at
/// each of the times, and what else moves.
std::string SceneLine(const ZSceneFile& file, const std::string& sPath, const std::vector<FbxTime>& times);

} // namespace Host
