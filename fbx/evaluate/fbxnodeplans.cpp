#include "fbx/evaluate/fbxnodeplans.h"

#include <algorithm>
#include <iterator>

namespace
{

using P = SFbxMixedNode;

constexpr std::string_view kNames[P::eCount] = {"Lcl Translation", "Lcl Rotation",  "Lcl Scaling",  "RotationOffset",
                                                "RotationPivot",   "ScalingOffset", "ScalingPivot", "PreRotation",
                                                "PostRotation",    "RotationOrder"};

bool IsZero(const FbxVector3& v)
{
    return v.x == 0.0 && v.y == 0.0 && v.z == 0.0;
}

FbxVector3 VectorOf(const double* p)
{
    return {p[0], p[1], p[2]};
}

void SetVector(const FbxVector3& v, double* p)
{
    p[0] = v.x;
    p[1] = v.y;
    p[2] = v.z;
}

void ReadStatic(const FbxNode& node, P::EProperty eProperty, double* pValues)
{
    const FbxProperty found = node.FindProperty(kNames[eProperty]);
    double channels[16];
    found.GetChannels(channels);
    const double fNone = eProperty == P::eScaling ? 1.0 : 0.0;
    for (int n = 0; n < 3; ++n)
        pValues[n] = found.IsValid() ? channels[n] : fNone;
}

/// All but translation, rotation and scale.
void MakePieces(const double (*pValues)[3], bool bActive, const SFbxNodeTurn* pTurn, SFbxPieces& pieces)
{
    const FbxVector3 rotationPivot = VectorOf(pValues[P::eRotationPivot]);
    pieces.scalingPivot = VectorOf(pValues[P::eScalingPivot]);
    pieces.outer = VectorOf(pValues[P::eRotationOffset]) + rotationPivot;
    pieces.inner = VectorOf(pValues[P::eScalingOffset]) + pieces.scalingPivot - rotationPivot;
    if (pTurn)
        pieces.outer = pTurn->q.Rotate(pieces.outer);
    pieces.bPivots = !IsZero(pieces.outer) || !IsZero(pieces.inner) || !IsZero(pieces.scalingPivot);

    pieces.bPre = pieces.bPost = false;
    pieces.eOrder = EFbxRotationOrder::eXYZ;
    if (!bActive)
        return;
    const double fOrder = pValues[P::eRotationOrder][0];
    if (fOrder >= 0.0 && fOrder <= 5.0)
        pieces.eOrder = static_cast<EFbxRotationOrder>(static_cast<int>(fOrder));
    const FbxVector3 pre = VectorOf(pValues[P::ePreRotation]);
    const FbxVector3 post = VectorOf(pValues[P::ePostRotation]);
    pieces.bPre = !IsZero(pre) || pTurn;
    pieces.bPost = !IsZero(post);
    pieces.pre = FbxQuaternion::FromEuler(pre);
    if (pTurn)
        pieces.pre = pTurn->q * pieces.pre;
    pieces.postInverse = FbxQuaternion::FromEuler(post).Conjugate();
}

void SetMain(const double (*pValues)[3], SFbxPieces& pieces)
{
    pieces.t = VectorOf(pValues[P::eTranslation]);
    pieces.r = VectorOf(pValues[P::eRotation]);
    pieces.s = VectorOf(pValues[P::eScaling]);
}

inline FbxQuaternion RotationOf(const FbxVector3& degrees, EFbxRotationOrder eOrder)
{
    return eOrder == EFbxRotationOrder::eXYZ ? FbxQuaternionOfXYZ(degrees) : FbxQuaternion::FromEuler(degrees, eOrder);
}

inline SFbxLocal MakeLocal(const SFbxPieces& pieces, const FbxVector3& t, const FbxQuaternion& rotation,
                           const FbxVector3& s)
{
    SFbxLocal local;
    local.q = rotation;
    if (pieces.bPre)
        local.q = pieces.pre * local.q;
    if (pieces.bPost)
        local.q = local.q * pieces.postInverse;
    local.t = t;
    local.s = s;
    if (pieces.bPivots)
        local.t = t + pieces.outer + local.q.Rotate(pieces.inner - s * pieces.scalingPivot);
    return local;
}

inline SFbxLocal MakeLocal(const SFbxPieces& pieces)
{
    return MakeLocal(pieces, pieces.t, RotationOf(pieces.r, pieces.eOrder), pieces.s);
}

bool IsOfPieces(int nProperty)
{
    return nProperty >= P::eRotationOffset;
}

} // namespace

void FbxNodePlans::Compile()
{
    const size_t nNodes = m_scene.GetNodeCount();
    m_channels.clear();
    m_mixed.clear();
    m_plans.assign(nNodes, SFbxNodePlan());
    for (size_t n = 0; n < nNodes; ++n)
        CompileNode(*m_scene.GetNode(n), m_plans[n]);
    CompileInheritance();
}

