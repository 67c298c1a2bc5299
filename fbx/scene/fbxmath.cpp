#include "fbx/scene/fbxmath.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

void FbxSinCosDegrees(double fDegrees, double& fSin, double& fCos)
{
    SFbxTwo sine, cosine;
    FbxSinCosDegrees(SFbxTwo{fDegrees, fDegrees}, sine, cosine);
    fSin = sine[0];
    fCos = cosine[0];
}

double FbxReduceDegrees(double fDegrees)
{
    return std::fmod(fDegrees, 360.0);
}

namespace
{

/// Of a number from 0 to 1.
double Atan01(double x)
{
    // atan(x) = atan(c) + atan((x - c) / (1 + x c)) with c the nearest eighth, so that the rest is at most 1/16.
    static constexpr double kEighths[] = {0.0,
                                          0.12435499454676144,
                                          0.24497866312686415,
                                          0.35877067027057225,
                                          0.4636476090008061,
                                          0.5585993153435624,
                                          0.6435011087932844,
                                          0.7188299996216245,
                                          0.7853981633974483};
    const double fEighths = std::floor(x * 8.0 + 0.5);
    const double c = fEighths * 0.125;
    const double d = (x - c) / (1.0 + x * c);
    const double d2 = d * d;
    const double f =
        -1.0 / 3.0 + d2 * (1.0 / 5.0 + d2 * (-1.0 / 7.0 + d2 * (1.0 / 9.0 + d2 * (-1.0 / 11.0 + d2 * (1.0 / 13.0)))));
    return kEighths[static_cast<int>(fEighths)] + (d + d * d2 * f);
}

} // namespace

double FbxAtan2(double fY, double fX)
{
    constexpr double kPi = 3.14159265358979323846;
    if (std::isnan(fY) || std::isnan(fX))
        return std::numeric_limits<double>::quiet_NaN();
    const double ay = std::fabs(fY);
    const double ax = std::fabs(fX);
    double f = 0.0;
    if (std::isinf(ay) || std::isinf(ax))
        f = std::isinf(ay) ? (std::isinf(ax) ? kPi / 4 : kPi / 2) : 0.0;
    else if (ax >= ay)
        f = ax > 0.0 ? Atan01(ay / ax) : 0.0;
    else
        f = kPi / 2 - Atan01(ax / ay);
    if (std::signbit(fX))
        f = kPi - f;
    return std::signbit(fY) ? -f : f;
}

double FbxLog(double f)
{
    if (!(f > 0.0))
        return f == 0.0 ? -std::numeric_limits<double>::infinity() : std::numeric_limits<double>::quiet_NaN();
    if (std::isinf(f))
        return f;
    int nExponent = 0;
    double m = std::frexp(f, &nExponent); // 0.5 to 1
    if (m < 0.70710678118654752440)
    {
        m *= 2.0;
        --nExponent;
    }
    // log(m) = 2 atanh((m - 1) / (m + 1)), whose argument is at most 0.172 here.
    const double s = (m - 1.0) / (m + 1.0);
    const double s2 = s * s;
    double fSum = 0.0;
    for (int n = 25; n >= 3; n -= 2)
        fSum = (fSum + 1.0 / n) * s2;
    return nExponent * 0.69314718055994530942 + 2.0 * (s + s * fSum);
}

double FbxExp(double f)
{
    if (std::isnan(f))
        return f;
    if (f > 710.0)
        return std::numeric_limits<double>::infinity();
    if (f < -746.0)
        return 0.0;
    const double k = std::floor(f * 1.44269504088896340736 + 0.5);
    // ln 2 in two parts: the first has so few bits that k times it is exact.
    const double r = (f - k * 0.693147180369123816490) - k * 1.90821492927058770002e-10;
    double fSum = 1.0;
    for (int n = 14; n >= 1; --n)
        fSum = 1.0 + fSum * r / n;
    return std::ldexp(fSum, static_cast<int>(k));
}

