#pragma once

#include "fbx/fbx.h"

#include <string>
#include <vector>

/// One line of JSON that tells all of a scene: settings, stacks, nodes with their rest transforms and user properties,
/// and transforms and animated properties at the given times. Numbers are written so that they read back exactly;
/// what is not a number is null.
std::string FbxSceneJson(FbxScene& scene, const FbxImporter& importer, const std::string& sPath,
                         const std::vector<FbxTime>& times);
