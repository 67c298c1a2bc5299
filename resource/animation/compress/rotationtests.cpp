#include "resource/animation/compress/rotationtests.h"

#include <cmath>

namespace ResourceAnimation
{

namespace
{

bool HasNoDirection(const float4& axis)
{
    return std::fabs(axis.x) <= AXIS_TOLERANCE && std::fabs(axis.y) <= AXIS_TOLERANCE &&
           std::fabs(axis.z) <= AXIS_TOLERANCE;
}

float RotationVectorLength(const SQuaternion& q)
{
    const float4 v = QuaternionToRotationVector(q);
    return std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
}

} // namespace

bool IsDifferentRotation(const SQuaternion& a, const SQuaternion& b, float fTolerance)
{
    const float d = Dot(Normalize(a), Normalize(b));
    return std::fabs(d - 1.0f) > fTolerance && std::fabs(d + 1.0f) > fTolerance;
}

bool IsDifferentTranslation(const SVector3& a, const SVector3& b, float fTolerance)
{
    return !(std::fabs(a.x - b.x) <= fTolerance && std::fabs(a.y - b.y) <= fTolerance &&
             std::fabs(a.z - b.z) <= fTolerance);
}

SQuaternion FindLargestRotation(TArrayRef<const SQuaternion> keys)
{
    // The length grows with |sin| / |cos| of the half angle. Comparing these squares decides nearly every key without
    // the arc tangent that the length takes.
    const auto sinSquared = [](const SQuaternion& q)
    { return static_cast<double>(q.x) * q.x + static_cast<double>(q.y) * q.y + static_cast<double>(q.z) * q.z; };
    const auto cosSquared = [](const SQuaternion& q) { return static_cast<double>(q.w) * q.w; };
    size_t nBest = 0;
    double fBestSin = sinSquared(keys[0]), fBestCos = cosSquared(keys[0]);
    float fBestLength = -1.0f;
    for (size_t n = 1; n < keys.Size(); ++n)
    {
        const double fSin = sinSquared(keys[n]), fCos = cosSquared(keys[n]);
        if (!(fSin * fBestCos > fBestSin * fCos))
            continue;
        if (fBestLength < 0.0f)
            fBestLength = RotationVectorLength(keys[nBest]);
        const float fLength = RotationVectorLength(keys[n]);
        if (!(fLength > fBestLength))
            continue;
        nBest = n;
        fBestSin = fSin;
        fBestCos = fCos;
        fBestLength = fLength;
    }
    const SQuaternion& q = keys[nBest];
    return q.w < 0.0f ? SQuaternion{-q.x, -q.y, -q.z, -q.w} : q;
}

float4 ReferenceAxis(const SQuaternion& reference)
{
    const float4 axis = QuaternionToAxis(reference);
    return HasNoDirection(axis) ? axis : WVectorNormalize3Exact(axis);
}

bool IsSingleAxisRotation(TArrayRef<const SQuaternion> keys)
{
    if (keys.IsEmpty())
        return false;
    const SQuaternion reference = FindLargestRotation(keys);
    if (reference.IsNearEqual(SQuaternion(), AXIS_TOLERANCE))
        return false;
    const float4 referenceAxis = ReferenceAxis(reference);
    for (const SQuaternion& key : keys)
    {
        const float4 axis = QuaternionToAxis(key);
        if (HasNoDirection(axis))
            continue;
        const float4 unit = WVectorNormalize3Exact(axis);
        const float d = unit.x * referenceAxis.x + unit.y * referenceAxis.y + unit.z * referenceAxis.z;
        if (std::fabs(d - 1.0f) > ROTATION_TOLERANCE && std::fabs(d + 1.0f) > ROTATION_TOLERANCE)
            return false;
    }
    return true;
}

} // namespace ResourceAnimation
