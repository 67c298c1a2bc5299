#include "fbx/evaluate/fbxevaluatorstate.h"

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

FbxVector3 FbxAnimEvaluator::SState::ReadVector(const FbxNode& node, std::string_view property,
                                                const FbxVector3& fallback, bool bAnimated)
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

void FbxAnimEvaluator::SState::ReadPieces(const FbxNode& node, SFbxPieces& pieces, bool bAnimated)
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

void FbxAnimEvaluator::SState::CompileNode(FbxNode& node, SFbxNodePlan& plan)
{
    plan.nParent = node.GetParent() ? node.GetParent()->GetIndex() : -1;
    const int64_t nInherit = node.FindProperty("InheritType").GetInt64();
    plan.nInherit = static_cast<uint8_t>(nInherit >= 0 && nInherit <= 2 ? nInherit : 0);
    ReadPieces(node, plan.restPieces, false);
    plan.pieces = plan.restPieces;
    if (node.m_curveNodes.empty())
        return;

    for (const std::string_view other : kOthers)
        plan.bSlow |= IsAnimated(node, other);
    const FbxAnimCurveNode* curveNodes[3] = {};
    for (size_t p = 0; p < 3; ++p)
    {
        const auto [pFirst, pLast] = node.ActiveLinks(kMain[p]);
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
            const FbxAnimCurveNode::SChannel& channel = curveNodes[p]->m_channels[n];
            double* pFixed = Component(*vectors[p], n);
            if (!channel.pCurve || channel.pCurve->GetKeyCount() == 0)
            {
                if (channel.bHasDefault)
                    *pFixed = channel.fDefault;
                continue;
            }
            // Exporters that bake write a curve for everything; most of those never move.
            if (channel.pCurve->IsFlat())
            {
                *pFixed = channel.fFactor * static_cast<double>(channel.pCurve->GetKeyValue(0));
                continue;
            }
            SFbxChannelPlan& to = moving[p * 3 + n];
            to.pCurve = channel.pCurve;
            to.pValues = channel.pCurve->pValues;
            to.pSegments = channel.pCurve->GetSegments(to.eOnly);
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
void FbxAnimEvaluator::SState::CompileInheritance()
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

void FbxAnimEvaluator::SState::CompileLayers()
{
    for (FbxAnimLayer* pLayer : layers)
        pLayer->m_nPlace = -1;
    layers.clear();
    pBaseLayer = nullptr;
    if (const FbxAnimStack* pStack = pScene->GetCurrentAnimStack())
    {
        bool bSolo = false;
        for (size_t n = 0; n < pStack->GetLayerCount(); ++n)
            bSolo |= pStack->GetLayer(n)->GetSolo();
        for (size_t n = 0; n < pStack->GetLayerCount(); ++n)
        {
            FbxAnimLayer* pLayer = pStack->GetLayer(n);
            if ((bSolo ? !pLayer->GetSolo() : pLayer->GetMute()) || pLayer->m_nPlace >= 0)
                continue;
            pLayer->m_nPlace = static_cast<int>(layers.size());
            layers.push_back(pLayer);
        }
        pBaseLayer = pStack->GetLayerCount() > 0 ? pStack->GetLayer(0) : nullptr;
    }
}

void FbxAnimEvaluator::SState::CompileLinks(FbxObject& object)
{
    std::vector<FbxObject::SActiveLink>& active = object.m_activeLinks;
    active.clear();
    links.assign(object.m_curveNodes.begin(), object.m_curveNodes.end());
    std::stable_sort(links.begin(), links.end(), [](const auto& a, const auto& b) { return a.property < b.property; });
    for (size_t nFirst = 0, nLast = 0; nFirst < links.size(); nFirst = nLast)
    {
        // Of several curve nodes for one property in one layer the first connected counts.
        const size_t nBefore = active.size();
        ++nProperty;
        for (; nLast < links.size() && links[nLast].property == links[nFirst].property; ++nLast)
        {
            for (const FbxAnimLayer* pLayer : links[nLast].pCurveNode->m_layers)
            {
                if (pLayer->m_nPlace < 0 || taken[static_cast<size_t>(pLayer->m_nPlace)] == nProperty)
                    continue;
                taken[static_cast<size_t>(pLayer->m_nPlace)] = nProperty;
                active.push_back(
                    {links[nFirst].property, static_cast<uint32_t>(pLayer->m_nPlace), links[nLast].pCurveNode});
            }
        }
        std::sort(active.begin() + static_cast<std::ptrdiff_t>(nBefore), active.end(),
                  [](const auto& a, const auto& b) { return a.nLayer < b.nLayer; });
    }
}

void FbxAnimEvaluator::SState::Compile()
{
    bCompiled = true;
    CompileLayers();
    taken.assign(layers.size(), 0);
    nProperty = 0;
    for (const std::unique_ptr<FbxObject>& pObject : pScene->m_pStorage->objects)
        if (!pObject->m_curveNodes.empty())
            CompileLinks(*pObject);
    const size_t nNodes = pScene->GetNodeCount();
    locations.assign(pScene->m_pStorage->nTimelines, SFbxLocation());
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
