#pragma once

#include "fbx/scene/fbxevaluator.h"

/// The evaluator of a scene, to be handed to FbxManager::Create.
std::unique_ptr<FbxAnimEvaluator> FbxMakeEvaluator(FbxScene& scene);
