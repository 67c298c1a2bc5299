#include "fbx/evaluate/fbxsegments.h"

#include <bit>
#include <cmath>
#include <cstring>

// Slopes of keys that leave them to the reader. The rules were measured, not published: auto tangents lean on both
// neighbours, a bias pulls them to one side, and a progressive clamp keeps the curve between its keys.
namespace
{

constexpr float kDefaultWeight = 1.0f / 3.0f;

struct SNeighbours
{
    double fBefore = 0.0; ///< seconds to the key before; not above zero when there is none
    double fAfter = 0.0;
    double fRise = 0.0; ///< value minus the value before
    double fNextRise = 0.0;
};

/// Bias beyond 500 adds a steepness of its own.
double ExtraSteepness(double fBias)
{
    const double f = std::fabs(fBias) / 100.0 - 5.0;
    return f > 0.0 ? f * f * 40.0 : 0.0;
}

double AutoSlope(const SNeighbours& at, double fWeightLeft, double fWeightRight, double fBias, uint32_t nFlags)
{
    if ((nFlags & eFbxKey_Clamp) && (at.fRise == 0.0 || at.fNextRise == 0.0))
        return 0.0;
    const double fSpan = at.fBefore + at.fAfter;
    double fSlope = (at.fRise + at.fNextRise) / fSpan;
    if (!(nFlags & eFbxKey_TimeIndependent))
    {
        // Half the chord over both spans, half the blend of the two chords by where the key stands between them.
        const double fLeft = at.fRise / at.fBefore;
        const double fRight = at.fNextRise / at.fAfter;
        const double fPart = at.fBefore / fSpan;
        fSlope = 0.5 * fSlope + 0.5 * (fLeft * (1.0 - fPart) + fRight * fPart);
        const double fPull = std::fabs(fBias) / 100.0;
        if (fPull > 0.0001)
        {
            const double fTarget = fBias > 0.0 ? fRight : fLeft;
            const double fWay = fTarget - fSlope;
            fSlope = fSlope * (1.0 - fPull) + fTarget * fPull;
            const double fSign = std::fabs(fWay) > 0.00001 ? fWay : fBias;
            fSlope += fSign > 0.0 ? ExtraSteepness(fBias) : -ExtraSteepness(fBias);
        }
    }
    if (nFlags & eFbxKey_ClampProgressive)
    {
        const double fSign = fSlope >= 0.0 ? 1.0 : -1.0;
        const double fLeftRange = fWeightLeft * at.fBefore;
        const double fRightRange = fWeightRight * at.fAfter;
        const double fLeftLimit = fLeftRange > 0.0 ? fSign * at.fRise / fLeftRange : 0.0;
        const double fRightLimit = fRightRange > 0.0 ? fSign * at.fNextRise / fRightRange : 0.0;
        double f = fSign * fSlope;
        if (!(f <= fLeftLimit))
            f = fLeftLimit > 0.0 ? fLeftLimit : 0.0;
        if (!(f <= fRightLimit))
            f = fRightLimit > 0.0 ? fRightLimit : 0.0;
        fSlope = fSign * f;
    }
    return fSlope;
}

/// At the first or last key, where one chord is all there is.
double AutoEndSlope(double fRise, double fSeconds, double fBias, uint32_t nFlags)
{
    if (nFlags & eFbxKey_ClampProgressive)
        return 0.0;
    if ((nFlags & eFbxKey_Clamp) && fRise == 0.0)
        return 0.0;
    const double fSlope = fRise / fSeconds;
    if (nFlags & eFbxKey_TimeIndependent)
        return fSlope;
    return fBias > 0.0 ? fSlope + ExtraSteepness(fBias) : fSlope - ExtraSteepness(fBias);
}

/// Slopes by tension, continuity and bias, after Kochanek and Bartels.
void TcbSlopes(const uint32_t* pWords, double fLeftChord, double fRightChord, bool bEnd, float& fLeft, float& fRight)
{
    const double fTension = static_cast<double>(std::bit_cast<float>(pWords[0]));
    const double fContinuity = static_cast<double>(std::bit_cast<float>(pWords[1]));
    const double fBias = static_cast<double>(std::bit_cast<float>(pWords[2]));
    const double f = (bEnd ? 1.0 : 0.5) * (1.0 - fTension);
    const double a = f * (1.0 + fBias);
    const double b = f * (1.0 - fBias);
    fLeft = static_cast<float>(a * (1.0 - fContinuity) * fLeftChord + b * (1.0 + fContinuity) * fRightChord);
    fRight = static_cast<float>(a * (1.0 + fContinuity) * fLeftChord + b * (1.0 - fContinuity) * fRightChord);
}

double Seconds(int64_t nFrom, int64_t nTo)
{
    return static_cast<double>(static_cast<uint64_t>(nTo) - static_cast<uint64_t>(nFrom)) /
           static_cast<double>(FbxTime::kTicksPerSecond);
}

} // namespace

