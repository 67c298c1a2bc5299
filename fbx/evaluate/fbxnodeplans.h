#pragma once

#include "fbx/evaluate/fbxanimatedproperties.h"
#include "fbx/scene/fbxmath.h"

#include <vector>

/// What the transform of a node is made of.
///   T Roff Rp Rpre R Rpost^-1 Rp^-1 Soff Sp S Sp^-1
struct SFbxPieces
{
    FbxVector3 t, r, s{1, 1, 1};
    FbxQuaternion pre, postInverse;
    FbxVector3 outer; ///< Roff + Rp
    FbxVector3 inner; ///< -Rp + Soff + Sp
    FbxVector3 scalingPivot;
    EFbxRotationOrder eOrder = EFbxRotationOrder::eXYZ;
    bool bPre = false;
    bool bPost = false;
    bool bPivots = false;
};

/// Rotation and scale as they are made, before signs are put in order.
struct SFbxLocal
{
    FbxVector3 t;
    FbxQuaternion q;
    FbxVector3 s{1, 1, 1};
};

struct SFbxNodePlan
{
    SFbxPieces pieces;          ///< values of the current stack where nothing moves
    SFbxPieces restPieces;      ///< without animation
    int32_t nFirstChannel = -1; ///< of nine channel plans: translation, rotation, scale; -1 when none moves
    int32_t nParent = -1;
    uint16_t nMoving = 0; ///< bit a channel
    uint8_t nInherit = 0;
    bool bPlainLocal = false; ///< the local transform needs no ancestor
    int32_t nMixed = -1;      ///< among the mixed nodes

    bool Moves() const { return nMoving != 0 || nMixed >= 0; }
};

/// A node of which layers are mixed, or more than translation, rotation and scale moves.
struct SFbxMixedNode
{
    enum EProperty
    {
        eTranslation,
        eRotation,
        eScaling,
        eRotationOffset,
        eRotationPivot,
        eScalingOffset,
        eScalingPivot,
        ePreRotation,
        ePostRotation,
        eRotationOrder,
        eCount
    };
    const SFbxPropertyPlan* plans[eCount] = {}; ///< null: the static value holds
    double values[eCount][3] = {};              ///< the static ones
    const SFbxNodeTurn* pTurn = nullptr;
    bool bPieces = false; ///< more than the first three moves
    bool bActive = false; ///< pre-rotation, post-rotation and order act
};

/// How the local transforms of a scene's nodes come about on its current stack, worked out as far as nothing moves.
class FbxNodePlans
{
public:
    FbxNodePlans(FbxScene& scene, FbxCurveSampler& sampler, FbxAnimatedProperties& properties)
        : m_scene(scene), m_sampler(sampler), m_properties(properties)
    {
    }

    void Compile();
    const SFbxNodePlan& operator[](size_t nNode) const { return m_plans[nNode]; }

    SFbxLocal Rest(size_t nNode) const;
    /// At the sampler's time.
    SFbxLocal At(size_t nNode);
    /// Pre-rotation or rotation offset of a node whose axes were turned while they move; false for all else.
    bool TurnedValue(const FbxObject& object, std::string_view property, FbxVector3& value);

private:
    void CompileNode(const FbxNode& node, SFbxNodePlan& plan);
    void CompilePlain(const SFbxPropertyPlan* const* ppPlans, SFbxNodePlan& plan);
    void CompileInheritance();
    FbxVector3 Vector(const SFbxMixedNode& mixed, SFbxMixedNode::EProperty eProperty);
    void MixPieces(const SFbxMixedNode& mixed, SFbxPieces& pieces);
    SFbxLocal MixedLocal(const SFbxNodePlan& plan);

    FbxScene& m_scene;
    FbxCurveSampler& m_sampler;
    FbxAnimatedProperties& m_properties;
    std::vector<SFbxNodePlan> m_plans;
    std::vector<SFbxChannelPlan> m_channels;
    std::vector<SFbxMixedNode> m_mixed;
};
