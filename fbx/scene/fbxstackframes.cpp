#include "fbx/scene/fbxstackframes.h"

#include <algorithm>
#include <cmath>

namespace
{

constexpr double NEAR = 1e-3;
/// As far as a 32-bit float counts frames without a gap.
constexpr double FARTHEST = 16777215.0;

/// Curves of a node's transform in any layer of a stack.
template <class TVisit>
void ForEachCurves(const FbxNode& node, const FbxAnimStack* pStack, TVisit visit)
{
    for (const FbxObject::SCurveNodeLink& link : node.GetCurveNodes())
        if (link.property.starts_with("Lcl "))
            for (size_t n = 0; pStack != nullptr && n < pStack->GetLayerCount(); ++n)
                if (link.pCurveNode->IsInLayer(pStack->GetLayer(n)))
                    visit(*link.pCurveNode);
}

} // namespace

double FbxFrameRateOf(const FbxScene& scene)
{
    const double fRate = scene.GetGlobalSettings().GetFrameRate();
    return fRate > 0.0 && std::isfinite(fRate) ? fRate : 30.0;
}

bool FbxHasKeys(const FbxNode& node)
{
    bool bAny = false;
    ForEachCurves(node, node.GetScene()->GetCurrentAnimStack(),
                  [&bAny](const FbxAnimCurveNode& curves) { bAny |= curves.IsAnimated(); });
    return bAny;
}

SFbxFrames FbxFramesOf(const FbxTimeSpan& span, double fFrameRate)
{
    const auto place = [fFrameRate](FbxTime time)
    { return std::clamp(time.GetSecondDouble() * fFrameRate, -FARTHEST, FARTHEST); };
    const auto nFirst = static_cast<int64_t>(std::ceil(place(span.start) - NEAR));
    const auto nLast = static_cast<int64_t>(std::floor(place(span.stop) + NEAR));
    return {nFirst, std::max(nFirst, nLast)};
}

FbxTimeSpan FbxSpanOf(const FbxAnimStack& stack)
{
    FbxTimeSpan span = stack.GetLocalTimeSpan();
    if (span.start < span.stop)
        return span;
    bool bAny = false;
    const auto widen = [&](const FbxAnimCurveNode& curves)
    {
        FbxTimeSpan keys;
        if (!curves.GetAnimationInterval(keys))
            return;
        span.start = bAny ? std::min(span.start, keys.start) : keys.start;
        span.stop = bAny ? std::max(span.stop, keys.stop) : keys.stop;
        bAny = true;
    };
    const FbxScene& scene = *stack.GetScene();
    for (size_t n = 0; n < scene.GetNodeCount(); ++n)
        ForEachCurves(*scene.GetNode(n), &stack, widen);
    return span;
}
