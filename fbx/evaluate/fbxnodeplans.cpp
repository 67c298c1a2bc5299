#include "fbx/evaluate/fbxsceneevaluator.h"

#include <algorithm>

namespace
{

constexpr std::string_view kMain[3] = {"Lcl Translation", "Lcl Rotation", "Lcl Scaling"};
constexpr std::string_view kOthers[] = {"RotationOffset", "RotationPivot", "ScalingOffset", "ScalingPivot",
                                        "PreRotation",    "PostRotation",  "RotationOrder"};

bool IsZero(const FbxVector3& v)
{
    return v.x == 0.0 && v.y == 0.0 && v.z == 0.0;
}

double* Component(FbxVector3& v, size_t n)
{
    return n == 0 ? &v.x : n == 1 ? &v.y : &v.z;
}

} // namespace

FbxVector3 FbxSceneEvaluator::ReadVector(const FbxNode& node, std::string_view property, const FbxVector3& fallback,
                                         bool bAnimated)
{
    const FbxProperty found = node.FindProperty(property);
    FbxVector3 v = found.IsValid() ? found.GetVector3() : fallback;
    if (bAnimated && IsAnimated(node, property))
    {
        double mixed[3] = {v.x, v.y, v.z};
        EvaluateLayers(node, property, mixed, 3);
        v = {mixed[0], mixed[1], mixed[2]};
    }
    return v;
}

void FbxSceneEvaluator::ReadPieces(const FbxNode& node, SFbxPieces& pieces, bool bAnimated)
{
    pieces.t = ReadVector(node, kMain[0], {}, bAnimated);
    pieces.r = ReadVector(node, kMain[1], {}, bAnimated);
    pieces.s = ReadVector(node, kMain[2], {1, 1, 1}, bAnimated);
    const FbxVector3 rotationOffset = ReadVector(node, kOthers[0], {}, bAnimated);
    const FbxVector3 rotationPivot = ReadVector(node, kOthers[1], {}, bAnimated);
    const FbxVector3 scalingOffset = ReadVector(node, kOthers[2], {}, bAnimated);
    pieces.scalingPivot = ReadVector(node, kOthers[3], {}, bAnimated);
    pieces.outer = rotationOffset + rotationPivot;
    pieces.inner = scalingOffset + pieces.scalingPivot - rotationPivot;
    pieces.bPivots = !IsZero(pieces.outer) || !IsZero(pieces.inner) || !IsZero(pieces.scalingPivot);

    pieces.bPre = pieces.bPost = false;
    pieces.eOrder = EFbxRotationOrder::eXYZ;
    const bool bActive =
        node.FindProperty("RotationActive").GetBool() && !node.FindProperty("RotationSpaceForLimitOnly").GetBool();
    if (!bActive)
        return;
    double fOrder = node.FindProperty(kOthers[6]).GetDouble();
    if (bAnimated && IsAnimated(node, kOthers[6]))
        EvaluateLayers(node, kOthers[6], &fOrder, 1);
    if (fOrder >= 0.0 && fOrder <= 5.0)
        pieces.eOrder = static_cast<EFbxRotationOrder>(static_cast<int>(fOrder));
    const FbxVector3 pre = ReadVector(node, kOthers[4], {}, bAnimated);
    const FbxVector3 post = ReadVector(node, kOthers[5], {}, bAnimated);
    pieces.bPre = !IsZero(pre);
    pieces.bPost = !IsZero(post);
    pieces.pre = FbxQuaternion::FromEuler(pre);
    pieces.postInverse = FbxQuaternion::FromEuler(post).Conjugate();
}