void FbxSolveTangents(const FbxAnimCurve& curve, SFbxSegment* pSegments)
{
    const SFbxKeyAttributes& attributes = curve.attributes;
    const uint32_t nKeys = curve.pTimeline->nKeys;
    const int64_t* pTimes = curve.pTimeline->pTimes;
    const float* pValues = curve.pValues;

    float fSlopeLeft = 0.0f; // what the key before said about this key's left side
    float fWeightLeft = kDefaultWeight;
    uint32_t nEntry = 0;
    int32_t nLeft = attributes.nEntries > 0 ? attributes.pCounts[0] : 0;
    for (uint32_t n = 0; n < nKeys; ++n)
    {
        while (nLeft <= 0 && nEntry + 1 < attributes.nEntries)
            nLeft = attributes.pCounts[++nEntry];
        --nLeft;
        const uint32_t nFlags = attributes.pFlags[nEntry];
        const uint32_t* pWords = attributes.pWords + size_t(nEntry) * 4;

        SFbxSegment& segment = pSegments[n];
        segment = {std::bit_cast<float>(pWords[0]), std::bit_cast<float>(pWords[1]), kDefaultWeight, kDefaultWeight,
                   EFbxSegment::eCubic};
        if (attributes.bFloatWeights)
        {
            segment.fWeightRight = std::bit_cast<float>(pWords[2]);
            segment.fWeightNextLeft = std::bit_cast<float>(pWords[3]);
        }
        else
        {
            if (nFlags & eFbxKey_WeightedRight)
                segment.fWeightRight = static_cast<float>(pWords[2] & 0xffff) / 9999.0f;
            if (nFlags & eFbxKey_WeightedNextLeft)
                segment.fWeightNextLeft = static_cast<float>(pWords[2] >> 16) / 9999.0f;
        }

        SNeighbours at;
        const bool bBefore = n > 0 && pTimes[n] > pTimes[n - 1];
        const bool bAfter = n + 1 < nKeys && pTimes[n + 1] > pTimes[n];
        if (bBefore)
        {
            at.fBefore = Seconds(pTimes[n - 1], pTimes[n]);
            at.fRise = static_cast<double>(pValues[n]) - static_cast<double>(pValues[n - 1]);
        }
        if (bAfter)
        {
            at.fAfter = Seconds(pTimes[n], pTimes[n + 1]);
            at.fNextRise = static_cast<double>(pValues[n + 1]) - static_cast<double>(pValues[n]);
        }

        if (nFlags & eFbxKey_Constant)
        {
            const bool bNext = (nFlags & eFbxKey_ConstantNext) != 0;
            segment = {0.0f, 0.0f, kDefaultWeight, kDefaultWeight, bNext ? EFbxSegment::eStepNext : EFbxSegment::eStep};
        }
        else if (!(nFlags & eFbxKey_Cubic))
        {
            const float fSlope = bAfter ? static_cast<float>(at.fNextRise / at.fAfter) : 0.0f;
            segment = {fSlope, fSlope, kDefaultWeight, kDefaultWeight, EFbxSegment::eLinear};
        }
        else
        {
            if (nFlags & eFbxKey_Tcb)
            {
                TcbSlopes(pWords, bBefore ? at.fRise / at.fBefore : 0.0, bAfter ? at.fNextRise / at.fAfter : 0.0,
                          !bBefore || !bAfter, fSlopeLeft, segment.fSlopeRight);
                segment.fSlopeNextLeft = 0.0f;
                segment.fWeightNextLeft = kDefaultWeight;
            }
            else if (!(nFlags & eFbxKey_User))
            {
                // The slope fields hold the bias here, of the left side with the sign turned.
                const double fBiasLeft = -static_cast<double>(fSlopeLeft);
                const double fBiasRight = static_cast<double>(segment.fSlopeRight);
                const double wl = static_cast<double>(fWeightLeft);
                const double wr = static_cast<double>(segment.fWeightRight);
                double fLeft = 0.0;
                double fRight = 0.0;
                if (bBefore && bAfter)
                {
                    fRight = AutoSlope(at, wl, wr, fBiasRight, nFlags);
                    const bool bOne = std::fabs(fBiasRight - fBiasLeft) <= 0.0001;
                    fLeft = bOne ? fRight : AutoSlope(at, wl, wr, fBiasLeft, nFlags);
                }
                else if (bBefore)
                    fLeft = fRight = AutoEndSlope(at.fRise, at.fBefore, fBiasLeft, nFlags);
                else if (bAfter)
                    fLeft = fRight = AutoEndSlope(at.fNextRise, at.fAfter, fBiasRight, nFlags);
                fSlopeLeft = static_cast<float>(fLeft);
                segment.fSlopeRight = static_cast<float>(fRight);
            }
            // Only the tangents that are solved here change what the span before ends with.
            if (n > 0 && !(nFlags & eFbxKey_User) && pSegments[n - 1].eKind >= EFbxSegment::eCubic)
                pSegments[n - 1].fSlopeNextLeft = fSlopeLeft;
        }
        if (segment.eKind == EFbxSegment::eCubic &&
            (segment.fWeightRight != kDefaultWeight || segment.fWeightNextLeft != kDefaultWeight))
            segment.eKind = EFbxSegment::eCubicWeighted;
        fSlopeLeft = segment.fSlopeNextLeft;
        fWeightLeft = segment.fWeightNextLeft;
    }
}
