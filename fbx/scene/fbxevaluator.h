#pragma once

#include "fbx/scene/fbxtime.h"
#include "fbx/scene/fbxtransform.h"

#include <memory>

class FbxAnimCurveNode;
class FbxNode;
class FbxProperty;
class FbxScene;

/// Values of animated properties, and transforms of nodes, on the scene's current stack. What a scene needs to know of
/// evaluation; a manager is told how its scenes evaluate.
///
/// Ask for all nodes at one time before moving on: what was computed is kept for the time last asked for, and curves
/// are searched forward from there. One thread uses a scene and its evaluator at a time.
class FbxAnimEvaluator
{
public:
    virtual ~FbxAnimEvaluator() = default;

    /// Value of each channel of a property, 1 to 4 of them; returns how many. Text has none.
    virtual int EvaluateProperty(const FbxProperty& property, FbxTime time, double out[4]) = 0;
    virtual FbxTransform EvaluateLocalTransform(const FbxNode* pNode, FbxTime time) = 0;
    virtual FbxTransform EvaluateGlobalTransform(const FbxNode* pNode, FbxTime time) = 0;
    virtual FbxMatrix4 EvaluateLocalMatrix(const FbxNode* pNode, FbxTime time) = 0;
    virtual FbxMatrix4 EvaluateGlobalMatrix(const FbxNode* pNode, FbxTime time) = 0;
    /// The property's curve node in the first layer of the current stack that has one; null when none does.
    virtual FbxAnimCurveNode* FindCurveNode(const FbxProperty& property) = 0;

    /// Called by the scene's setters: nodes, properties, curves or stacks have changed.
    virtual void Invalidate() = 0;
};

/// Makes the evaluator of a new scene, which owns it.
using FbxEvaluatorFactory = std::unique_ptr<FbxAnimEvaluator> (*)(FbxScene& scene);
