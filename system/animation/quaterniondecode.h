#pragma once

#include "system/animation/quaternionwarp.h"

#include <bit>
#include <cmath>
#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

/// The arithmetic of the quantised rotations, written once for one rotation and for four side by side. Internal to this
/// library; quaternioncomp.h tells the layouts. Both widths do the same operations in the same order, so that they give
/// the same bits.
namespace QuaternionDecode
{

using float4v = float __attribute__((vector_size(16)));
using int4v = int32_t __attribute__((vector_size(16)));
using uint4v = uint32_t __attribute__((vector_size(16)));

inline int32_t AsInt(uint32_t v)
{
    return static_cast<int32_t>(v);
}
inline int4v AsInt(uint4v v)
{
    return reinterpret_cast<int4v>(v);
}
inline int32_t Bits(float v)
{
    return std::bit_cast<int32_t>(v);
}
inline int4v Bits(float4v v)
{
    return reinterpret_cast<int4v>(v);
}
inline float FromBits(int32_t v)
{
    return std::bit_cast<float>(v);
}
inline float4v FromBits(int4v v)
{
    return reinterpret_cast<float4v>(v);
}
inline float ToFloat(int32_t v)
{
    return static_cast<float>(v);
}
inline float4v ToFloat(int4v v)
{
    return __builtin_convertvector(v, float4v);
}
inline float SquareRoot(float v)
{
    return std::sqrt(v);
}
inline float4v SquareRoot(float4v v)
{
#if defined(__SSE2__)
    return reinterpret_cast<float4v>(_mm_sqrt_ps(reinterpret_cast<__m128>(v)));
#else
    return float4v{std::sqrt(v[0]), std::sqrt(v[1]), std::sqrt(v[2]), std::sqrt(v[3])};
#endif
}

template <class TFloat, class TInt>
inline TFloat Ratio(TInt n, const SWarp& warp)
{
    const TFloat f = ToFloat(n);
    const TFloat s = f * f;
    return f * (static_cast<float>(warp.f1) + s * (static_cast<float>(warp.f3) + s * static_cast<float>(warp.f5)));
}

template <class TFloat, class TInt>
inline void SwapWhere(TInt mask, TFloat& a, TFloat& b)
{
    const TInt difference = (Bits(a) ^ Bits(b)) & mask;
    a = FromBits(Bits(a) ^ difference);
    b = FromBits(Bits(b) ^ difference);
}

/// `selector` holds the largest component in its two top bits, 0 for w.
template <class TFloat, class TUint>
inline void FromRatios(TUint selector, TFloat ti, TFloat tj, TFloat tk, TFloat& x, TFloat& y, TFloat& z, TFloat& w)
{
    const TFloat fLargest = 1.0f / SquareRoot(1.0f + ti * ti + tj * tj + tk * tk);
    w = fLargest;
    z = ti * fLargest;
    y = tj * fLargest;
    x = tk * fLargest;
    const auto bOne = AsInt(selector << 1) >> 31;
    SwapWhere(bOne, w, z);
    SwapWhere(bOne, y, x);
    const auto bTwo = AsInt(selector) >> 31;
    SwapWhere(bTwo, w, y);
    SwapWhere(bTwo, z, x);
}

template <class TFloat, class TUint>
inline void Decode64(TUint high, TUint low, TFloat& x, TFloat& y, TFloat& z, TFloat& w)
{
    const auto k = AsInt(high << 2) >> 11;
    const auto j = ((AsInt(high << 23) >> 23) << 12) | AsInt(low >> 20);
    const auto i = ((AsInt(low << 12) >> 12) << 1) + ((j ^ k) & 1);
    FromRatios(high, Ratio<TFloat>(i, WARP_64_I), Ratio<TFloat>(j, WARP_64_JK), Ratio<TFloat>(k, WARP_64_JK), x, y, z,
               w);
}

template <class TFloat, class TUint>
inline void Decode32(TUint code, TFloat& x, TFloat& y, TFloat& z, TFloat& w)
{
    const auto k = AsInt(code << 2) >> 22;
    const auto nOdd = k & 1;
    const auto j = ((AsInt(code << 12) >> 22) << 1) + nOdd;
    const auto i = ((AsInt(code << 22) >> 22) << 1) + nOdd;
    FromRatios(code, Ratio<TFloat>(i, WARP_32_IJ), Ratio<TFloat>(j, WARP_32_IJ), Ratio<TFloat>(k, WARP_32_K), x, y, z,
               w);
}

/// Sine and cosine of half the turn; `n` is the code as a signed number.
template <class TFloat, class TInt>
inline void DecodeAxisTurn(TInt n, TFloat& fSin, TFloat& fCos)
{
    const TFloat f = ToFloat(n);
    const TFloat s = f * f;
    const TFloat t =
        f * (static_cast<float>(AXIS_1) +
             s * (static_cast<float>(AXIS_3) + s * (static_cast<float>(AXIS_5) + s * static_cast<float>(AXIS_7))));
    const TFloat tt = t * t;
    const TFloat fScale = 1.0f / (1.0f + tt);
    fSin = (t + t) * fScale;
    fCos = (1.0f - tt) * fScale;
}

} // namespace QuaternionDecode