FbxQuaternion FbxQuaternion::Inverse() const
{
    const double f = 1.0 / (x * x + y * y + z * z + w * w);
    return {-x * f, -y * f, -z * f, w * f};
}

FbxQuaternion FbxQuaternion::Normalized() const
{
    const double f = 1.0 / std::sqrt(x * x + y * y + z * z + w * w);
    return {x * f, y * f, z * f, w * f};
}

FbxQuaternion FbxQuaternion::FromEuler(const FbxVector3& degrees, EFbxRotationOrder eOrder)
{
    if (eOrder == EFbxRotationOrder::eXYZ)
        return FbxQuaternionOfXYZ(degrees);
    double sx, cx, sy, cy, sz, cz;
    FbxSinCosDegrees(degrees.x * 0.5, sx, cx);
    FbxSinCosDegrees(degrees.y * 0.5, sy, cy);
    FbxSinCosDegrees(degrees.z * 0.5, sz, cz);
    const FbxQuaternion qx{sx, 0.0, 0.0, cx};
    const FbxQuaternion qy{0.0, sy, 0.0, cy};
    const FbxQuaternion qz{0.0, 0.0, sz, cz};
    switch (eOrder)
    {
    case EFbxRotationOrder::eXZY:
        return qy * qz * qx;
    case EFbxRotationOrder::eYZX:
        return qx * qz * qy;
    case EFbxRotationOrder::eYXZ:
        return qz * qx * qy;
    case EFbxRotationOrder::eZXY:
        return qy * qx * qz;
    case EFbxRotationOrder::eZYX:
        return qx * qy * qz;
    default:
        return FbxQuaternionOfXYZ(degrees);
    }
}

FbxVector3 FbxQuaternion::ToEulerXYZ() const
{
    return FbxToEuler(*this, EFbxRotationOrder::eXYZ);
}

FbxVector3 FbxToEuler(const FbxQuaternion& q, EFbxRotationOrder eOrder)
{
    // First, second and third axis to act, and whether they follow each other like x, y, z.
    static constexpr int kAxes[6][3] = {{0, 1, 2}, {0, 2, 1}, {1, 2, 0}, {1, 0, 2}, {2, 0, 1}, {2, 1, 0}};
    const int nOrder = static_cast<int>(eOrder);
    const int* pAxes = kAxes[nOrder >= 0 && nOrder < 6 ? nOrder : 0];
    const int i = pAxes[0];
    const int j = pAxes[1];
    const int k = pAxes[2];
    const double fSign = (j - i + 3) % 3 == 1 ? 1.0 : -1.0;
    const SFbxMatrix3 r = FbxMatrixOf(q);
    const auto at = [&r](int nRow, int nColumn) { return r.m[nRow * 3 + nColumn]; };

    // r = Rk Rj Ri, so its entry (k, i) is minus the sine of the middle angle, times the sign.
    const double fCos = std::sqrt(at(i, i) * at(i, i) + at(j, i) * at(j, i));
    double angles[3];
    angles[j] = FbxAtan2(-fSign * at(k, i), fCos);
    if (fCos > 1e-12)
    {
        angles[i] = FbxAtan2(fSign * at(k, j), at(k, k));
        angles[k] = FbxAtan2(fSign * at(j, i), at(i, i));
    }
    else
    {
        // The outer axes coincide; all of the turn goes to the first one.
        angles[i] = FbxAtan2(-fSign * at(j, k), at(j, j));
        angles[k] = 0.0;
    }
    return {angles[0] * kFbxDegreesPerRadian, angles[1] * kFbxDegreesPerRadian, angles[2] * kFbxDegreesPerRadian};
}

