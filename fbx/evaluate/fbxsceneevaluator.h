#pragma once

#include "fbx/evaluate/fbxsegments.h"
#include "fbx/scene/fbxmath.h"
#include "fbx/scene/fbxscene.h"

#include <utility>
#include <vector>

/// Where a time lies on a timeline; found once for all curves that share it.
struct SFbxLocation
{
    enum EWhere : uint8_t
    {
        eOnKey,
        eBetween,
        eBefore,
        eAfter
    };
    uint64_t nStamp = 0;
    double u = 0.0;        ///< part of the span that has passed
    double fSeconds = 0.0; ///< length of the span
    uint32_t nKey = 0;
    EWhere eWhere = eOnKey;
};

inline double FbxValueAt(const float* pValues, const SFbxSegment* pSegments, EFbxSegment eOnly,
                         const SFbxLocation& location)
{
    const double fValue = static_cast<double>(pValues[location.nKey]);
    if (location.eWhere != SFbxLocation::eBetween || (!pSegments && eOnly == EFbxSegment::eStep))
        return fValue;
    const double fNext = static_cast<double>(pValues[location.nKey + 1]);
    if (!pSegments)
        return fValue + (fNext - fValue) * location.u;
    return FbxEvaluateSegment(pSegments[location.nKey], fValue, fNext, location.fSeconds, location.u);
}

/// One number that may move: a curve, or its fixed value.
struct SFbxChannelPlan
{
    const float* pValues = nullptr; ///< null: fixed
    const SFbxSegment* pSegments = nullptr;
    const FbxAnimCurve* pCurve = nullptr;
    double fFactor = 1.0;
    uint32_t nTimeline = 0;
    EFbxSegment eOnly = EFbxSegment::eLinear;
    bool bHolds = false; ///< has its first and last key's values outside of them
};

/// What the transform of a node is made of, after everything that does not move was worked out.
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

struct SFbxNodePlan
{
    SFbxPieces pieces;          ///< values of the current stack where nothing moves
    SFbxPieces restPieces;      ///< without animation
    int32_t nFirstChannel = -1; ///< of nine channel plans: translation, rotation, scale; -1 when none moves
    uint16_t nMoving = 0;       ///< bit a channel
    int32_t nParent = -1;
    uint8_t nInherit = 0;
    bool bSlow = false;       ///< more than translation, rotation and scale moves, or layers are mixed
    bool bPlainLocal = false; ///< the local transform needs no ancestor
};

/// Rotation and scale as they are made, before signs are put in order.
struct SFbxLocal
{
    FbxVector3 t;
    FbxQuaternion q;
    FbxVector3 s{1, 1, 1};
};

/// A global transform: rotation with scale along the rotated axes as long as that suffices, a matrix from there on.
struct SFbxGlobal
{
    FbxVector3 t;
    FbxQuaternion q;
    FbxVector3 s{1, 1, 1};
    FbxVector3 inherited{1, 1, 1}; ///< the scale without the node's own
    SFbxMatrix3 matrix{};
    bool bMatrix = false;
    bool bUniform = true;
};

/// Everything computed for one time.
struct SFbxMoment
{
    FbxTime time;
    uint64_t nStamp = 1;
    std::vector<SFbxLocal> locals;
    std::vector<SFbxGlobal> globals;
    std::vector<uint64_t> localStamps;
    std::vector<uint64_t> globalStamps;
};

/// A curve node that the current stack uses for a property, in the layer of that place in the stack.
struct SFbxActiveLink
{
    std::string_view property;
    uint32_t nLayer;
    FbxAnimCurveNode* pCurveNode;
};

/// The spans of one curve, worked out when first asked for; null when all are of the one kind.
struct SFbxCurveSpans
{
    const SFbxSegment* pSegments = nullptr;
    EFbxSegment eOnly = EFbxSegment::eLinear;
    bool bPrepared = false;
};

class FbxSceneEvaluator final : public FbxAnimEvaluator
{
public:
    explicit FbxSceneEvaluator(FbxScene& scene) : pScene(&scene) {}

