#pragma once

#include "fbx/scene/fbxproperty.h"
#include "fbx/scene/fbxtime.h"
#include "fbx/scene/fbxtransform.h"

#include <memory>

class FbxNode;
class FbxScene;

/// Values of animated properties, and transforms of nodes, on the scene's current stack.
///
/// Ask for all nodes at one time before moving on: what was computed is kept for the time last asked for, and curves
/// are searched forward from there. One thread uses a scene and its evaluator at a time.
class FbxAnimEvaluator
{
public:
    explicit FbxAnimEvaluator(FbxScene* pScene);
    ~FbxAnimEvaluator();
    FbxAnimEvaluator(const FbxAnimEvaluator&) = delete;
    FbxAnimEvaluator& operator=(const FbxAnimEvaluator&) = delete;

    /// Value of each channel of a property, 1 to 4 of them; returns how many. Text has none.
    int EvaluateProperty(const FbxProperty& property, FbxTime time, double out[4]);

    FbxTransform EvaluateLocalTransform(const FbxNode* pNode, FbxTime time);
    FbxTransform EvaluateGlobalTransform(const FbxNode* pNode, FbxTime time);
    FbxMatrix4 EvaluateLocalMatrix(const FbxNode* pNode, FbxTime time);
    FbxMatrix4 EvaluateGlobalMatrix(const FbxNode* pNode, FbxTime time);

    /// Must be called when nodes, properties, curves or stacks change; the library's own setters do.
    void Invalidate();
    /// Works out what the current stack animates, unless that is known. The evaluating calls do this by themselves.
    void Prepare();

private:
    struct SState;
    FbxScene* m_pScene;
    std::unique_ptr<SState> m_pState;
};
