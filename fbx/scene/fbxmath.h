#pragma once

#include "fbx/scene/fbxtransform.h"

#include <cmath>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

/// Functions that differ between the mathematics libraries of machines, written with the four operations and the
/// square root alone, so that equal input gives equal bits everywhere. Errors are a few units in the last place.

/// Two numbers that go through the same operations at once; each gets the bits it would get alone.
using SFbxTwo = double __attribute__((vector_size(16)));
inline SFbxTwo FbxSquareRoot(SFbxTwo x)
{
#ifdef __SSE2__
    return _mm_sqrt_pd(x);
#else
    return SFbxTwo{std::sqrt(x[0]), std::sqrt(x[1])};
#endif
}
using SFbxTwoBits = long long __attribute__((vector_size(16)));

/// An angle whose quarter turns a double can't count, within one turn; not a number for infinities.
double FbxReduceDegrees(double fDegrees);

/// Of two angles in degrees. The reduction to a quarter turn is exact, and so are the results at multiples of 90.
inline void FbxSinCosDegrees(SFbxTwo degrees, SFbxTwo& sine, SFbxTwo& cosine)
{
    for (int n = 0; n < 2; ++n)
        if (!(degrees[n] < 1e9 && degrees[n] > -1e9))
            degrees[n] = FbxReduceDegrees(degrees[n]);

    // Adding and taking away 1.5 * 2^52 rounds to the nearest integer, which is left in the low bits.
    constexpr double kRound = 6755399441055744.0;
    const SFbxTwo rounded = degrees * (1.0 / 90.0) + kRound;
    const SFbxTwo quarters = rounded - kRound;
    const SFbxTwo x = (degrees - quarters * 90.0) * 0.017453292519943295769236907684886;

    // Taylor series; at a quarter of pi the first term left out is below 5e-17.
    const SFbxTwo x2 = x * x;
    const SFbxTwo x4 = x2 * x2;
    const SFbxTwo x8 = x4 * x4;
    const SFbxTwo s = ((-1.0 / 6.0 + x2 * (1.0 / 120.0)) + x4 * (-1.0 / 5040.0 + x2 * (1.0 / 362880.0))) +
                      x8 * ((-1.0 / 39916800.0 + x2 * (1.0 / 6227020800.0)) + x4 * (-1.0 / 1307674368000.0));
    const SFbxTwo c = ((-0.5 + x2 * (1.0 / 24.0)) + x4 * (-1.0 / 720.0 + x2 * (1.0 / 40320.0))) +
                      x8 * ((-1.0 / 3628800.0 + x2 * (1.0 / 479001600.0)) +
                            x4 * (-1.0 / 87178291200.0 + x2 * (1.0 / 20922789888000.0)));
    const SFbxTwoBits sineBits = reinterpret_cast<SFbxTwoBits>(x + x * x2 * s);
    const SFbxTwoBits cosineBits = reinterpret_cast<SFbxTwoBits>(1.0 + x2 * c);

    // Odd quarters swap the two, the second bit turns the sign.
    const SFbxTwoBits quarter = reinterpret_cast<SFbxTwoBits>(rounded);
    const SFbxTwoBits swap = -(quarter & 1);
    const SFbxTwoBits a = (sineBits & ~swap) | (cosineBits & swap);
    const SFbxTwoBits b = (cosineBits & ~swap) | (sineBits & swap);
    sine = reinterpret_cast<SFbxTwo>(a ^ (quarter & 2) << 62);
    cosine = reinterpret_cast<SFbxTwo>(b ^ ((quarter + 1) & 2) << 62);
}
void FbxSinCosDegrees(double fDegrees, double& fSin, double& fCos);

/// Euler angles in degrees, x first.
inline FbxQuaternion FbxQuaternionOfXYZ(const FbxVector3& degrees)
{
    SFbxTwo sineXY, cosineXY, sineZ, cosineZ;
    FbxSinCosDegrees(SFbxTwo{degrees.x * 0.5, degrees.y * 0.5}, sineXY, cosineXY);
    FbxSinCosDegrees(SFbxTwo{degrees.z * 0.5, degrees.z * 0.5}, sineZ, cosineZ);
    const double sx = sineXY[0], sy = sineXY[1], sz = sineZ[0];
    const double cx = cosineXY[0], cy = cosineXY[1], cz = cosineZ[0];
    // qz * qy * qx, written out.
    return {cz * cy * sx - sz * sy * cx, cz * sy * cx + sz * cy * sx, sz * cy * cx - cz * sy * sx,
            cz * cy * cx + sz * sy * sx};
}
double FbxAtan2(double fY, double fX); ///< radians
double FbxLog(double f);               ///< natural logarithm of a positive number
double FbxExp(double f);