    int EvaluateProperty(const FbxProperty& property, FbxTime time, double out[4]) override;
    FbxTransform EvaluateLocalTransform(const FbxNode* pNode, FbxTime time) override;
    FbxTransform EvaluateGlobalTransform(const FbxNode* pNode, FbxTime time) override;
    FbxMatrix4 EvaluateLocalMatrix(const FbxNode* pNode, FbxTime time) override;
    FbxMatrix4 EvaluateGlobalMatrix(const FbxNode* pNode, FbxTime time) override;
    FbxAnimCurveNode* FindCurveNode(const FbxProperty& property) override;
    void Invalidate() override { bCompiled = false; }

private:
    void Compile();
    void CompileNode(const FbxNode& node, SFbxNodePlan& plan);
    void CompileInheritance();
    void SetTime(FbxTime time);
    /// What is known of a time; infinite is the rest.
    SFbxMoment& MomentOf(FbxTime time)
    {
        if (!bCompiled)
            Compile();
        if (time.IsInfinite())
            return rest;
        SetTime(time);
        return now;
    }

    const SFbxLocation& Locate(const SFbxTimeline& timeline);
    double Evaluate(const FbxAnimCurve& curve);
    double Evaluate(const SFbxChannelPlan& channel)
    {
        const SFbxLocation& known = locations[channel.nTimeline];
        const SFbxLocation& location = known.nStamp == now.nStamp ? known : Locate(*channel.pCurve->pTimeline);
        if (location.eWhere >= SFbxLocation::eBefore && !channel.bHolds)
            return channel.fFactor * Extrapolate(*channel.pCurve, location.eWhere == SFbxLocation::eBefore);
        return channel.fFactor * FbxValueAt(channel.pValues, channel.pSegments, channel.eOnly, location);
    }
    double Extrapolate(const FbxAnimCurve& curve, bool bBefore);
    double EvaluateAt(const FbxAnimCurve& curve, int64_t nTicks, int64_t nNear);

    /// Mixes the layers of a property; channels hold the static value before.
    void EvaluateLayers(const FbxObject& object, std::string_view property, double* pChannels, int nChannels);
    double EvaluateWeight(const FbxAnimLayer& layer);
    bool IsAnimated(const FbxObject& object, std::string_view property) const
    {
        const auto [pFirst, pLast] = ActiveLinks(object, property);
        return pFirst != pLast;
    }
    /// Those of one property, lowest layer first; an empty range where it is not animated.
    std::pair<const SFbxActiveLink*, const SFbxActiveLink*> ActiveLinks(const FbxObject& object,
                                                                        std::string_view property) const;
    const SFbxCurveSpans& Spans(const FbxAnimCurve& curve);
    /// True when the curve has one value at all times.
    bool IsFlat(const FbxAnimCurve& curve);
    void CompileLayers();
    void CompileLinks(const FbxObject& object);
    FbxVector3 ReadVector(const FbxNode& node, std::string_view property, const FbxVector3& fallback, bool bAnimated);
    void ReadPieces(const FbxNode& node, SFbxPieces& pieces, bool bAnimated);

    const SFbxLocal& Local(size_t nNode, SFbxMoment& moment);
    const SFbxGlobal& Global(size_t nNode, SFbxMoment& moment);
    void Compose(const SFbxGlobal& parent, const SFbxLocal& parentLocal, const SFbxNodePlan& plan,
                 const SFbxLocal& local, SFbxGlobal& global) const;
    /// The local transform of a node whose ancestors' scales reach into it. True when only t, q, s of it are needed.
    bool RelativeLocal(size_t nNode, SFbxMoment& moment, SFbxLocal& local, SFbxMatrix3& matrix);

    FbxScene* pScene;
    bool bCompiled = false;
    SFbxMoment rest;
    SFbxMoment now;
    std::vector<SFbxNodePlan> plans;
    std::vector<SFbxChannelPlan> channels;
    std::vector<SFbxLocation> locations;             ///< one a timeline
    std::vector<SFbxCurveSpans> spans;               ///< by curve
    std::vector<std::vector<SFbxActiveLink>> active; ///< by object; ordered by property, then layer
    std::vector<int> places;                         ///< by object: a layer's place in the current stack, or -1
    std::vector<const FbxAnimLayer*> layers;         ///< of the current stack, those that count
    const FbxAnimLayer* pBaseLayer = nullptr;
    std::vector<uint32_t> chain;
    std::vector<FbxObject::SCurveNodeLink> links; ///< of the object that is compiled
    std::vector<uint64_t> taken;                  ///< by layer: the last property that has a curve node there
    uint64_t nProperty = 0;
};