FbxQuaternion FbxPartOf(const FbxQuaternion& q, double f)
{
    const FbxQuaternion d = q.w < 0.0 ? FbxQuaternion{-q.x, -q.y, -q.z, -q.w} : q;
    const double fLength = std::sqrt(d.x * d.x + d.y * d.y + d.z * d.z);
    double s, c;
    FbxSinCosDegrees(FbxAtan2(fLength, d.w) * f * kFbxDegreesPerRadian, s, c);
    const double k = fLength > 1e-300 ? s / fLength : 0.0;
    return {d.x * k, d.y * k, d.z * k, c};
}

FbxQuaternion FbxSlerp(const FbxQuaternion& a, const FbxQuaternion& b, double f)
{
    return a * FbxPartOf(a.Conjugate() * b, f);
}

SFbxMatrix3 FbxTransposed(const SFbxMatrix3& a)
{
    return {{a.m[0], a.m[3], a.m[6], a.m[1], a.m[4], a.m[7], a.m[2], a.m[5], a.m[8]}};
}

double FbxDeterminant(const SFbxMatrix3& a)
{
    const double* m = a.m;
    return m[0] * (m[4] * m[8] - m[5] * m[7]) - m[1] * (m[3] * m[8] - m[5] * m[6]) + m[2] * (m[3] * m[7] - m[4] * m[6]);
}

SFbxMatrix3 FbxInverse(const SFbxMatrix3& a)
{
    const double* m = a.m;
    const double f = 1.0 / FbxDeterminant(a);
    return {{(m[4] * m[8] - m[5] * m[7]) * f, (m[2] * m[7] - m[1] * m[8]) * f, (m[1] * m[5] - m[2] * m[4]) * f,
             (m[5] * m[6] - m[3] * m[8]) * f, (m[0] * m[8] - m[2] * m[6]) * f, (m[2] * m[3] - m[0] * m[5]) * f,
             (m[3] * m[7] - m[4] * m[6]) * f, (m[1] * m[6] - m[0] * m[7]) * f, (m[0] * m[4] - m[1] * m[3]) * f}};
}

