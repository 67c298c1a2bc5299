#include "fbx/evaluate/fbxcurvesampler.h"

#include <algorithm>
#include <cmath>

namespace
{

/// Times come from 32-bit numbers of seconds and frames a second: up to two roundings of 2^-24 away from the key that
/// was meant. A time that near to a key is that key, so that a stepped curve switches on its frame.
int64_t NearTicks(int64_t nTicks)
{
    return (nTicks < 0 ? -(nTicks + 1) : nTicks) / (1 << 23) + 1;
}

int64_t AddClamped(int64_t a, int64_t b)
{
    int64_t n;
    return __builtin_add_overflow(a, b, &n) ? (b > 0 ? INT64_MAX : INT64_MIN) : n;
}

double Between(int64_t nFrom, int64_t nTo)
{
    return static_cast<double>(static_cast<uint64_t>(nTo) - static_cast<uint64_t>(nFrom));
}

void Find(const SFbxTimeline& timeline, int64_t nTicks, int64_t nNear, SFbxLocation& location)
{
    const int64_t* pTimes = timeline.pTimes;
    const uint32_t nKeys = timeline.nKeys;
    const int64_t nUpTo = AddClamped(nTicks, nNear);
    uint32_t n = location.nKey;
    if (pTimes[n] > nUpTo)
        n = 0;
    // Time mostly moves on by a key or stays in its span.
    for (int nStep = 0; nStep < 4 && n + 1 < nKeys && pTimes[n + 1] <= nUpTo; ++nStep)
        ++n;
    if (n + 1 < nKeys && pTimes[n + 1] <= nUpTo)
        n = static_cast<uint32_t>(std::upper_bound(pTimes + n + 1, pTimes + nKeys, nUpTo) - pTimes) - 1;
    location.nKey = n;
    if (pTimes[n] > nUpTo)
        location.eWhere = SFbxLocation::eBefore;
    else if (AddClamped(nTicks, -nNear) <= pTimes[n])
        location.eWhere = SFbxLocation::eOnKey;
    else if (n + 1 == nKeys)
        location.eWhere = SFbxLocation::eAfter;
    else
    {
        const double fSpan = Between(pTimes[n], pTimes[n + 1]);
        location.eWhere = SFbxLocation::eBetween;
        location.u = Between(pTimes[n], nTicks) / fSpan;
        location.fSeconds = fSpan / static_cast<double>(FbxTime::kTicksPerSecond);
    }
}

} // namespace

void FbxCurveSampler::Prepare()
{
    ++m_nStamp;
    m_locations.assign(m_scene.GetTimelineCount(), SFbxLocation());
    m_spans.resize(m_scene.GetCurveCount());
}

void FbxCurveSampler::SetTime(FbxTime time)
{
    if (time == m_time)
        return;
    m_time = time;
    ++m_nStamp;
}

SFbxChannelPlan FbxCurveSampler::Plan(const FbxAnimCurve& curve, double fFactor)
{
    const SSpans& of = Spans(curve);
    SFbxChannelPlan plan;
    plan.pValues = curve.pValues;
    plan.pSegments = of.pSegments;
    plan.pCurve = &curve;
    plan.fFactor = fFactor;
    plan.nTimeline = curve.pTimeline->nIndex;
    plan.eOnly = of.eOnly;
    plan.bHolds = curve.pre.eType == EFbxExtrapolation::eConstant && curve.post.eType == EFbxExtrapolation::eConstant;
    return plan;
}

const SFbxLocation& FbxCurveSampler::Locate(const SFbxTimeline& timeline)
{
    SFbxLocation& location = m_locations[timeline.nIndex];
    location.nStamp = m_nStamp;
    Find(timeline, m_time.Get(), NearTicks(m_time.Get()), location);
    return location;
}

const FbxCurveSampler::SSpans& FbxCurveSampler::Spans(const FbxAnimCurve& curve)
{
    SSpans& of = m_spans[curve.nIndex];
    if (of.bPrepared)
        return of;
    of.bPrepared = true;
    if (!FbxHasOneKind(curve, of.eOnly))
    {
        SFbxSegment* pSegments = m_scene.GetMemory().AllocateArray<SFbxSegment>(curve.GetKeyCount());
        FbxSolveTangents(curve, pSegments);
        of.pSegments = pSegments;
    }
    return of;
}