void FbxSceneEvaluator::CompileNode(const FbxNode& node, SFbxNodePlan& plan)
{
    plan.nParent = node.GetParent() ? node.GetParent()->GetIndex() : -1;
    const int64_t nInherit = node.FindProperty("InheritType").GetInt64();
    plan.nInherit = static_cast<uint8_t>(nInherit >= 0 && nInherit <= 2 ? nInherit : 0);
    ReadPieces(node, plan.restPieces, false);
    plan.pieces = plan.restPieces;
    if (node.GetCurveNodes().empty())
        return;

    for (const std::string_view other : kOthers)
        plan.bSlow |= IsAnimated(node, other);
    const FbxAnimCurveNode* curveNodes[3] = {};
    for (size_t p = 0; p < 3; ++p)
    {
        const auto [pFirst, pLast] = ActiveLinks(node, kMain[p]);
        if (pFirst == pLast)
            continue;
        plan.bSlow |= pLast - pFirst > 1 || layers[pFirst->nLayer] != pBaseLayer;
        curveNodes[p] = pFirst->pCurveNode;
    }
    if (plan.bSlow)
        return;

    FbxVector3* const vectors[3] = {&plan.pieces.t, &plan.pieces.r, &plan.pieces.s};
    SFbxChannelPlan moving[9];
    for (size_t p = 0; p < 3; ++p)
    {
        for (size_t n = 0; curveNodes[p] && n < 3; ++n)
        {
            const FbxAnimCurveNode::SChannel& channel = curveNodes[p]->GetChannel(n);
            double* pFixed = Component(*vectors[p], n);
            if (!channel.IsAnimated())
            {
                if (channel.bHasDefault)
                    *pFixed = channel.fDefault;
                continue;
            }
            // Exporters that bake write a curve for everything; most of those never move.
            if (IsFlat(*channel.pCurve))
            {
                *pFixed = channel.fFactor * static_cast<double>(channel.pCurve->GetKeyValue(0));
                continue;
            }
            SFbxChannelPlan& to = moving[p * 3 + n];
            to.pCurve = channel.pCurve;
            to.pValues = channel.pCurve->pValues;
            const SFbxCurveSpans& of = Spans(*channel.pCurve);
            to.pSegments = of.pSegments;
            to.eOnly = of.eOnly;
            to.fFactor = channel.fFactor;
            to.bHolds = channel.pCurve->pre.eType == EFbxExtrapolation::eConstant &&
                        channel.pCurve->post.eType == EFbxExtrapolation::eConstant;
            to.nTimeline = channel.pCurve->pTimeline->nIndex;
            plan.nMoving = static_cast<uint16_t>(plan.nMoving | 1u << (p * 3 + n));
        }
    }
    if (plan.nMoving == 0)
        return;
    plan.nFirstChannel = static_cast<int32_t>(channels.size());
    channels.insert(channels.end(), std::begin(moving), std::end(moving));
}

/// Finds the nodes whose local transform is their own affair: all that inherit plainly, and those whose ancestors'
/// scales are all fixed at one.
void FbxSceneEvaluator::CompileInheritance()
{
    constexpr uint8_t kUnknown = 0;
    constexpr uint8_t kUnit = 1;
    constexpr uint8_t kScaled = 2;
    std::vector<uint8_t> states(plans.size(), kUnknown);
    const auto ownUnit = [](const SFbxNodePlan& plan)
    {
        const FbxVector3 one{1, 1, 1};
        return !plan.bSlow && (plan.nMoving >> 6) == 0 && plan.pieces.s == one && plan.restPieces.s == one;
    };
    for (size_t nNode = 0; nNode < plans.size(); ++nNode)
    {
        chain.clear();
        int32_t n = static_cast<int32_t>(nNode);
        while (n >= 0 && states[static_cast<size_t>(n)] == kUnknown)
        {
            chain.push_back(static_cast<uint32_t>(n));
            n = plans[static_cast<size_t>(n)].nParent;
        }
        bool bUnit = n < 0 || states[static_cast<size_t>(n)] == kUnit;
        while (!chain.empty())
        {
            SFbxNodePlan& plan = plans[chain.back()];
            plan.bPlainLocal = plan.nInherit == 1 || bUnit;
            bUnit = bUnit && ownUnit(plan);
            states[chain.back()] = bUnit ? kUnit : kScaled;
            chain.pop_back();
        }
    }
}