void FbxNodePlans::CompileNode(const FbxNode& node, SFbxNodePlan& plan)
{
    plan.nParent = node.GetParent() ? node.GetParent()->GetIndex() : -1;
    const int64_t nInherit = node.FindProperty("InheritType").GetInt64();
    plan.nInherit = static_cast<uint8_t>(nInherit >= 0 && nInherit <= 2 ? nInherit : 0);

    SFbxMixedNode mixed;
    mixed.bActive =
        node.FindProperty("RotationActive").GetBool() && !node.FindProperty("RotationSpaceForLimitOnly").GetBool();
    for (int n = 0; n < P::eCount; ++n)
        ReadStatic(node, static_cast<P::EProperty>(n), mixed.values[n]);
    MakePieces(mixed.values, mixed.bActive, nullptr, plan.restPieces);
    SetMain(mixed.values, plan.restPieces);
    plan.pieces = plan.restPieces;
    if (node.GetCurveNodes().empty())
        return;

    bool bAnimated = false;
    for (int n = 0; n < P::eCount; ++n)
    {
        mixed.plans[n] = m_properties.Find(node, kNames[n]);
        bAnimated |= mixed.plans[n] != nullptr;
    }
    if (!bAnimated)
        return;
    if (node.GetTurn() &&
        (mixed.plans[P::eRotationOffset] || mixed.plans[P::eRotationPivot] || mixed.plans[P::ePreRotation]))
    {
        mixed.pTurn = node.GetTurn();
        SetVector(mixed.pTurn->rotationOffset, mixed.values[P::eRotationOffset]);
        SetVector(mixed.pTurn->preRotation, mixed.values[P::ePreRotation]);
    }
    // What the stack says and does not move is worked out here.
    bool bMixed = false;
    bool bMoves = false;
    for (int n = 0; n < P::eCount; ++n)
    {
        const SFbxPropertyPlan*& pPlan = mixed.plans[n];
        if (pPlan && !pPlan->bMoves)
        {
            FbxMixedValues steady(mixed.values[n], n == P::eRotationOrder ? 1 : 3);
            m_properties.Mix(*pPlan, steady);
            std::copy_n(steady.Values(), 3, mixed.values[n]);
            pPlan = nullptr;
        }
        mixed.bPieces |= pPlan && IsOfPieces(n);
        bMixed |= pPlan && (IsOfPieces(n) || !m_properties.IsPlain(*pPlan));
        bMoves |= pPlan != nullptr;
    }
    MakePieces(mixed.values, mixed.bActive, mixed.pTurn, plan.pieces);
    SetMain(mixed.values, plan.pieces);
    if (bMixed)
    {
        plan.nMixed = static_cast<int32_t>(m_mixed.size());
        m_mixed.push_back(mixed);
    }
    else if (bMoves)
        CompilePlain(mixed.plans, plan);
}

void FbxNodePlans::CompilePlain(const SFbxPropertyPlan* const* ppPlans, SFbxNodePlan& plan)
{
    FbxVector3* const vectors[3] = {&plan.pieces.t, &plan.pieces.r, &plan.pieces.s};
    SFbxChannelPlan moving[9];
    for (size_t p = 0; p < 3; ++p)
    {
        if (!ppPlans[p])
            continue;
        const SFbxCurveNodePlan& node = m_properties.Base(*ppPlans[p]);
        const SFbxChannelPlan* pCurve = m_properties.Curves(node);
        double* const components[3] = {&vectors[p]->x, &vectors[p]->y, &vectors[p]->z};
        for (size_t n = 0; n < 3; ++n)
        {
            if (node.nMoving >> n & 1)
            {
                moving[p * 3 + n] = *pCurve++;
                plan.nMoving = static_cast<uint16_t>(plan.nMoving | 1u << (p * 3 + n));
            }
            else if (node.nPresent >> n & 1)
                *components[n] = node.values[n];
        }
    }
    plan.nFirstChannel = static_cast<int32_t>(m_channels.size());
    m_channels.insert(m_channels.end(), std::begin(moving), std::end(moving));
}

/// Finds the nodes whose local transform is their own affair: all that inherit plainly, and those whose ancestors'
/// scales are all fixed at one.
void FbxNodePlans::CompileInheritance()
{
    constexpr uint8_t kUnknown = 0;
    constexpr uint8_t kUnit = 1;
    constexpr uint8_t kScaled = 2;
    std::vector<uint8_t> states(m_plans.size(), kUnknown);
    std::vector<uint32_t> chain;
    const auto ownUnit = [this](const SFbxNodePlan& plan)
    {
        const FbxVector3 one{1, 1, 1};
        const bool bScales =
            plan.nMoving >> 6 || (plan.nMixed >= 0 && m_mixed[static_cast<size_t>(plan.nMixed)].plans[P::eScaling]);
        return !bScales && plan.pieces.s == one && plan.restPieces.s == one;
    };
    for (size_t nNode = 0; nNode < m_plans.size(); ++nNode)
    {
        chain.clear();
        int32_t n = static_cast<int32_t>(nNode);
        while (n >= 0 && states[static_cast<size_t>(n)] == kUnknown)
        {
            chain.push_back(static_cast<uint32_t>(n));
            n = m_plans[static_cast<size_t>(n)].nParent;
        }
        bool bUnit = n < 0 || states[static_cast<size_t>(n)] == kUnit;
        while (!chain.empty())
        {
            SFbxNodePlan& plan = m_plans[chain.back()];
            plan.bPlainLocal = plan.nInherit == 1 || bUnit;
            bUnit = bUnit && ownUnit(plan);
            states[chain.back()] = bUnit ? kUnit : kScaled;
            chain.pop_back();
        }
    }
}