bool FbxCurveSampler::IsFlat(const FbxAnimCurve& curve)
{
    const uint32_t nKeys = curve.pTimeline->nKeys;
    if (nKeys == 0 || !std::isfinite(curve.pValues[0]))
        return false;
    for (uint32_t n = 1; n < nKeys; ++n)
        if (curve.pValues[n] != curve.pValues[0])
            return false;
    // Told by the attributes as a rule: the spans of a curve that never moves are not worked out.
    if (FbxStaysFlat(curve.attributes))
        return true;
    const SFbxSegment* pSegments = Spans(curve).pSegments;
    if (!pSegments)
        return true;
    const bool bSloped = curve.pre.eType == EFbxExtrapolation::eSlope || curve.post.eType == EFbxExtrapolation::eSlope;
    for (uint32_t n = 0; n + (bSloped ? 0 : 1) < nKeys; ++n)
    {
        const SFbxSegment& segment = pSegments[n];
        if (segment.eKind >= EFbxSegment::eCubic && !(segment.fSlopeRight == 0.0f && segment.fSlopeNextLeft == 0.0f))
            return false;
    }
    return true;
}

double FbxCurveSampler::Extrapolate(const SFbxChannelPlan& channel, bool bBefore) const
{
    const FbxAnimCurve& curve = *channel.pCurve;
    const uint32_t nLast = curve.pTimeline->nKeys - 1;
    const int64_t nFirstTime = curve.pTimeline->pTimes[0];
    const int64_t nLastTime = curve.pTimeline->pTimes[nLast];
    const double fEnd = static_cast<double>(curve.pValues[bBefore ? 0 : nLast]);
    const SFbxExtrapolation& how = bBefore ? curve.pre : curve.post;
    if (how.eType == EFbxExtrapolation::eConstant || nLast == 0)
        return fEnd;
    const int64_t nTicks = m_time.Get();
    const double fBeyond = bBefore ? Between(nTicks, nFirstTime) : Between(nLastTime, nTicks);

    if (how.eType == EFbxExtrapolation::eSlope)
    {
        const SFbxSegment* pSegments = channel.pSegments;
        const uint32_t nSpan = bBefore ? 0 : nLast - 1;
        double fSlope = 0.0;
        if (pSegments)
            fSlope = static_cast<double>(bBefore ? pSegments[0].fSlopeRight : pSegments[nSpan].fSlopeNextLeft);
        else if (channel.eOnly == EFbxSegment::eLinear)
        {
            const double fSpan = Between(curve.pTimeline->pTimes[nSpan], curve.pTimeline->pTimes[nSpan + 1]);
            const double fRise =
                static_cast<double>(curve.pValues[nSpan + 1]) - static_cast<double>(curve.pValues[nSpan]);
            fSlope = fSpan > 0.0 ? fRise / fSpan * static_cast<double>(FbxTime::kTicksPerSecond) : 0.0;
        }
        const double fSeconds = fBeyond / static_cast<double>(FbxTime::kTicksPerSecond);
        return bBefore ? fEnd - fSlope * fSeconds : fEnd + fSlope * fSeconds;
    }

    const double fLength = Between(nFirstTime, nLastTime);
    if (how.nRepetition == 0 || fLength < 1.0)
        return fEnd;
    double fRounds = std::floor(fBeyond / fLength);
    double fInto = fBeyond - fRounds * fLength;
    if (how.nRepetition > 0 && fRounds >= static_cast<double>(how.nRepetition))
    {
        fRounds = static_cast<double>(how.nRepetition) - 1.0;
        fInto = fLength;
    }
    if (how.eType == EFbxExtrapolation::eMirror && fRounds * 0.5 - std::floor(fRounds * 0.5) < 0.25)
        fInto = fLength - fInto;
    if (bBefore)
        fInto = fLength - fInto;
    const double fAt = std::floor(fInto + 0.5);
    const int64_t nAt = fAt >= fLength
                            ? nLastTime
                            : static_cast<int64_t>(static_cast<uint64_t>(nFirstTime) + static_cast<uint64_t>(fAt));
    SFbxLocation location;
    Find(*curve.pTimeline, nAt, NearTicks(nTicks), location);
    double fValue = FbxValueAt(channel.pValues, channel.pSegments, channel.eOnly, location);
    if (how.eType == EFbxExtrapolation::eRepeatRelative)
    {
        const double fRise = static_cast<double>(curve.pValues[nLast]) - static_cast<double>(curve.pValues[0]);
        fValue += (bBefore ? -fRise : fRise) * (fRounds + 1.0);
    }
    return fValue;
}
