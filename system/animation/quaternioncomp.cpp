#include "system/animation/quaternioncomp.h"

#include "system/animation/quaterniondecode.h"

#include <algorithm>

namespace
{

/// Component 0 is x, as in the record; doubles, because the finest step is only ten times a float's rounding.
struct SUnit
{
    double f[4];
};

/// False for a rotation without a direction.
bool MakeUnit(const SQuaternion& q, SUnit& unit)
{
    const double x = q.x, y = q.y, z = q.z, w = q.w;
    const double fSquare = x * x + y * y + z * z + w * w;
    if (!(fSquare > 0.0) || !std::isfinite(fSquare))
        return false;
    const double f = 1.0 / std::sqrt(fSquare);
    unit = {{x * f, y * f, z * f, w * f}};
    return true;
}

/// Square of the chord between two rotations, exactly 0 for the same four floats or their negation.
double SquareDistance(const SUnit& a, const SUnit& b)
{
    double fPlus = 0.0, fMinus = 0.0;
    for (int n = 0; n < 4; ++n)
    {
        fPlus += (a.f[n] - b.f[n]) * (a.f[n] - b.f[n]);
        fMinus += (a.f[n] + b.f[n]) * (a.f[n] + b.f[n]);
    }
    return std::min(fPlus, fMinus);
}

double RatioAt(const QuaternionDecode::SWarp& warp, double n)
{
    const double s = n * n;
    return n * (warp.f1 + s * (warp.f3 + s * warp.f5));
}

/// The real number whose ratio is t, |t| at most a little above 1, where the polynomial still rises. Newton's steps
/// from a start that is within a tenth of the range double the digits each; a few are enough for any double.
double IntegerOfRatio(const QuaternionDecode::SWarp& warp, double t, double fEdge)
{
    double n = t * fEdge;
    for (int nStep = 0; nStep < 4; ++nStep)
    {
        const double s = n * n;
        n -= (RatioAt(warp, n) - t) / (warp.f1 + s * (3.0 * warp.f3 + s * (5.0 * warp.f5)));
    }
    return n;
}

/// The same for the tangent of a quarter of a turn about an axis.
double IntegerOfTangent(double t)
{
    using namespace QuaternionDecode;
    double n = t * AXIS_EDGE;
    for (int nStep = 0; nStep < 4; ++nStep)
    {
        const double s = n * n;
        n -= (n * (AXIS_1 + s * (AXIS_3 + s * (AXIS_5 + s * AXIS_7))) - t) /
             (AXIS_1 + s * (3.0 * AXIS_3 + s * (5.0 * AXIS_5 + s * 7.0 * AXIS_7)));
    }
    return n;
}

struct SLayout64
{
    using TCode = uint64_t;
    static constexpr double EDGE[3] = {QuaternionDecode::EDGE_64, QuaternionDecode::EDGE_64, QuaternionDecode::EDGE_64};
    static constexpr QuaternionDecode::SWarp WARP[3] = {QuaternionDecode::WARP_64_I, QuaternionDecode::WARP_64_JK,
                                                        QuaternionDecode::WARP_64_JK};
    static constexpr int LIMIT[3] = {1048575, 1048575, 1048575};
    static constexpr int J_STEP = 1;
    static int IParity(int j, int k) { return (j ^ k) & 1; }
    static TCode Code(int nSelector, int i, int j, int k)
    {
        const auto nHalf = static_cast<uint32_t>((i - IParity(j, k)) >> 1);
        return static_cast<uint64_t>(nSelector) << 62 |
               static_cast<uint64_t>(static_cast<uint32_t>(k) & 0x1fffffu) << 41 |
               static_cast<uint64_t>(static_cast<uint32_t>(j) & 0x1fffffu) << 20 | (nHalf & 0xfffffu);
    }
    static SQuaternion Unpack(TCode uiCode) { return SQuaternionComp64::Unpack(uiCode); }
};

struct SLayout32
{
    using TCode = uint32_t;
    static constexpr double EDGE[3] = {QuaternionDecode::EDGE_32_IJ, QuaternionDecode::EDGE_32_IJ,
                                       QuaternionDecode::EDGE_32_K};
    static constexpr QuaternionDecode::SWarp WARP[3] = {QuaternionDecode::WARP_32_IJ, QuaternionDecode::WARP_32_IJ,
                                                        QuaternionDecode::WARP_32_K};
    static constexpr int LIMIT[3] = {1023, 1023, 511};
    static constexpr int J_STEP = 2;
    static int IParity(int, int k) { return k & 1; }
    static TCode Code(int nSelector, int i, int j, int k)
    {
        const auto nOdd = k & 1;
        return static_cast<uint32_t>(nSelector) << 30 | (static_cast<uint32_t>(k) & 0x3ffu) << 20 |
               (static_cast<uint32_t>((j - nOdd) >> 1) & 0x3ffu) << 10 |
               (static_cast<uint32_t>((i - nOdd) >> 1) & 0x3ffu);
    }
    static SQuaternion Unpack(TCode uiCode) { return SQuaternionComp32::Unpack(uiCode); }
};

/// Greatest integer below or at f that has the parity.
int FloorWithParity(double f, int nParity)
{
    return 2 * static_cast<int>(std::floor((f - nParity) * 0.5)) + nParity;
}

/// Nearest code among those whose largest component is 3 - nSelector; false if none is near.
///
/// Distances are those of directions (1, t) and (1, t + d): r^2 |d|^2 - (t d)^2 with r^2 = 1 + |t|^2, up to a factor
/// that is the same for all. The polynomials have made the lattice oblique, so rounding each integer by itself would
/// miss the nearest point; for given j and k the best i follows from the formula.
template <class TLayout>
bool FindNearest(const SUnit& q, int nSelector, typename TLayout::TCode& uiCode)
{
    const int nLargest = 3 - nSelector;
    double t[3], n[3];
    for (int nAxis = 0; nAxis < 3; ++nAxis)
    {
        t[nAxis] = q.f[nLargest ^ (nAxis + 1)] / q.f[nLargest];
        n[nAxis] = IntegerOfRatio(TLayout::WARP[nAxis], t[nAxis], TLayout::EDGE[nAxis]);
    }
    const double rr = 1.0 + t[0] * t[0] + t[1] * t[1] + t[2] * t[2];
    const double fSlopeI =
        TLayout::WARP[0].f1 + n[0] * n[0] * (3.0 * TLayout::WARP[0].f3 + n[0] * n[0] * 5.0 * TLayout::WARP[0].f5);
    bool bFound = false;
    double fBest = 0.0;
    const int nFloorK = static_cast<int>(std::floor(n[2]));
    for (int k = nFloorK; k <= nFloorK + 1; ++k)
    {
        if (k < -TLayout::LIMIT[2] || k > TLayout::LIMIT[2])
            continue;
        const double dk = RatioAt(TLayout::WARP[2], k) - t[2];
        const int nFloorJ = TLayout::J_STEP == 1 ? static_cast<int>(std::floor(n[1])) : FloorWithParity(n[1], k & 1);
        for (int j = nFloorJ; j <= nFloorJ + TLayout::J_STEP; j += TLayout::J_STEP)
        {
            if (j < -TLayout::LIMIT[1] || j > TLayout::LIMIT[1])
                continue;
            const double dj = RatioAt(TLayout::WARP[1], j) - t[1];
            const double fAlong = t[1] * dj + t[2] * dk;
            const double fIdeal = n[0] + t[0] * fAlong / (rr - t[0] * t[0]) / fSlopeI;
            const int nFloorI = FloorWithParity(fIdeal, TLayout::IParity(j, k));
            for (int i = nFloorI; i <= nFloorI + 2; i += 2)
            {
                if (i < -TLayout::LIMIT[0] || i > TLayout::LIMIT[0])
                    continue;
                const double di = RatioAt(TLayout::WARP[0], i) - t[0];
                const double fProduct = t[0] * di + fAlong;
                const double fDistance = rr * (di * di + dj * dj + dk * dk) - fProduct * fProduct;
                if (!bFound || fDistance < fBest)
                {
                    bFound = true;
                    fBest = fDistance;
                    uiCode = TLayout::Code(nSelector, i, j, k);
                }
            }
        }
    }
    return bFound;
}

template <class TLayout>
typename TLayout::TCode PackNearest(const SQuaternion& rotation)
{
    SUnit q;
    if (!MakeUnit(rotation, q))
        return 0;
    double fLargest = 0.0;
    for (const double f : q.f)
        fLargest = std::max(fLargest, std::fabs(f));
    // Where two components are about equally large, a code of either kind may be nearest.
    const double fContender = fLargest * (1.0 - 4.0 / TLayout::EDGE[2]);
    typename TLayout::TCode uiBest = 0;
    double fBest = 5.0;
    for (int nSelector = 0; nSelector < 4; ++nSelector)
    {
        typename TLayout::TCode uiCode = 0;
        if (std::fabs(q.f[3 - nSelector]) < fContender || !FindNearest<TLayout>(q, nSelector, uiCode))
            continue;
        SUnit decoded;
        const double fDistance = MakeUnit(TLayout::Unpack(uiCode), decoded) ? SquareDistance(q, decoded) : 5.0;
        if (fDistance < fBest)
        {
            fBest = fDistance;
            uiBest = uiCode;
        }
    }
    return uiBest;
}

} // namespace