constexpr double kFbxDegreesPerRadian = 57.295779513082320876798154814105;
constexpr double kFbxRadiansPerDegree = 0.017453292519943295769236907684886;

/// Angles in degrees that FromEuler turns back into this rotation, for any order.
FbxVector3 FbxToEuler(const FbxQuaternion& q, EFbxRotationOrder eOrder);
/// The part f of a rotation, along the shorter arc.
FbxQuaternion FbxPartOf(const FbxQuaternion& q, double f);
/// The way from a to b, along the shorter arc, at constant speed.
FbxQuaternion FbxSlerp(const FbxQuaternion& a, const FbxQuaternion& b, double f);

/// 3 by 3 matrices of column vectors, row-major: the image of axis i is column i.
struct SFbxMatrix3
{
    double m[9];
};
inline SFbxMatrix3 FbxMatrixOf(const FbxQuaternion& q)
{
    const double x = 2.0 * q.x, y = 2.0 * q.y, z = 2.0 * q.z;
    const double xx = x * q.x, yy = y * q.y, zz = z * q.z;
    const double xy = x * q.y, xz = x * q.z, yz = y * q.z;
    const double wx = x * q.w, wy = y * q.w, wz = z * q.w;
    return {{1.0 - yy - zz, xy - wz, xz + wy, xy + wz, 1.0 - xx - zz, yz - wx, xz - wy, yz + wx, 1.0 - xx - yy}};
}
inline SFbxMatrix3 operator*(const SFbxMatrix3& a, const SFbxMatrix3& b)
{
    // The first two columns at once.
    const SFbxTwo b0{b.m[0], b.m[1]}, b1{b.m[3], b.m[4]}, b2{b.m[6], b.m[7]};
    SFbxMatrix3 r;
    for (int i = 0; i < 9; i += 3)
    {
        const SFbxTwo two = a.m[i] * b0 + a.m[i + 1] * b1 + a.m[i + 2] * b2;
        r.m[i] = two[0];
        r.m[i + 1] = two[1];
        r.m[i + 2] = a.m[i] * b.m[2] + a.m[i + 1] * b.m[5] + a.m[i + 2] * b.m[8];
    }
    return r;
}
inline FbxVector3 operator*(const SFbxMatrix3& a, const FbxVector3& v)
{
    return {a.m[0] * v.x + a.m[1] * v.y + a.m[2] * v.z, a.m[3] * v.x + a.m[4] * v.y + a.m[5] * v.z,
            a.m[6] * v.x + a.m[7] * v.y + a.m[8] * v.z};
}
/// Columns times the components of s.
inline SFbxMatrix3 FbxScaled(const SFbxMatrix3& a, const FbxVector3& s)
{
    return {{a.m[0] * s.x, a.m[1] * s.y, a.m[2] * s.z, a.m[3] * s.x, a.m[4] * s.y, a.m[5] * s.z, a.m[6] * s.x,
             a.m[7] * s.y, a.m[8] * s.z}};
}
SFbxMatrix3 FbxTransposed(const SFbxMatrix3& a);
SFbxMatrix3 FbxInverse(const SFbxMatrix3& a); ///< not a number where it is singular
double FbxDeterminant(const SFbxMatrix3& a);
inline FbxQuaternion FbxQuaternionOf(const SFbxMatrix3& r)
{
    // Starts from the largest of the four components, so that nothing is divided by a small number.
    const double* m = r.m;
    const double fTrace = m[0] + m[4] + m[8];
    FbxQuaternion q;
    if (fTrace >= m[0] && fTrace >= m[4] && fTrace >= m[8])
        q = {m[7] - m[5], m[2] - m[6], m[3] - m[1], 1.0 + fTrace};
    else if (m[0] >= m[4] && m[0] >= m[8])
        q = {1.0 + m[0] - m[4] - m[8], m[1] + m[3], m[2] + m[6], m[7] - m[5]};
    else if (m[4] >= m[8])
        q = {m[1] + m[3], 1.0 + m[4] - m[0] - m[8], m[5] + m[7], m[2] - m[6]};
    else
        q = {m[2] + m[6], m[5] + m[7], 1.0 + m[8] - m[0] - m[4], m[3] - m[1]};
    const double f = 1.0 / std::sqrt(q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w);
    return {q.x * f, q.y * f, q.z * f, q.w * f};
}

