#include "host/adopt/stackspan.h"

#include <algorithm>
#include <cmath>

namespace Host
{

namespace
{

constexpr const char* TRANSFORM[] = {"Lcl Translation", "Lcl Rotation", "Lcl Scaling"};
constexpr double NEAR = 1e-3;
/// As far as a 32-bit float counts frames without a gap.
constexpr double FARTHEST = 16777215.0;

} // namespace

double FrameRateOf(const FbxScene& scene)
{
    const double fRate = scene.GetGlobalSettings().GetFrameRate();
    return fRate > 0.0 && std::isfinite(fRate) ? fRate : 30.0;
}

bool HasKeys(const FbxNode& node)
{
    return std::any_of(std::begin(TRANSFORM), std::end(TRANSFORM),
                       [&node](const char* szName)
                       {
                           const FbxAnimCurveNode* pCurves = node.FindProperty(szName).GetCurveNode();
                           return pCurves != nullptr && pCurves->IsAnimated();
                       });
}

SFrames FramesOf(const FbxTimeSpan& span, double fFrameRate)
{
    const auto place = [fFrameRate](FbxTime time)
    { return std::clamp(time.GetSecondDouble() * fFrameRate, -FARTHEST, FARTHEST); };
    const auto nFirst = static_cast<int64_t>(std::ceil(place(span.start) - NEAR));
    const auto nLast = static_cast<int64_t>(std::floor(place(span.stop) + NEAR));
    return {nFirst, std::max(nFirst, nLast)};
}

FbxTimeSpan SpanOfCurrentStack(const FbxScene& scene)
{
    FbxTimeSpan span = scene.GetCurrentAnimStack()->GetLocalTimeSpan();
    if (span.start < span.stop)
        return span;
    bool bAny = false;
    for (size_t n = 0; n < scene.GetNodeCount(); ++n)
        for (const char* szName : TRANSFORM)
        {
            const FbxAnimCurveNode* pCurves = scene.GetNode(n)->FindProperty(szName).GetCurveNode();
            FbxTimeSpan keys;
            if (pCurves == nullptr || !pCurves->GetAnimationInterval(keys))
                continue;
            span.start = bAny ? std::min(span.start, keys.start) : keys.start;
            span.stop = bAny ? std::max(span.stop, keys.stop) : keys.stop;
            bAny = true;
        }
    return span;
}

} // namespace Host