SFbxLocal FbxNodePlans::Rest(size_t nNode) const
{
    return MakeLocal(m_plans[nNode].restPieces);
}

SFbxLocal FbxNodePlans::At(size_t nNode)
{
    const SFbxNodePlan& plan = m_plans[nNode];
    if (plan.nMixed >= 0)
        return MixedLocal(plan);
    const SFbxPieces& pieces = plan.pieces;
    if (plan.nMoving == 0)
        return MakeLocal(pieces);
    const SFbxChannelPlan* pChannels = m_channels.data() + plan.nFirstChannel;
    const auto value = [&](unsigned n, double fFixed)
    { return plan.nMoving >> n & 1 ? m_sampler.Value(pChannels[n]) : fFixed; };
    FbxVector3 t = pieces.t;
    FbxVector3 r = pieces.r;
    FbxVector3 s = pieces.s;
    if (plan.nMoving & 7u)
        t = {value(0, t.x), value(1, t.y), value(2, t.z)};
    if (plan.nMoving & 7u << 3)
        r = {value(3, r.x), value(4, r.y), value(5, r.z)};
    if (plan.nMoving & 7u << 6)
        s = {value(6, s.x), value(7, s.y), value(8, s.z)};
    return MakeLocal(pieces, t, RotationOf(r, pieces.eOrder), s);
}

FbxVector3 FbxNodePlans::Vector(const SFbxMixedNode& mixed, SFbxMixedNode::EProperty eProperty)
{
    const double* pStatic = mixed.values[eProperty];
    if (!mixed.plans[eProperty])
        return VectorOf(pStatic);
    FbxMixedValues values(pStatic, 3);
    m_properties.Mix(*mixed.plans[eProperty], values);
    return VectorOf(values.Values());
}

void FbxNodePlans::MixPieces(const SFbxMixedNode& mixed, SFbxPieces& pieces)
{
    double values[P::eCount][3];
    for (int n = P::eRotationOffset; n < P::eCount; ++n)
    {
        FbxMixedValues one(mixed.values[n], n == P::eRotationOrder ? 1 : 3);
        if (mixed.plans[n])
            m_properties.Mix(*mixed.plans[n], one);
        std::copy_n(one.Values(), 3, values[n]);
    }
    MakePieces(values, mixed.bActive, mixed.pTurn, pieces);
}

SFbxLocal FbxNodePlans::MixedLocal(const SFbxNodePlan& plan)
{
    const SFbxMixedNode& mixed = m_mixed[static_cast<size_t>(plan.nMixed)];
    SFbxPieces own;
    if (mixed.bPieces)
        MixPieces(mixed, own);
    const SFbxPieces& pieces = mixed.bPieces ? own : plan.pieces;
    FbxQuaternion rotation;
    if (mixed.plans[P::eRotation])
    {
        FbxMixedValues angles(mixed.values[P::eRotation], 3);
        m_properties.Mix(*mixed.plans[P::eRotation], angles);
        rotation = angles.Rotation(pieces.eOrder);
    }
    else
        rotation = RotationOf(plan.pieces.r, pieces.eOrder);
    return MakeLocal(pieces, Vector(mixed, P::eTranslation), rotation, Vector(mixed, P::eScaling));
}

bool FbxNodePlans::TurnedValue(const FbxObject& object, std::string_view property, FbxVector3& value)
{
    const bool bPre = property == kNames[P::ePreRotation];
    if (!bPre && property != kNames[P::eRotationOffset])
        return false;
    const auto* pNode = dynamic_cast<const FbxNode*>(&object);
    const SFbxNodeTurn* pTurn = pNode ? pNode->GetTurn() : nullptr;
    if (!pTurn)
        return false;
    const auto mix = [&](P::EProperty eProperty, FbxVector3 v)
    {
        const SFbxPropertyPlan* pPlan = m_properties.Find(object, kNames[eProperty]);
        const double start[3] = {v.x, v.y, v.z};
        FbxMixedValues values(start, 3);
        if (pPlan)
            m_properties.Mix(*pPlan, values);
        return VectorOf(values.Values());
    };
    if (bPre)
        value = (pTurn->q * FbxQuaternion::FromEuler(mix(P::ePreRotation, pTurn->preRotation))).ToEulerXYZ();
    else
    {
        const FbxVector3 pivot = mix(P::eRotationPivot, object.FindProperty(kNames[P::eRotationPivot]).GetVector3());
        value = pTurn->q.Rotate(mix(P::eRotationOffset, pTurn->rotationOffset) + pivot) - pivot;
    }
    return true;
}
