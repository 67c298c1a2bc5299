#pragma once

#include "base/math/vector.h"
#include "base/misc/export.h"

#include <cmath>

class ZString;

/// x, y, z, w; `a * b` is the Hamilton product. Whether a vector turns by q v conj(q) (scenes, the import model) or by
/// conj(r) v r (rigs and packed animations, the runtime's sense) is the owner's convention, not this type's.
struct alignas(16) SQuaternion
{
    float x = 0.0f, y = 0.0f, z = 0.0f, w = 1.0f;

    friend bool operator==(const SQuaternion&, const SQuaternion&) = default;

    void SetIdentity() { *this = SQuaternion{}; }
    SQuaternion GetConjugate() const { return {-x, -y, -z, w}; }

    /// Rotation angle 2 acos(w), in [0, 2 PI]; q and -q add up to a full turn.
    Z_EXPORT float GetAngle() const;

    /// Every component differs by at most `fTolerance`; q and -q are different here.
    Z_EXPORT bool IsNearEqual(const SQuaternion& other, float fTolerance) const;

    /// "x, y, z, w", each as the shortest text that reads back to the same float.
    Z_EXPORT ZString ToString() const;

    friend SQuaternion operator*(const SQuaternion& a, const SQuaternion& b)
    {
        return {a.w * b.x + a.x * b.w + a.y * b.z - a.z * b.y, a.w * b.y - a.x * b.z + a.y * b.w + a.z * b.x,
                a.w * b.z + a.x * b.y - a.y * b.x + a.z * b.w, a.w * b.w - a.x * b.x - a.y * b.y - a.z * b.z};
    }
};

inline float Dot(const SQuaternion& a, const SQuaternion& b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w;
}

/// Times the reciprocal of the length: a true division and square root, no test for zero.
inline SQuaternion Normalize(const SQuaternion& q)
{
    const float f = 1.0f / std::sqrt(Dot(q, q));
    return {q.x * f, q.y * f, q.z * f, q.w * f};
}

/// q v conj(q), as two quaternion products with w = 0.
inline SVector3 Rotate(const SQuaternion& q, const SVector3& v)
{
    const SQuaternion r = q * SQuaternion{v.x, v.y, v.z, 0.0f} * q.GetConjugate();
    return {r.x, r.y, r.z};
}

/// Rotation, then translation with a fourth float that is 1 by default and carried as it stands.
struct alignas(16) SQV
{
    SQuaternion rotation;
    SVector4 translation{0.0f, 0.0f, 0.0f, 1.0f};
    friend bool operator==(const SQV&, const SQV&) = default;
};
static_assert(sizeof(SQV) == 32 && alignof(SQV) == 16, "packed records hold it in place");

/// Four rows of three floats for row vectors: v' = v M, the translation in the last row.
struct SMatrix43
{
    float m[4][3] = {{1.0f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.0f}, {0.0f, 0.0f, 1.0f}, {0.0f, 0.0f, 0.0f}};

    /// The twelve numbers row by row, separated by ", ", each as the shortest text that reads back to the same float.
    Z_EXPORT ZString ToString() const;
};

/// Unit vector along the rotation's axis in x, y, z and the angle in w; four zeros at or next to the identity, that is
/// where no component of the vector part is above 2^-23.
Z_EXPORT float4 QuaternionToAxisAngle(const SQuaternion& q);

/// The first three of QuaternionToAxisAngle, w 0: the axis alone, for code that asks for many.
Z_EXPORT float4 QuaternionToAxis(const SQuaternion& q);

/// Axis times angle, with the angle of the nearer of the two turns that q may stand for (at most PI); w is 0.
Z_EXPORT float4 QuaternionToRotationVector(const SQuaternion& q);
Z_EXPORT SQuaternion QuaternionFromRotationVector(const float4& v);

/// Spherical interpolation along the shorter arc; parameter in 0 to 1. At 0 it gives `a` up to rounding.
Z_EXPORT SQuaternion QuaternionSlerp(const SQuaternion& a, const SQuaternion& b, float fParameter);

/// Rows 0 to 2; row 0 is (1 - 2yy - 2zz, 2xy - 2wz, 2xz + 2wy). Applied to row vectors it turns them by conj(q) v q, so
/// it takes rotations of the runtime's sense.
Z_EXPORT SMatrix43 MatrixFromQuaternion(const SQuaternion& q);

/// Normalising by a reciprocal square root of 12 bits, refined by two Newton-Raphson steps
/// y := y * (0.5 - (s * 0.5) * y * y) + y on the squared length s. The number says how many lanes count; the others are
/// scaled alike. A squared length of exactly 0 fails the assertion "*reinterpret_cast<float*>(&t) != 0.f".
Z_EXPORT float4 WVectorNormalize2Exact(const float4& v);
Z_EXPORT float4 WVectorNormalize3Exact(const float4& v);
Z_EXPORT float4 WVectorNormalize4Exact(const float4& v);
