#include "base/math/quaternion.h"

#include "base/math/zmath.h"
#include "base/misc/assert.h"
#include "base/misc/zstring.h"

#include <bit>
#include <cmath>
#include <cstdint>

namespace
{

struct SAxis
{
    double x, y, z;
    double fHalfSin; ///< sine of half the angle
};

SAxis AxisOf(const SQuaternion& q)
{
    const double x = q.x, y = q.y, z = q.z;
    const double fSin = std::sqrt(x * x + y * y + z * z);
    const double f = fSin > 0.0 ? 1.0 / fSin : 0.0;
    return {x * f, y * f, z * f, fSin};
}

double AngleOf(const SAxis& axis, const SQuaternion& q)
{
    return 2.0 * ZMath::ATan2(axis.fHalfSin, static_cast<double>(q.w));
}

/// At or next to the identity: what is left of the axis is rounding.
bool HasNoAxis(const SQuaternion& q)
{
    constexpr float fNoAxis = 1.1920928955078125e-7f; // 2^-23
    return std::fabs(q.x) <= fNoAxis && std::fabs(q.y) <= fNoAxis && std::fabs(q.z) <= fNoAxis;
}

/// 1 / sqrt(s) cut to 12 bits of mantissa. Processors have an instruction for this whose bits differ from maker to
/// maker; this one is the same everywhere.
float ReciprocalSquareRootEstimate(float s)
{
    const auto fExact = static_cast<float>(1.0 / std::sqrt(static_cast<double>(s)));
    return std::bit_cast<float>((std::bit_cast<uint32_t>(fExact) + 0x800u) & 0xfffff000u);
}

float4 NormalizeByEstimate(const float4& v, float t)
{
    ZASSERT_TEXT(t != 0.0f, "*reinterpret_cast<float*>(&t) != 0.f");
    float y = ReciprocalSquareRootEstimate(t);
    for (int n = 0; n < 2; ++n)
        y = y * (0.5f - (t * 0.5f) * y * y) + y;
    return {v.x * y, v.y * y, v.z * y, v.w * y};
}

void AppendFloat(float f, ZString& text)
{
    ZVariantRef(f).AppendText(text);
}

} // namespace

float SQuaternion::GetAngle() const
{
    return static_cast<float>(2.0 * ZMath::ACos(static_cast<double>(w)));
}

bool SQuaternion::IsNearEqual(const SQuaternion& other, float fTolerance) const
{
    return std::fabs(x - other.x) <= fTolerance && std::fabs(y - other.y) <= fTolerance &&
           std::fabs(z - other.z) <= fTolerance && std::fabs(w - other.w) <= fTolerance;
}

ZString SQuaternion::ToString() const
{
    return ZString::Format("{0}, {1}, {2}, {3}", x, y, z, w);
}

ZString SMatrix43::ToString() const
{
    ZString text;
    for (const auto& row : m)
    {
        for (const float f : row)
        {
            if (!text.IsEmpty())
                text.Append(", ");
            AppendFloat(f, text);
        }
    }
    return text;
}

float4 QuaternionToAxis(const SQuaternion& q)
{
    if (HasNoAxis(q))
        return {};
    const SAxis a = AxisOf(q);
    return {static_cast<float>(a.x), static_cast<float>(a.y), static_cast<float>(a.z), 0.0f};
}

float4 QuaternionToAxisAngle(const SQuaternion& q)
{
    float4 result = QuaternionToAxis(q);
    result.w = HasNoAxis(q) ? 0.0f : static_cast<float>(AngleOf(AxisOf(q), q));
    return result;
}

float4 QuaternionToRotationVector(const SQuaternion& q)
{
    const SQuaternion nearer = q.w < 0.0f ? SQuaternion{-q.x, -q.y, -q.z, -q.w} : q;
    const SAxis a = AxisOf(nearer);
    const double fAngle = AngleOf(a, nearer);
    return {static_cast<float>(a.x * fAngle), static_cast<float>(a.y * fAngle), static_cast<float>(a.z * fAngle), 0.0f};
}

SQuaternion QuaternionFromRotationVector(const float4& v)
{
    const double x = v.x, y = v.y, z = v.z;
    const double fAngle = std::sqrt(x * x + y * y + z * z);
    double fSin, fCos;
    ZMath::SinCos(0.5 * fAngle, fSin, fCos);
    const double f = fAngle > 0.0 ? fSin / fAngle : 0.5;
    return {static_cast<float>(x * f), static_cast<float>(y * f), static_cast<float>(z * f), static_cast<float>(fCos)};
}

SQuaternion QuaternionSlerp(const SQuaternion& a, const SQuaternion& b, float fParameter)
{
    double fDot = static_cast<double>(a.x) * b.x + static_cast<double>(a.y) * b.y + static_cast<double>(a.z) * b.z +
                  static_cast<double>(a.w) * b.w;
    const double fSign = fDot < 0.0 ? -1.0 : 1.0;
    fDot *= fSign;
    double fA = 1.0 - static_cast<double>(fParameter);
    double fB = fParameter;
    if (fDot < 0.9999999)
    {
        const double fAngle = ZMath::ACos(fDot);
        double fSin, fCos, fSinA, fSinB;
        ZMath::SinCos(fAngle, fSin, fCos);
        ZMath::SinCos(fA * fAngle, fSinA, fCos);
        ZMath::SinCos(fB * fAngle, fSinB, fCos);
        fA = fSinA / fSin;
        fB = fSinB / fSin;
    }
    fB *= fSign;
    double x = fA * a.x + fB * b.x, y = fA * a.y + fB * b.y, z = fA * a.z + fB * b.z, w = fA * a.w + fB * b.w;
    const double f = 1.0 / std::sqrt(x * x + y * y + z * z + w * w);
    return {static_cast<float>(x * f), static_cast<float>(y * f), static_cast<float>(z * f), static_cast<float>(w * f)};
}

SMatrix43 MatrixFromQuaternion(const SQuaternion& q)
{
    const float xx = q.x * q.x, yy = q.y * q.y, zz = q.z * q.z;
    const float xy = q.x * q.y, xz = q.x * q.z, yz = q.y * q.z;
    const float wx = q.w * q.x, wy = q.w * q.y, wz = q.w * q.z;
    return {{{1.0f - 2.0f * yy - 2.0f * zz, 2.0f * xy - 2.0f * wz, 2.0f * xz + 2.0f * wy},
             {2.0f * xy + 2.0f * wz, 1.0f - 2.0f * xx - 2.0f * zz, 2.0f * yz - 2.0f * wx},
             {2.0f * xz - 2.0f * wy, 2.0f * yz + 2.0f * wx, 1.0f - 2.0f * xx - 2.0f * yy},
             {0.0f, 0.0f, 0.0f}}};
}

float4 WVectorNormalize2Exact(const float4& v)
{
    return NormalizeByEstimate(v, v.x * v.x + v.y * v.y);
}

float4 WVectorNormalize3Exact(const float4& v)
{
    return NormalizeByEstimate(v, v.x * v.x + v.y * v.y + v.z * v.z);
}

float4 WVectorNormalize4Exact(const float4& v)
{
    return NormalizeByEstimate(v, v.x * v.x + v.y * v.y + v.z * v.z + v.w * v.w);
}
