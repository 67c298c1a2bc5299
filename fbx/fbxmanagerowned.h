#pragma once

#include "fbx/fbximporter.h"
#include "fbx/fbxiosettings.h"
#include "fbx/fbxmanager.h"
#include "fbx/fbxscene.h"

#include <memory>
#include <vector>

/// What a manager owns. Scenes go last: nothing else points into them.
struct FbxManager::SOwned
{
    std::vector<std::unique_ptr<FbxScene>> scenes;
    std::vector<std::unique_ptr<FbxIOSettings>> settings;
    std::vector<std::unique_ptr<FbxImporter>> importers;
};
