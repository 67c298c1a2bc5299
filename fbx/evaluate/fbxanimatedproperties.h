#pragma once

#include "fbx/evaluate/fbxcurvesampler.h"
#include "fbx/evaluate/fbxlayermix.h"

#include <string_view>
#include <unordered_map>
#include <vector>

/// What a curve node has to give.
struct SFbxCurveNodePlan
{
    FbxAnimCurveNode* pNode = nullptr;
    double values[FbxAnimCurveNode::kMaxChannels] = {}; ///< of channels that do not move
    uint32_t nFirstCurve = 0;                           ///< of those that do, in their order
    uint8_t nPresent = 0;                               ///< bit a channel that it has
    uint8_t nMoving = 0;
};

/// One layer's part in a property.
struct SFbxLayerStep
{
    SFbxLayerMix mix;
    uint32_t nLayer = 0;
    uint32_t nNode = 0;
};

/// A property that the current stack animates: layers from the lowest up.
struct SFbxPropertyPlan
{
    std::string_view property;
    uint32_t nFirstStep = 0;
    uint32_t nBaseStep = 0; ///< the first that counts: it replaces what is below it
    uint32_t nSteps = 0;
    bool bMoves = false;
};

/// The properties that the current stack animates, compiled: what each layer gives to them, and how layers join.
class FbxAnimatedProperties
{
public:
    FbxAnimatedProperties(FbxScene& scene, FbxCurveSampler& sampler) : m_scene(scene), m_sampler(sampler) {}

    void Compile();
    /// Null where the stack does not animate it.
    const SFbxPropertyPlan* Find(const FbxObject& object, std::string_view property) const;
    /// Mixes at the sampler's time into what holds the static values before.
    void Mix(const SFbxPropertyPlan& plan, FbxMixedValues& mixed);

    /// Of the first layer that has the property.
    const SFbxCurveNodePlan& Lowest(const SFbxPropertyPlan& plan) const
    {
        return m_nodes[m_steps[plan.nFirstStep].nNode];
    }
    /// True when nothing is mixed: one layer replaces static values and what is below it, and none is above it.
    bool IsPlain(const SFbxPropertyPlan& plan) const;
    /// Of that layer.
    const SFbxCurveNodePlan& Base(const SFbxPropertyPlan& plan) const { return m_nodes[m_steps[plan.nBaseStep].nNode]; }
    const SFbxChannelPlan* Curves(const SFbxCurveNodePlan& node) const { return m_curves.data() + node.nFirstCurve; }

private:
    struct SLayer
    {
        const FbxAnimLayer* pLayer = nullptr;
        double fWeight = 1.0; ///< 0 to 1, at the time of the stamp
        int32_t nWeight = -1; ///< curve of the weight
        uint64_t nStamp = 0;
    };
    struct SRange
    {
        uint32_t nFirst = 0;
        uint32_t nCount = 0;
    };
    /// A curve node that the current stack uses for a property, in the layer of that place in the stack.
    struct SLink
    {
        std::string_view property;
        uint32_t nLayer;
        FbxAnimCurveNode* pCurveNode;
    };

    void CompileLayers();
    void CompileObject(const FbxObject& object);
    uint32_t CompileNode(FbxAnimCurveNode* pNode);
    void CompileWeights();
    void CompileBase(SFbxPropertyPlan& plan) const;
    bool Replaces(const SFbxLayerStep& step) const;
    double WeightOf(SLayer& layer);

    FbxScene& m_scene;
    FbxCurveSampler& m_sampler;
    std::vector<SLayer> m_layers;            ///< of the current stack, those that count
    const FbxAnimLayer* m_pLowest = nullptr; ///< of the stack, whether it counts or not
    std::vector<int> m_places;               ///< by object: a layer's place among the layers; -1 when it does not count
    std::vector<SRange> m_objects;           ///< by object: its plans
    std::vector<SFbxPropertyPlan> m_plans;   ///< of one object ordered by property
    std::vector<SFbxLayerStep> m_steps;
    std::vector<SFbxCurveNodePlan> m_nodes;
    std::unordered_map<const FbxAnimCurveNode*, uint32_t> m_nodeOf; ///< a node may serve many properties and layers
    std::vector<SFbxChannelPlan> m_curves;
    std::vector<SLink> m_links;    ///< of the object that is compiled
    std::vector<uint64_t> m_taken; ///< by layer: the last property that has a curve node there
    uint64_t m_nProperty = 0;
};
