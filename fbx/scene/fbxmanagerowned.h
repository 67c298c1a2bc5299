#pragma once

#include "fbx/load/fbximporter.h"
#include "fbx/load/fbxiosettings.h"
#include "fbx/scene/fbxmanager.h"
#include "fbx/scene/fbxscene.h"

#include <memory>
#include <vector>

/// What a manager owns. Scenes go last: nothing else points into them.
struct FbxManager::SOwned
{
    std::vector<std::unique_ptr<FbxScene>> scenes;
    std::vector<std::unique_ptr<FbxIOSettings>> settings;
    std::vector<std::unique_ptr<FbxImporter>> importers;
};
