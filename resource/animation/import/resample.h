#pragma once

#include "base/collections/tarray.h"
#include "base/math/quaternion.h"

namespace ResourceAnimation::Import
{

/// What stands between two frames, at `fParameter` in [0, 1).
inline float Interpolate(float a, float b, float fParameter)
{
    return fParameter * (b - a) + a;
}
inline SVector2 Interpolate(const SVector2& a, const SVector2& b, float p)
{
    return {Interpolate(a.x, b.x, p), Interpolate(a.y, b.y, p)};
}
inline SVector3 Interpolate(const SVector3& a, const SVector3& b, float p)
{
    return {Interpolate(a.x, b.x, p), Interpolate(a.y, b.y, p), Interpolate(a.z, b.z, p)};
}
inline SVector4 Interpolate(const SVector4& a, const SVector4& b, float p)
{
    return {Interpolate(a.x, b.x, p), Interpolate(a.y, b.y, p), Interpolate(a.z, b.z, p), Interpolate(a.w, b.w, p)};
}
inline SQuaternion Interpolate(const SQuaternion& a, const SQuaternion& b, float fParameter)
{
    return QuaternionSlerp(a, b, fParameter);
}
/// Whole numbers between two frames are cut towards zero; the difference wraps in 32 bits. The largest are 2^31 as
/// floats, which is no such number: they stay what they are.
inline int32_t Interpolate(int32_t a, int32_t b, float fParameter)
{
    const auto nDifference = static_cast<int32_t>(static_cast<uint32_t>(b) - static_cast<uint32_t>(a));
    const float fBetween = static_cast<float>(nDifference) * fParameter + static_cast<float>(a);
    return fBetween >= 2147483648.0f   ? INT32_MAX
           : fBetween < -2147483648.0f ? INT32_MIN
                                       : static_cast<int32_t>(fBetween);
}
/// Flags and codes have nothing between two frames: the lower one holds.
inline uint32_t Interpolate(uint32_t a, uint32_t, float)
{
    return a;
}
inline bool Interpolate(bool a, bool, float)
{
    return a;
}

/// The track at another number of frames. First and last are kept exactly; the step between is the plain ratio of the
/// counts, so the gap before the last one differs. Making a track twice as long or more reads past its end and fails
/// the assertion "m_pStart + nIndex < GetEnd()". Assertion: "newFrameCount > 0".
template <class T>
TArray<T> ResampleArray(TArrayRef<const T> source, int newFrameCount)
{
    TArray<T> result;
    ZASSERT_OR_HALT(newFrameCount > 0);
    result.Reserve(static_cast<size_t>(newFrameCount));
    const float fStep = static_cast<float>(source.Size()) / static_cast<float>(newFrameCount);
    result.Add(source[0]);
    if (newFrameCount == 1)
        return result;
    float fPosition = fStep;
    for (int n = 0; n < newFrameCount - 2; ++n, fPosition += fStep)
    {
        const auto nIndex = static_cast<uint32_t>(fPosition);
        const float parameter = fPosition - static_cast<float>(nIndex);
        ZASSERT(0 <= parameter && parameter < 1.0f);
        // A bool never looks at the frame behind.
        const T& next = std::is_same_v<T, bool> ? source[nIndex] : source[nIndex + 1];
        result.Add(Interpolate(source[nIndex], next, parameter));
    }
    result.Add(source[source.Size() - 1]);
    return result;
}

} // namespace ResourceAnimation::Import