/// For matrices with axes of length zero, or so long or short that squares do not tell.
void FbxDecomposeOdd(const SFbxMatrix3& a, FbxQuaternion& q, FbxVector3& s);
/// Rotation and scale as FbxTransform tells them: the first axis keeps its direction, the second its side of the first,
/// the third follows. Two numbers a register where two of a kind are to be had.
inline void FbxDecompose(const SFbxMatrix3& a, FbxQuaternion& q, FbxVector3& s)
{
    const SFbxTwo xy0{a.m[0], a.m[1]}, xy1{a.m[3], a.m[4]}, xy2{a.m[6], a.m[7]}; // both axes, component by component
    const SFbxTwo zx0{a.m[2], a.m[0]}, zx1{a.m[5], a.m[3]}, zx2{a.m[8], a.m[6]};
    const SFbxTwo zy0{a.m[2], a.m[1]}, zy1{a.m[5], a.m[4]}, zy2{a.m[8], a.m[7]};
    const SFbxTwo squares = xy0 * xy0 + xy1 * xy1 + xy2 * xy2; // of x and y
    const SFbxTwo others = zx0 * zy0 + zx1 * zy1 + zx2 * zy2;  // z squared, x times y
    const double xx = squares[0];
    const double zz = others[0];

    // The part of the second axis across the first is taken times the first's squared length: neither waits for the
    // other's root.
    const double fDot = others[1];
    const FbxVector3 across{a.m[1] * xx - a.m[0] * fDot, a.m[4] * xx - a.m[3] * fDot, a.m[7] * xx - a.m[6] * fDot};
    const double fAcross = across.x * across.x + across.y * across.y + across.z * across.z;
    if (!(fAcross > 1e-200 && fAcross < 1e200 && xx > 1e-100 && zz > 1e-200))
    {
        FbxDecomposeOdd(a, q, s);
        return;
    }
    const SFbxTwo rootsXAcross = FbxSquareRoot(SFbxTwo{xx, fAcross});
    const SFbxTwo rootsYZ = FbxSquareRoot(SFbxTwo{squares[1], zz});
    s = {rootsXAcross[0], rootsYZ[0], rootsYZ[1]};
    const SFbxTwo inverse = 1.0 / rootsXAcross;
    const double fFirst = inverse[0];
    const double fSecond = inverse[1];
    FbxVector3 first{a.m[0] * fFirst, a.m[3] * fFirst, a.m[6] * fFirst};
    FbxVector3 second{across.x * fSecond, across.y * fSecond, across.z * fSecond};
    const FbxVector3 third{first.y * second.z - first.z * second.y, first.z * second.x - first.x * second.z,
                           first.x * second.y - first.y * second.x};
    if (third.x * a.m[2] + third.y * a.m[5] + third.z * a.m[8] < 0.0)
    {
        // Mirrored: all three axes are turned about, which leaves the third where it is.
        s = -s;
        first = -first;
        second = -second;
    }
    q = FbxQuaternionOf({{first.x, second.x, third.x, first.y, second.y, third.y, first.z, second.z, third.z}});
}
void FbxTurnNegativeScales(FbxQuaternion& q, FbxVector3& s);
/// A rotation with scales of any sign, as FbxTransform tells them.
inline void FbxNormaliseSigns(FbxQuaternion& q, FbxVector3& s)
{
    if (s.x > 0.0 && s.y > 0.0 && s.z > 0.0)
        return;
    if (s.x >= 0.0 && s.y >= 0.0 && s.z >= 0.0)
        s = {s.x + 0.0, s.y + 0.0, s.z + 0.0}; // no negative zeros
    else
        FbxTurnNegativeScales(q, s);
}