namespace
{

double Dot(const FbxVector3& a, const FbxVector3& b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

FbxVector3 Cross(const FbxVector3& a, const FbxVector3& b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

/// Any unit vector across a unit vector.
FbxVector3 Across(const FbxVector3& a)
{
    const FbxVector3 axis = std::fabs(a.x) < 0.6 ? FbxVector3{1, 0, 0} : FbxVector3{0, 1, 0};
    const FbxVector3 c = Cross(a, axis);
    return c * (1.0 / std::sqrt(Dot(c, c)));
}

} // namespace

namespace
{

/// With axes of length zero, or so long or short that squares do not tell: one of those takes whatever direction the
/// others leave.
void DecomposeFlat(FbxVector3 x, FbxVector3 y, FbxVector3 z, FbxQuaternion& q)
{
    const auto unit = [](const FbxVector3& v)
    {
        const double fLargest = std::fmax(std::fabs(v.x), std::fmax(std::fabs(v.y), std::fabs(v.z)));
        if (!(fLargest > 0.0))
            return FbxVector3();
        const FbxVector3 scaled = v * (1.0 / fLargest);
        return scaled * (1.0 / std::sqrt(Dot(scaled, scaled)));
    };
    x = unit(x);
    y = unit(y);
    z = unit(z);
    const FbxVector3 none;
    if (x == none)
        x = unit(Cross(y, z));
    if (x == none)
        x = !(y == none) ? Across(y) : !(z == none) ? Across(z) : FbxVector3{1, 0, 0};
    if (y == none)
        y = Cross(z, x);
    y = unit(y - x * Dot(x, y));
    if (y == none)
        y = Across(x);
    const FbxVector3 last = Cross(x, y);
    q = FbxQuaternionOf({{x.x, y.x, last.x, x.y, y.y, last.y, x.z, y.z, last.z}});
}

} // namespace

void FbxDecomposeOdd(const SFbxMatrix3& a, FbxQuaternion& q, FbxVector3& s)
{
    const FbxVector3 x{a.m[0], a.m[3], a.m[6]};
    const FbxVector3 y{a.m[1], a.m[4], a.m[7]};
    const FbxVector3 z{a.m[2], a.m[5], a.m[8]};
    s = {std::sqrt(Dot(x, x)), std::sqrt(Dot(y, y)), std::sqrt(Dot(z, z))};
    const double fMirror = FbxDeterminant(a) < 0.0 ? -1.0 : 1.0;
    DecomposeFlat(x * fMirror, y * fMirror, z * fMirror, q);
    s = s * fMirror;
    if (fMirror < 0.0)
        s = {s.x == 0.0 ? 0.0 : s.x, s.y == 0.0 ? 0.0 : s.y, s.z == 0.0 ? 0.0 : s.z};
}

void FbxTurnNegativeScales(FbxQuaternion& q, FbxVector3& s)
{
    const bool bX = s.x < 0.0;
    const bool bY = s.y < 0.0;
    const bool bZ = s.z < 0.0;
    const bool bZero = s.x == 0.0 || s.y == 0.0 || s.z == 0.0;
    const bool bMirrored = (bX ^ bY ^ bZ) && !bZero;
    // Axes that are turned about. An odd number of them is no rotation, so a zero axis turns with them.
    bool tx = bX != bMirrored;
    bool ty = bY != bMirrored;
    bool tz = bZ != bMirrored;
    if (tx ^ ty ^ tz)
        (s.x == 0.0 ? tx : s.y == 0.0 ? ty : tz) ^= true;
    if (ty && tz)
        q = q * FbxQuaternion{1, 0, 0, 0};
    else if (tx && tz)
        q = q * FbxQuaternion{0, 1, 0, 0};
    else if (tx && ty)
        q = q * FbxQuaternion{0, 0, 1, 0};
    const double f = bMirrored ? -1.0 : 1.0;
    s = {std::fabs(s.x) * f, std::fabs(s.y) * f, std::fabs(s.z) * f};
}

FbxMatrix4 FbxMatrix4::FromTransform(const FbxTransform& transform)
{
    const SFbxMatrix3 a = FbxScaled(FbxMatrixOf(transform.q), transform.s);
    FbxMatrix4 r;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            r.m[i][j] = a.m[j * 3 + i];
    r.m[3][0] = transform.t.x;
    r.m[3][1] = transform.t.y;
    r.m[3][2] = transform.t.z;
    return r;
}

void FbxMatrix4::Decompose(FbxTransform& transform) const
{
    FbxVector3 shear;
    double fSign = 1.0;
    Decompose(transform, shear, fSign);
}

void FbxMatrix4::Decompose(FbxTransform& transform, FbxVector3& shear, double& fSign) const
{
    SFbxMatrix3 a;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            a.m[j * 3 + i] = m[i][j];
    transform.t = {m[3][0], m[3][1], m[3][2]};
    FbxDecompose(a, transform.q, transform.s);
    fSign = FbxDeterminant(a) < 0.0 ? -1.0 : 1.0;
    // What the rotation does not explain: cosines between the axes.
    const auto cosine = [&a](int i, int j, double fScale)
    { return fScale != 0.0 ? (a.m[i] * a.m[j] + a.m[3 + i] * a.m[3 + j] + a.m[6 + i] * a.m[6 + j]) / fScale : 0.0; };
    shear = {cosine(0, 1, transform.s.x * transform.s.y), cosine(0, 2, transform.s.x * transform.s.z),
             cosine(1, 2, transform.s.y * transform.s.z)};
}

FbxMatrix4 operator*(const FbxMatrix4& a, const FbxMatrix4& b)
{
    FbxMatrix4 r;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            r.m[i][j] = a.m[i][0] * b.m[0][j] + a.m[i][1] * b.m[1][j] + a.m[i][2] * b.m[2][j] + a.m[i][3] * b.m[3][j];
    return r;
}
