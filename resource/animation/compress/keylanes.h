#pragma once

#include "base/collections/tarrayref.h"
#include "base/math/quaternion.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

/// Keys four side by side, for the tests of whole tracks. Each operation does, lane by lane, what the function of the
/// same purpose in base/math does, in the same order: the results have the same bits.
namespace ResourceAnimation::KeyLanes
{

using float4v = float __attribute__((vector_size(16)));
using int4v = int32_t __attribute__((vector_size(16)));
using uint4v = uint32_t __attribute__((vector_size(16)));
using double2v = double __attribute__((vector_size(16)));

struct SVectorLanes
{
    float4v x, y, z;
};

struct SQuaternionLanes
{
    float4v x, y, z, w;
};

inline float4v Size(float4v v)
{
    return reinterpret_cast<float4v>(reinterpret_cast<int4v>(v) & INT32_MAX);
}

inline bool AnyLane(int4v mask)
{
#if defined(__SSE2__)
    return _mm_movemask_epi8(reinterpret_cast<__m128i>(mask)) != 0;
#else
    return (mask[0] | mask[1] | mask[2] | mask[3]) != 0;
#endif
}

inline float4v SquareRoot(float4v v)
{
#if defined(__SSE2__)
    return reinterpret_cast<float4v>(_mm_sqrt_ps(reinterpret_cast<__m128>(v)));
#else
    return float4v{std::sqrt(v[0]), std::sqrt(v[1]), std::sqrt(v[2]), std::sqrt(v[3])};
#endif
}

inline double2v SquareRoot(double2v v)
{
#if defined(__SSE2__)
    return reinterpret_cast<double2v>(_mm_sqrt_pd(reinterpret_cast<__m128d>(v)));
#else
    return double2v{std::sqrt(v[0]), std::sqrt(v[1])};
#endif
}

inline SQuaternionLanes LoadQuaternions(const SQuaternion* p)
{
    float4v row[4];
    std::memcpy(row, p, sizeof row);
    const float4v xyLow = __builtin_shufflevector(row[0], row[1], 0, 4, 1, 5);
    const float4v xyHigh = __builtin_shufflevector(row[2], row[3], 0, 4, 1, 5);
    const float4v zwLow = __builtin_shufflevector(row[0], row[1], 2, 6, 3, 7);
    const float4v zwHigh = __builtin_shufflevector(row[2], row[3], 2, 6, 3, 7);
    return {__builtin_shufflevector(xyLow, xyHigh, 0, 1, 4, 5), __builtin_shufflevector(xyLow, xyHigh, 2, 3, 6, 7),
            __builtin_shufflevector(zwLow, zwHigh, 0, 1, 4, 5), __builtin_shufflevector(zwLow, zwHigh, 2, 3, 6, 7)};
}

/// Calls function(four keys) for all; the last keys are filled up with repetitions of the last one.
template <class T, class TFunction>
void ForAllLanes(TArrayRef<const T> keys, TFunction function)
{
    const T* p = keys.GetStart();
    size_t n = 0;
    for (; n + 4 <= keys.Size(); n += 4)
        function(p + n);
    if (n == keys.Size())
        return;
    T last[4];
    for (size_t i = 0; i < 4; ++i)
        last[i] = p[n + i < keys.Size() ? n + i : keys.Size() - 1];
    function(static_cast<const T*>(last));
}

/// Whether the mask that test(four keys) gives holds anywhere. Stops where it does.
template <class T, class TTest>
bool AnyOfLanes(TArrayRef<const T> keys, TTest test)
{
    const T* p = keys.GetStart();
    size_t n = 0;
    for (; n + 4 <= keys.Size(); n += 4)
        if (AnyLane(test(p + n)))
            return true;
    if (n == keys.Size())
        return false;
    T last[4];
    for (size_t i = 0; i < 4; ++i)
        last[i] = p[n + i < keys.Size() ? n + i : keys.Size() - 1];
    return AnyLane(test(static_cast<const T*>(last)));
}

/// Lanes 0 and 1, or 2 and 3, in doubles.
inline double2v LowerToDouble(float4v v)
{
#if defined(__SSE2__)
    return reinterpret_cast<double2v>(_mm_cvtps_pd(reinterpret_cast<__m128>(v)));
#else
    return double2v{v[0], v[1]};
#endif
}
inline double2v UpperToDouble(float4v v)
{
    return LowerToDouble(__builtin_shufflevector(v, v, 2, 3, 2, 3));
}

inline float4v ToFloats(double2v lower, double2v upper)
{
#if defined(__SSE2__)
    return reinterpret_cast<float4v>(
        _mm_movelh_ps(_mm_cvtpd_ps(reinterpret_cast<__m128d>(lower)), _mm_cvtpd_ps(reinterpret_cast<__m128d>(upper))));
#else
    return float4v{static_cast<float>(lower[0]), static_cast<float>(lower[1]), static_cast<float>(upper[0]),
                   static_cast<float>(upper[1])};
#endif
}

/// QuaternionToAxis: zeros next to the identity.
inline SVectorLanes QuaternionsToAxes(const SQuaternionLanes& q)
{
    constexpr float fNoAxis = 1.1920928955078125e-7f;
    const int4v bHasAxis = ~((Size(q.x) <= fNoAxis) & (Size(q.y) <= fNoAxis) & (Size(q.z) <= fNoAxis));
    struct SHalf
    {
        double2v x, y, z;
    };
    const auto axes = [](double2v x, double2v y, double2v z)
    {
        using long2v = int64_t __attribute__((vector_size(16)));
        const double2v fSin = SquareRoot(x * x + y * y + z * z);
        const auto mask = reinterpret_cast<long2v>(fSin > 0.0);
        const double2v f = reinterpret_cast<double2v>(reinterpret_cast<long2v>(1.0 / fSin) & mask);
        return SHalf{x * f, y * f, z * f};
    };
    const SHalf lower = axes(LowerToDouble(q.x), LowerToDouble(q.y), LowerToDouble(q.z));
    const SHalf upper = axes(UpperToDouble(q.x), UpperToDouble(q.y), UpperToDouble(q.z));
    const auto join = [bHasAxis](double2v a, double2v b)
    { return reinterpret_cast<float4v>(reinterpret_cast<int4v>(ToFloats(a, b)) & bHasAxis); };
    return {join(lower.x, upper.x), join(lower.y, upper.y), join(lower.z, upper.z)};
}

/// WVectorNormalize3Exact, without its assertion: a vector of length 0 gives no numbers.
inline SVectorLanes NormalizeExact(const SVectorLanes& v)
{
    const float4v t = v.x * v.x + v.y * v.y + v.z * v.z;
    const float4v exact = ToFloats(1.0 / SquareRoot(LowerToDouble(t)), 1.0 / SquareRoot(UpperToDouble(t)));
    auto y = reinterpret_cast<float4v>((reinterpret_cast<uint4v>(exact) + 0x800u) & 0xfffff000u);
    for (int n = 0; n < 2; ++n)
        y = y * (0.5f - (t * 0.5f) * y * y) + y;
    return {v.x * y, v.y * y, v.z * y};
}

} // namespace ResourceAnimation::KeyLanes
