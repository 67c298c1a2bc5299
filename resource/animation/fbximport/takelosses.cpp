#include "resource/animation/fbximport/takelosses.h"

#include "fbx/scene/fbxscene.h"
#include "resource/animation/fbximport/fbxanimationutils.h"
#include "resource/animation/fbximport/fbxground.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace ResourceAnimation
{

namespace
{

constexpr double SAME = 1e-3;
constexpr double FARTHEST = 1e9; ///< frames
constexpr int32_t MOST_LOOKS = 20;
constexpr uint32_t MOST_NAMES = 5;

bool IsOne(double f)
{
    return std::fabs(f - 1.0) <= SAME;
}

/// What is furthest from 1.
double Amount(const FbxVector3& s)
{
    double fMost = 1.0;
    for (const double f : {s.x, s.y, s.z})
        if (!(std::fabs(f - 1.0) <= std::fabs(fMost - 1.0)))
            fMost = f;
    return fMost;
}

/// The scale furthest from 1 that a node has in a take.
double ScaleOf(const FbxNode& node, const ZFbxTakeData& take)
{
    const FbxProperty property = node.FindProperty("Lcl Scaling");
    if (property.GetCurveNode() == nullptr)
        return property.IsValid() ? Amount(property.GetVector3()) : 1.0;
    double fMost = 1.0;
    const int32_t nStep = std::max(1, take.m_frameCount / MOST_LOOKS);
    for (int64_t n = take.m_startFrame; n <= take.m_endFrame; n += nStep)
    {
        double s[4] = {1.0, 1.0, 1.0, 1.0};
        node.GetScene()->GetAnimationEvaluator()->EvaluateProperty(
            property, TimeOfFrame(static_cast<int>(n), take.m_frameRate), s);
        const double f = Amount({s[0], s[1], s[2]});
        if (!(std::fabs(f - 1.0) <= std::fabs(fMost - 1.0)))
            fMost = f;
    }
    return fMost;
}

ZString Number(double f)
{
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.4g", f);
    return ZString::FromView(buffer);
}

void AddScale(const ZFbxTakeData& take, TArray<ZString>& texts)
{
    const ZFbxGround& ground = *take.m_pGround;
    TArray<const FbxNode*> nodes;
    for (const FbxNode* p = ground.m_pFbxNode; p != nullptr && p->GetParent() != nullptr; p = p->GetParent())
        nodes.Add(p);
    TArray<const FbxNode*> pending;
    for (const FbxNode* pRoot : ground.m_rootObjects)
        pending.Add(pRoot);
    for (size_t n = ground.m_pFbxNode->GetChildCount(); n-- > 0;)
        pending.Add(ground.m_pFbxNode->GetChild(n));
    while (!pending.IsEmpty())
    {
        const FbxNode* pNode = pending.Last();
        pending.RemoveAt(pending.Size() - 1);
        if (HasTakeNodeProperty(pNode))
            continue;
        nodes.Add(pNode);
        for (size_t n = pNode->GetChildCount(); n-- > 0;)
            pending.Add(pNode->GetChild(n));
    }
    ZString names;
    uint32_t nScaled = 0;
    for (const FbxNode* pNode : nodes)
    {
        const double fScale = ScaleOf(*pNode, take);
        if (IsOne(fScale) || nScaled++ >= MOST_NAMES)
            continue;
        names = ZString::Format("{0}{1}'{2}' ({3})", names, names.IsEmpty() ? ZString("") : ZString(", "),
                                ObjectName(pNode), Number(fScale));
    }
    if (nScaled > MOST_NAMES)
        names = ZString::Format("{0} and {1} more", names, nScaled - MOST_NAMES);
    if (nScaled > 0)
        texts.Add(ZString::Format("Scale is dropped in take '{0}', on {1} of {2} nodes: {3}", take.m_name, nScaled,
                                  nodes.Size(), names));
}

void AddSpan(const ZFbxTakeData& take, TArray<ZString>& texts)
{
    const FbxAnimStack* pStack = take.m_pGround->m_pFbxNode->GetScene()->GetCurrentAnimStack();
    if (pStack == nullptr || !(take.m_frameRate > 0.0f))
        return;
    const FbxTimeSpan span = pStack->GetLocalTimeSpan();
    if (!(span.start < span.stop))
        return;
    constexpr double NEAR = 1e-3;

    const double fRate = static_cast<double>(take.m_frameRate);
    const auto place = [fRate](FbxTime time)
    { return std::clamp(time.GetSecondDouble() * fRate, -FARTHEST, FARTHEST); };
    const auto nFirst = static_cast<int64_t>(std::floor(place(span.start) + NEAR));
    const auto nLast = static_cast<int64_t>(std::ceil(place(span.stop) - NEAR));
    const int64_t nBefore =
        std::max<int64_t>(0, std::min<int64_t>(nFirst, int64_t{take.m_endFrame} + 1) - take.m_startFrame);
    const int64_t nBehind =
        std::max<int64_t>(0, take.m_endFrame - std::max<int64_t>(nLast, int64_t{take.m_startFrame} - 1));
    if (nBefore + nBehind > 0)
        texts.Add(
            ZString::Format("Take '{0}' reaches {1} frames beyond its anim stack '{2}', which has frames {3} to {4}",
                            take.m_name, nBefore + nBehind, ObjectName(pStack), nFirst, nLast));
}

} // namespace

TArray<ZString> DescribeTakeLosses(const ZFbxTakeData& take)
{
    TArray<ZString> texts;
    AddScale(take, texts);
    AddSpan(take, texts);
    return texts;
}

} // namespace ResourceAnimation
