#pragma once

#include "fbx/evaluate/fbxglobals.h"

#include <vector>

/// The evaluator of a scene: compiles what its current stack does to it, and keeps what was computed for one time.
class FbxSceneEvaluator final : public FbxAnimEvaluator
{
public:
    explicit FbxSceneEvaluator(FbxScene& scene)
        : m_scene(scene), m_sampler(scene), m_properties(scene, m_sampler), m_nodes(scene, m_sampler, m_properties)
    {
    }

    int EvaluateProperty(const FbxProperty& property, FbxTime time, double out[4]) override;
    FbxTransform EvaluateLocalTransform(const FbxNode* pNode, FbxTime time) override;
    FbxTransform EvaluateGlobalTransform(const FbxNode* pNode, FbxTime time) override;
    FbxMatrix4 EvaluateLocalMatrix(const FbxNode* pNode, FbxTime time) override;
    FbxMatrix4 EvaluateGlobalMatrix(const FbxNode* pNode, FbxTime time) override;
    FbxAnimCurveNode* FindCurveNode(const FbxProperty& property) override;
    void Invalidate() override { m_bCompiled = false; }

private:
    /// Everything computed for one time.
    struct SMoment
    {
        uint64_t nStamp = 1;
        std::vector<SFbxLocal> locals;
        std::vector<SFbxGlobal> globals;
        std::vector<uint64_t> localStamps;
        std::vector<uint64_t> globalStamps;
    };

    void Compile();
    /// What is known of a time; infinite is the rest.
    SMoment& MomentOf(FbxTime time);
    const SFbxLocal& Local(size_t nNode, SMoment& moment);
    const SFbxGlobal& Global(size_t nNode, SMoment& moment);
    /// Relative to the parent. True when local tells it; else its rotation and scale are in the matrix.
    bool RelativeLocal(size_t nNode, SMoment& moment, SFbxLocal& local, SFbxMatrix3& matrix);

    FbxScene& m_scene;
    FbxCurveSampler m_sampler;
    FbxAnimatedProperties m_properties;
    FbxNodePlans m_nodes;
    bool m_bCompiled = false;
    SMoment m_rest;
    SMoment m_now;
    std::vector<uint32_t> m_chain;
};
