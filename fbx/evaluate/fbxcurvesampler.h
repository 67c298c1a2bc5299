#pragma once

#include "fbx/evaluate/fbxsegments.h"
#include "fbx/scene/fbxscene.h"

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

/// A curve as it is evaluated.
struct SFbxChannelPlan
{
    const float* pValues = nullptr;
    const SFbxSegment* pSegments = nullptr; ///< null: all spans are of one kind
    const FbxAnimCurve* pCurve = nullptr;
    double fFactor = 1.0;
    uint32_t nTimeline = 0;
    EFbxSegment eOnly = EFbxSegment::eLinear;
    bool bHolds = false; ///< has its first and last key's values outside of them
};

/// Values of a scene's curves at one time after the other.
class FbxCurveSampler
{
public:
    explicit FbxCurveSampler(FbxScene& scene) : m_scene(scene) {}

    /// To be called again when the scene has got curves.
    void Prepare();
    void SetTime(FbxTime time);
    /// Of a curve with keys; fFactor is on its values.
    SFbxChannelPlan Plan(const FbxAnimCurve& curve, double fFactor);
    /// True when the curve has one value at all times.
    bool IsFlat(const FbxAnimCurve& curve);

    FbxTime Time() const { return m_time; }
    /// Another one for each time.
    uint64_t Stamp() const { return m_nStamp; }
    double Value(const SFbxChannelPlan& channel)
    {
        const SFbxLocation& known = m_locations[channel.nTimeline];
        const SFbxLocation& location = known.nStamp == m_nStamp ? known : Locate(*channel.pCurve->pTimeline);
        if (location.eWhere >= SFbxLocation::eBefore && !channel.bHolds)
            return channel.fFactor * Extrapolate(channel, location.eWhere == SFbxLocation::eBefore);
        return channel.fFactor * FbxValueAt(channel.pValues, channel.pSegments, channel.eOnly, location);
    }

private:
    /// The spans of one curve, worked out when first asked for; null when all are of the one kind.
    struct SSpans
    {
        const SFbxSegment* pSegments = nullptr;
        EFbxSegment eOnly = EFbxSegment::eLinear;
        bool bPrepared = false;
    };
    const SSpans& Spans(const FbxAnimCurve& curve);
    const SFbxLocation& Locate(const SFbxTimeline& timeline);
    double Extrapolate(const SFbxChannelPlan& channel, bool bBefore) const;

    FbxScene& m_scene;
    FbxTime m_time;
    uint64_t m_nStamp = 1;
    std::vector<SFbxLocation> m_locations; ///< by timeline
    std::vector<SSpans> m_spans;           ///< by curve
};
