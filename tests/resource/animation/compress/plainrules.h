#pragma once

#include "base/math/quaternion.h"
#include "resource/animation/compress/rotationtests.h"

#include <cstring>

#include <cmath>

/// The rules of whole tracks as they read, key by key: what the compressor's faster ways must agree with to the bit.
namespace PlainRules
{

inline bool HasNoDirection(const float4& v)
{
    using ResourceAnimation::AXIS_TOLERANCE;
    return std::fabs(v.x) <= AXIS_TOLERANCE && std::fabs(v.y) <= AXIS_TOLERANCE && std::fabs(v.z) <= AXIS_TOLERANCE;
}

inline bool HasDifferentRotation(TArrayRef<const SQuaternion> keys, float fTolerance)
{
    for (const SQuaternion& key : keys)
    {
        const SQuaternion negated{-key.x, -key.y, -key.z, -key.w};
        const float d = Dot(Normalize(keys[0]), Normalize(key));
        if (std::memcmp(&keys[0], &key, sizeof key) != 0 && std::memcmp(&keys[0], &negated, sizeof key) != 0 &&
            std::fabs(d - 1.0f) > fTolerance && std::fabs(d + 1.0f) > fTolerance)
            return true;
    }
    return false;
}

inline SQuaternion FindLargestRotation(TArrayRef<const SQuaternion> keys)
{
    SQuaternion best;
    float fBest = 0.0f;
    for (size_t n = 0; n < keys.Size(); ++n)
    {
        const SQuaternion& key = keys[n];
        const SQuaternion q = key.w < 0.0f ? SQuaternion{-key.x, -key.y, -key.z, -key.w} : key;
        const float4 v = QuaternionToRotationVector(q);
        const float fLength = std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
        if (n == 0 || fLength > fBest)
        {
            best = q;
            fBest = fLength;
        }
    }
    return best;
}

inline bool IsSingleAxisRotation(TArrayRef<const SQuaternion> keys)
{
    using namespace ResourceAnimation;
    const SQuaternion reference = FindLargestRotation(keys);
    if (keys.IsEmpty() || reference.IsNearEqual(SQuaternion(), AXIS_TOLERANCE))
        return false;
    const float4 direction = QuaternionToAxis(reference);
    const float4 axis = HasNoDirection(direction) ? direction : WVectorNormalize3Exact(direction);
    for (const SQuaternion& key : keys)
    {
        const float4 keyDirection = QuaternionToAxis(key);
        if (HasNoDirection(keyDirection))
            continue;
        const float4 unit = WVectorNormalize3Exact(keyDirection);
        const float d = unit.x * axis.x + unit.y * axis.y + unit.z * axis.z;
        if (std::fabs(d - 1.0f) > ROTATION_TOLERANCE && std::fabs(d + 1.0f) > ROTATION_TOLERANCE)
            return false;
    }
    return true;
}

} // namespace PlainRules