uint64_t SQuaternionComp64::Pack(const SQuaternion& q)
{
    return PackNearest<SLayout64>(q);
}

SQuaternion SQuaternionComp64::Unpack(uint64_t uiCode)
{
    SQuaternion q;
    QuaternionDecode::Decode64(static_cast<uint32_t>(uiCode >> 32), static_cast<uint32_t>(uiCode), q.x, q.y, q.z, q.w);
    return q;
}

uint32_t SQuaternionComp32::Pack(const SQuaternion& q)
{
    return PackNearest<SLayout32>(q);
}

SQuaternion SQuaternionComp32::Unpack(uint32_t uiCode)
{
    SQuaternion q;
    QuaternionDecode::Decode32(uiCode, q.x, q.y, q.z, q.w);
    return q;
}

uint16_t SQuaternionSingleAxisComp16::Pack(const SQuaternion& reference, const SQuaternion& key)
{
    const double x = reference.x, y = reference.y, z = reference.z;
    constexpr double fNoAxis = 1.1920928955078125e-7; // 2^-23, where QuaternionToAxisAngle gives up as well
    if (!(std::max({std::fabs(x), std::fabs(y), std::fabs(z)}) > fNoAxis))
        return 0;
    // The part of the key that turns about the axis: sine and cosine of half its angle, times one factor.
    double fSin = (key.x * x + key.y * y + key.z * z) / std::sqrt(x * x + y * y + z * z);
    double fCos = key.w;
    const double fLength = std::sqrt(fSin * fSin + fCos * fCos);
    if (!(fLength > 0.0) || !std::isfinite(fLength))
        return 0;
    fSin /= fCos < 0.0 ? -fLength : fLength;
    fCos = std::fabs(fCos) / fLength;

    const int nNear = static_cast<int>(std::floor(IntegerOfTangent(fSin / (1.0 + fCos)) + 0.5));
    int nBest = nNear;
    double fBest = 2.0;
    for (int n = nNear - 1; n <= nNear + 1; ++n)
    {
        // A step beyond half a turn is the other end of the range.
        float s, c;
        QuaternionDecode::DecodeAxisTurn(static_cast<int32_t>(static_cast<int16_t>(n)), s, c);
        const double fDistance = std::fabs(fSin * c - fCos * s);
        if (fDistance < fBest)
        {
            fBest = fDistance;
            nBest = n;
        }
    }
    return static_cast<uint16_t>(nBest);
}

SQuaternion SQuaternionSingleAxisComp16::Unpack(const SVector3& axis, uint16_t uiCode)
{
    float fSin, fCos;
    QuaternionDecode::DecodeAxisTurn(static_cast<int32_t>(static_cast<int16_t>(uiCode)), fSin, fCos);
    return {axis.x * fSin, axis.y * fSin, axis.z * fSin, fCos};
}
