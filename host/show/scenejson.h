#pragma once

#include "fbx/load/fbximporter.h"
#include "fbx/scene/fbxscene.h"

#include <string>
#include <vector>

namespace Host
{

/// A scene as one line: its settings and stacks, all nodes at rest and at each of the times, and what else moves.
std::string SceneLine(const FbxScene& scene, const FbxImporter& importer, const std::string& sPath,
                      const std::vector<FbxTime>& times);

} // namespace Host
