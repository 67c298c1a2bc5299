#include "fbx/evaluate/fbxsegments.h"

#include <bit>
#include <cmath>

bool FbxHasOneKind(const FbxAnimCurve& curve, EFbxSegment& eOnly)
{
    const SFbxKeyAttributes& attributes = curve.attributes;
    bool bStep = attributes.nEntries > 0;
    bool bLinear = true;
    for (uint32_t n = 0; n < attributes.nEntries; ++n)
    {
        const uint32_t nFlags = attributes.pFlags[n];
        bStep &= (nFlags & eFbxKey_Constant) != 0 && (nFlags & eFbxKey_ConstantNext) == 0;
        bLinear &= (nFlags & (eFbxKey_Constant | eFbxKey_Cubic)) == 0;
    }
    eOnly = bStep ? EFbxSegment::eStep : EFbxSegment::eLinear;
    return bStep || bLinear || curve.GetKeyCount() == 0;
}

namespace
{

/// True when a key of these attributes, between others of its own value, can only stay there.
bool StaysFlat(uint32_t nFlags, const uint32_t* pWords)
{
    const float fRight = std::bit_cast<float>(pWords[0]);
    const float fNextLeft = std::bit_cast<float>(pWords[1]);
    if (!(nFlags & eFbxKey_Cubic) || (nFlags & (eFbxKey_Constant | eFbxKey_Tcb)))
        return (nFlags & eFbxKey_Tcb) == 0 || std::isfinite(fRight + fNextLeft + std::bit_cast<float>(pWords[2]));
    if (nFlags & eFbxKey_User)
        return fRight == 0.0f && fNextLeft == 0.0f;
    return std::fabs(fRight) <= 100.0f && std::fabs(fNextLeft) <= 100.0f; // beyond, a bias steepens by itself
}

} // namespace

bool FbxStaysFlat(const SFbxKeyAttributes& attributes)
{
    bool bStays = true;
    for (uint32_t n = 0; n < attributes.nEntries && bStays; ++n)
        bStays = StaysFlat(attributes.pFlags[n], attributes.pWords + size_t(n) * 4);
    return bStays;
}

namespace
{

/// Parameter of the curve through 0, a, b, 1 where it has the height u: Newton's method, kept between brackets by
/// halving, so that odd weights cost accuracy at worst.
double BezierParameter(double a, double b, double u)
{
    const double c3 = 3.0 * a - 3.0 * b + 1.0;
    const double c2 = 3.0 * b - 6.0 * a;
    const double c1 = 3.0 * a;
    double fLow = 0.0;
    double fHigh = 1.0;
    double t = u;
    for (int n = 0; n < 60; ++n)
    {
        const double f = ((c3 * t + c2) * t + c1) * t - u;
        if (std::fabs(f) < 1e-15)
            break;
        (f > 0.0 ? fHigh : fLow) = t;
        const double fSlope = (3.0 * c3 * t + 2.0 * c2) * t + c1;
        const double fNext = t - f / fSlope;
        t = fNext > fLow && fNext < fHigh ? fNext : 0.5 * (fLow + fHigh);
    }
    return t;
}

} // namespace

double FbxEvaluateSegment(const SFbxSegment& segment, double fValue, double fNext, double fSeconds, double u)
{
    switch (segment.eKind)
    {
    case EFbxSegment::eStep:
        return fValue;
    case EFbxSegment::eStepNext:
        return fNext;
    case EFbxSegment::eLinear:
        return fValue + (fNext - fValue) * u;
    default:
        break;
    }
    double fRight = 1.0 / 3.0;
    double fLeft = 1.0 / 3.0;
    double t = u;
    if (segment.eKind == EFbxSegment::eCubicWeighted)
    {
        fRight = static_cast<double>(segment.fWeightRight);
        fLeft = static_cast<double>(segment.fWeightNextLeft);
        t = BezierParameter(fRight, 1.0 - fLeft, u);
    }
    const double y1 = fValue + static_cast<double>(segment.fSlopeRight) * fSeconds * fRight;
    const double y2 = fNext - static_cast<double>(segment.fSlopeNextLeft) * fSeconds * fLeft;
    const double s = 1.0 - t;
    return s * s * s * fValue + 3.0 * (s * s * t * y1 + s * t * t * y2) + t * t * t * fNext;
}