void FbxSceneEvaluator::CompileLayers()
{
    places.assign(pScene->GetObjectCount(), -1);
    layers.clear();
    pBaseLayer = nullptr;
    if (const FbxAnimStack* pStack = pScene->GetCurrentAnimStack())
    {
        bool bSolo = false;
        for (size_t n = 0; n < pStack->GetLayerCount(); ++n)
            bSolo |= pStack->GetLayer(n)->GetSettings().bSolo;
        for (size_t n = 0; n < pStack->GetLayerCount(); ++n)
        {
            const FbxAnimLayer* pLayer = pStack->GetLayer(n);
            int& nPlace = places[static_cast<size_t>(pLayer->GetObjectIndex())];
            if ((bSolo ? !pLayer->GetSettings().bSolo : pLayer->GetSettings().bMute) || nPlace >= 0)
                continue;
            nPlace = static_cast<int>(layers.size());
            layers.push_back(pLayer);
        }
        pBaseLayer = pStack->GetLayerCount() > 0 ? pStack->GetLayer(0) : nullptr;
    }
}

std::pair<const SFbxActiveLink*, const SFbxActiveLink*> FbxSceneEvaluator::ActiveLinks(const FbxObject& object,
                                                                                       std::string_view property) const
{
    if (object.GetObjectIndex() < 0)
        return {nullptr, nullptr};
    const std::vector<SFbxActiveLink>& of = active[static_cast<size_t>(object.GetObjectIndex())];
    const auto [first, last] =
        std::equal_range(of.begin(), of.end(), SFbxActiveLink{property, 0, nullptr},
                         [](const SFbxActiveLink& a, const SFbxActiveLink& b) { return a.property < b.property; });
    return {of.data() + (first - of.begin()), of.data() + (last - of.begin())};
}

void FbxSceneEvaluator::CompileLinks(const FbxObject& object)
{
    std::vector<SFbxActiveLink>& of = active[static_cast<size_t>(object.GetObjectIndex())];
    links.assign(object.GetCurveNodes().begin(), object.GetCurveNodes().end());
    std::stable_sort(links.begin(), links.end(), [](const auto& a, const auto& b) { return a.property < b.property; });
    for (size_t nFirst = 0, nLast = 0; nFirst < links.size(); nFirst = nLast)
    {
        // Of several curve nodes for one property in one layer the first connected counts.
        const size_t nBefore = of.size();
        ++nProperty;
        for (; nLast < links.size() && links[nLast].property == links[nFirst].property; ++nLast)
        {
            for (const FbxAnimLayer* pLayer : links[nLast].pCurveNode->GetLayers())
            {
                const int nPlace = places[static_cast<size_t>(pLayer->GetObjectIndex())];
                if (nPlace < 0 || taken[static_cast<size_t>(nPlace)] == nProperty)
                    continue;
                taken[static_cast<size_t>(nPlace)] = nProperty;
                of.push_back({links[nFirst].property, static_cast<uint32_t>(nPlace), links[nLast].pCurveNode});
            }
        }
        std::sort(of.begin() + static_cast<std::ptrdiff_t>(nBefore), of.end(),
                  [](const auto& a, const auto& b) { return a.nLayer < b.nLayer; });
    }
}

void FbxSceneEvaluator::Compile()
{
    bCompiled = true;
    CompileLayers();
    taken.assign(layers.size(), 0);
    nProperty = 0;
    spans.resize(pScene->GetCurveCount());
    active.clear();
    active.resize(pScene->GetObjectCount());
    for (size_t n = 0; n < pScene->GetObjectCount(); ++n)
        if (!pScene->GetObject(n)->GetCurveNodes().empty())
            CompileLinks(*pScene->GetObject(n));
    const size_t nNodes = pScene->GetNodeCount();
    locations.assign(pScene->GetTimelineCount(), SFbxLocation());
    channels.clear();
    plans.assign(nNodes, SFbxNodePlan());
    for (size_t n = 0; n < nNodes; ++n)
        CompileNode(*pScene->GetNode(n), plans[n]);
    CompileInheritance();
    for (SFbxMoment* pMoment : {&rest, &now})
    {
        pMoment->nStamp = 1;
        pMoment->locals.resize(nNodes);
        pMoment->globals.resize(nNodes);
        pMoment->localStamps.assign(nNodes, 0);
        pMoment->globalStamps.assign(nNodes, 0);
    }
    rest.time = FbxTime::Infinite();
}
