#pragma once

#include "fbx/load/fbximporter.h"
#include "fbx/scene/fbxscene.h"

#include <string>
#include <vector>

namespace Host
{

/// A scene as people want to read it: its settings and stacks, then the tree with kinds, marks and rest transforms, and
/// the local transforms at each of the times.
std::string SceneText(const FbxScene& scene, const FbxImporter& importer, const std::string& sPath,
                      const std::vector<FbxTime>& times);

} // namespace Host
