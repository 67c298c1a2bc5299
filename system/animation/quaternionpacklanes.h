#pragma once

#include "system/animation/quaternionpackers.h"
#include "system/animation/quaternionwarp.h"

#include <bit>
#include <cstring>

/// The arithmetic of the packers, LANES keys side by side. Internal to this library. Each source file that includes it
/// gets functions of its own, compiled for its own instruction set: everything here is in an unnamed namespace, and
/// no inline function from elsewhere is called, not even a constructor, that the linker might share between files.
///
/// Only + - * / and the square root, lane by lane in one order, so every width gives the same bits.
#ifndef Z_LANE_BYTES
#define Z_LANE_BYTES 16
#endif

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace
{

using namespace QuaternionDecode;

constexpr int LANES = Z_LANE_BYTES / 4;

using floatv = float __attribute__((vector_size(Z_LANE_BYTES)));
using intv = int32_t __attribute__((vector_size(Z_LANE_BYTES)));
using uintv = uint32_t __attribute__((vector_size(Z_LANE_BYTES)));
using doublev = double __attribute__((vector_size(Z_LANE_BYTES)));
using halfv = float __attribute__((vector_size(Z_LANE_BYTES / 2)));

// Lanes are numbered within groups of four, as the processors' shuffles are.
#if Z_LANE_BYTES == 16
#define Z_SHUFFLE(a, b, p, q, r, s) __builtin_shufflevector(a, b, p, q, r, s)
#define Z_LOWER(v) __builtin_shufflevector(v, v, 0, 1)
#define Z_UPPER(v) __builtin_shufflevector(v, v, 2, 3)
#define Z_JOIN(a, b) __builtin_shufflevector(a, b, 0, 1, 2, 3)
#else
#define Z_SHUFFLE(a, b, p, q, r, s)                                                                                    \
    __builtin_shufflevector(a, b, p + (p & 4), q + (q & 4), r + (r & 4), s + (s & 4), p + (p & 4) + 4,                 \
                            q + (q & 4) + 4, r + (r & 4) + 4, s + (s & 4) + 4)
#define Z_LOWER(v) __builtin_shufflevector(v, v, 0, 1, 2, 3)
#define Z_UPPER(v) __builtin_shufflevector(v, v, 4, 5, 6, 7)
#define Z_JOIN(a, b) __builtin_shufflevector(a, b, 0, 1, 2, 3, 4, 5, 6, 7)
#endif

inline intv Bits(floatv v)
{
    return reinterpret_cast<intv>(v);
}
inline floatv FromBits(intv v)
{
    return reinterpret_cast<floatv>(v);
}
inline floatv Smaller(floatv a, floatv b)
{
    return a < b ? a : b;
}
inline floatv Larger(floatv a, floatv b)
{
    return a > b ? a : b;
}
inline floatv Choose(intv mask, floatv a, floatv b)
{
    return FromBits((Bits(a) & mask) | (Bits(b) & ~mask));
}
inline intv Choose(intv mask, intv a, intv b)
{
    return (a & mask) | (b & ~mask);
}
inline void SwapWhere(intv mask, floatv& a, floatv& b)
{
    const intv difference = (Bits(a) ^ Bits(b)) & mask;
    a = FromBits(Bits(a) ^ difference);
    b = FromBits(Bits(b) ^ difference);
}

inline floatv SquareRoot(floatv v)
{
#if defined(__SSE2__) && Z_LANE_BYTES == 16
    return reinterpret_cast<floatv>(_mm_sqrt_ps(reinterpret_cast<__m128>(v)));
#elif defined(__AVX2__) && Z_LANE_BYTES == 32
    return reinterpret_cast<floatv>(_mm256_sqrt_ps(reinterpret_cast<__m256>(v)));
#else
    for (int n = 0; n < LANES; ++n)
        v[n] = __builtin_sqrtf(v[n]);
    return v;
#endif
}

/// Adding this rounds a float of size below 2^22 to an integer, whose low 22 bits are then those of the sum's bits.
constexpr float ROUND = 12582912.0f;

inline floatv RoundToInteger(floatv v)
{
    return (v + ROUND) - ROUND;
}

/// Two integers that ROUND was added to: their sum, in the low 22 bits.
inline intv SumBits(floatv a, floatv b)
{
    return reinterpret_cast<intv>(reinterpret_cast<uintv>(a) + reinterpret_cast<uintv>(b));
}

/// t times a polynomial in s = t^2, even and odd powers apart for the sake of latency.
template <int TERMS>
inline floatv FirstGuess(const SInverse<TERMS>& inverse, floatv t, floatv s)
{
    static_assert(TERMS % 2 == 0);
    const floatv ss = s * s;
    floatv even = floatv{} + static_cast<float>(inverse.f[TERMS - 2]);
    floatv odd = floatv{} + static_cast<float>(inverse.f[TERMS - 1]);
    for (int n = TERMS - 4; n >= 0; n -= 2)
    {
        even = even * ss + static_cast<float>(inverse.f[n]);
        odd = odd * ss + static_cast<float>(inverse.f[n + 1]);
    }
    return t * (even + odd * s);
}

/// dt/dn.
inline floatv Slope(const SWarp& warp, floatv n)
{
    const floatv s = n * n;
    return static_cast<float>(warp.f1) + s * static_cast<float>(3.0 * warp.f3) +
           (s * s) * static_cast<float>(5.0 * warp.f5);
}

struct SFour
{
    floatv x, y, z, w;
};

/// One structure of LANES values for each component.
inline SFour LoadFour(const void* p)
{
    floatv row[4];
#if Z_LANE_BYTES == 16
    std::memcpy(row, p, sizeof row);
#else
    using float4v = float __attribute__((vector_size(16)));
    float4v keys[8];
    std::memcpy(keys, p, sizeof keys);
    for (int n = 0; n < 4; ++n)
        row[n] = Z_JOIN(keys[n], keys[n + 4]);
#endif
    const floatv xyLow = Z_SHUFFLE(row[0], row[1], 0, 4, 1, 5);
    const floatv xyHigh = Z_SHUFFLE(row[2], row[3], 0, 4, 1, 5);
    const floatv zwLow = Z_SHUFFLE(row[0], row[1], 2, 6, 3, 7);
    const floatv zwHigh = Z_SHUFFLE(row[2], row[3], 2, 6, 3, 7);
    return {Z_SHUFFLE(xyLow, xyHigh, 0, 1, 4, 5), Z_SHUFFLE(xyLow, xyHigh, 2, 3, 6, 7),
            Z_SHUFFLE(zwLow, zwHigh, 0, 1, 4, 5), Z_SHUFFLE(zwLow, zwHigh, 2, 3, 6, 7)};
}

constexpr int32_t SIGN = INT32_MIN;
constexpr int32_t INFINITE = 0x7f800000;

/// A power of two that brings numbers of this size between 2 and 4, so that no square and no reciprocal leaves the
/// range of floats; less for numbers that are denormal.
inline floatv ScaleFor(intv sizeBits)
{
    return Smaller(FromBits(INFINITE - (sizeBits & INFINITE)), floatv{} + 1.7014118346046923e38f);
}

/// Numerators and denominator of a key's three ratios, and which component is the largest.
struct SCell
{
    floatv i, j, k;
    floatv largest;
    intv selector;
    intv valid; ///< mask: the key has a direction
};

inline SCell FindCell(const void* pKeys)
{
    const SFour q = LoadFour(pKeys);
    // As integers, sizes of floats have the same order, and not a number is the largest of all.
    const intv x = Bits(q.x) & ~SIGN, y = Bits(q.y) & ~SIGN, z = Bits(q.z) & ~SIGN, w = Bits(q.w) & ~SIGN;
    const intv bX = x > y, bZ = z > w;
    const intv xy = Choose(bX, x, y), zw = Choose(bZ, z, w);
    const intv bTwo = xy > zw;
    const intv bOne = Choose(bTwo, bX, bZ);
    const intv size = Choose(bTwo, xy, zw);
    SCell cell{q.z, q.y, q.x, q.w, (bTwo & 2) | (bOne & 1), (size > 0) & (size < INFINITE)};
    SwapWhere(bTwo, cell.largest, cell.j);
    SwapWhere(bTwo, cell.i, cell.k);
    SwapWhere(bOne, cell.largest, cell.i);
    SwapWhere(bOne, cell.j, cell.k);
    const floatv scale = ScaleFor(size);
    cell.i *= scale;
    cell.j *= scale;
    cell.k *= scale;
    cell.largest *= scale;
    return cell;
}

// 64 bits. The integers take more digits than floats have. So a float only guesses them, to a hundred or so; how far
// the guess is off is worked out in doubles, and from there on floats serve again, because only the distance from the
// guess counts.

constexpr SInverse<8> INVERSE_64_I = InvertWarp<8>(WARP_64_I, EDGE_64);
constexpr SInverse<8> INVERSE_64_JK = InvertWarp<8>(WARP_64_JK, EDGE_64);

inline halfv HalfMiss(const SWarp& warp, halfv n, halfv part, halfv largest)
{
    const doublev f = __builtin_convertvector(n, doublev);
    const doublev s = f * f;
    const doublev t = f * (warp.f1 + s * (warp.f3 + s * warp.f5));
    const doublev miss = __builtin_convertvector(part, doublev) - t * __builtin_convertvector(largest, doublev);
    return __builtin_convertvector(miss, halfv);
}

/// part - t(n) largest
inline floatv Miss(const SWarp& warp, floatv n, floatv part, floatv largest)
{
    const halfv lower = HalfMiss(warp, Z_LOWER(n), Z_LOWER(part), Z_LOWER(largest));
    const halfv upper = HalfMiss(warp, Z_UPPER(n), Z_UPPER(part), Z_UPPER(largest));
    return Z_JOIN(lower, upper);
}

struct SNearest64
{
    intv i, j, k; ///< the code's fields, in the low bits
};

/// The nearest lattice point, as far as it is one of four: the two nearest integers on either side for j and for k, and
/// for each pair the best i of the right parity.
///
/// Distances are those of directions (1, t) and (1, t + d): r^2 |d|^2 - (t d)^2 with r^2 = 1 + |t|^2, up to a factor
/// that is the same for all. The polynomials have made the lattice oblique, so rounding each integer by itself would
/// miss the nearest point. With d written in steps and the best real i put in, what is left is a quadratic form in the
/// steps of j and k, of which only the differences between the four are needed.
inline SNearest64 FindNearest64(const SCell& cell)
{
    const floatv fReciprocal = 1.0f / cell.largest;
    const floatv ti = cell.i * fReciprocal, tj = cell.j * fReciprocal, tk = cell.k * fReciprocal;
    const floatv ii = ti * ti, jj = tj * tj, kk = tk * tk;
    const floatv halfSum = FirstGuess(INVERSE_64_I, ti, ii) * 0.5f + ROUND;
    const floatv jSum = FirstGuess(INVERSE_64_JK, tj, jj) + ROUND;
    const floatv kSum = FirstGuess(INVERSE_64_JK, tk, kk) + ROUND;
    const floatv half = halfSum - ROUND, j = jSum - ROUND, k = kSum - ROUND;
    const floatv i = half + half;
    const floatv si = Slope(WARP_64_I, i), sj = Slope(WARP_64_JK, j), sk = Slope(WARP_64_JK, k);
    // From the guess to the real number, in steps.
    const floatv offI = Miss(WARP_64_I, i, cell.i, cell.largest) * (fReciprocal / si);
    const floatv offJ = Miss(WARP_64_JK, j, cell.j, cell.largest) * (fReciprocal / sj);
    const floatv offK = Miss(WARP_64_JK, k, cell.k, cell.largest) * (fReciprocal / sk);

    const floatv a = 1.0f + jj + kk, rr = a + ii;
    const floatv f = 1.0f / (a * si);
    const floatv formI = (4.0f * a) * (si * si); // in steps of i by twos
    const floatv fAlong = rr * (f * si);
    const floatv vj = tj * sj, vk = tk * sk;
    const floatv formJ = rr * (sj * sj) - fAlong * (vj * vj);
    const floatv formK = rr * (sk * sk) - fAlong * (vk * vk);
    const floatv formJK = (fAlong + fAlong) * (vj * vk);
    const floatv g = (0.5f * ti) * f;
    const floatv gj = vj * g, gk = vk * g; // what a step of j or k shifts the best i by, in twos

    // The lower integer of either, seen from the guess; both integers are within the limits.
    constexpr float LOWEST = -LIMIT_64, HIGHEST = LIMIT_64 - 1;
    const floatv jStep = Larger(Smaller(offJ - 0.5f, HIGHEST - j), LOWEST - j) + ROUND;
    const floatv kStep = Larger(Smaller(offK - 0.5f, HIGHEST - k), LOWEST - k) + ROUND;
    const intv jBits = SumBits(jSum, jStep), kBits = SumBits(kSum, kStep);
    const floatv dj = (jStep - ROUND) - offJ, dk = (kStep - ROUND) - offK;

    const floatv odd = __builtin_convertvector((jBits ^ kBits) & 1, floatv) * 0.5f, even = 0.5f - odd;
    const floatv best00 = offI * 0.5f + (gj * dj + gk * dk);
    const floatv best10 = best00 + gj, best01 = best00 + gk, best11 = best10 + gk;
    // Halves of i, within the limits.
    constexpr float HALF_LIMIT = LIMIT_64 / 2;
    const floatv highest = (ROUND + HALF_LIMIT) - half, lowest = (ROUND - HALF_LIMIT) - half;
    const floatv lowestOdd = lowest - (odd + odd), lowestEven = lowest - (even + even);
    const floatv sum00 = Larger(Smaller((best00 - odd) + ROUND, highest), lowestOdd);
    const floatv sum10 = Larger(Smaller((best10 - even) + ROUND, highest), lowestEven);
    const floatv sum01 = Larger(Smaller((best01 - even) + ROUND, highest), lowestEven);
    const floatv sum11 = Larger(Smaller((best11 - odd) + ROUND, highest), lowestOdd);
    const auto squareI = [&formI](floatv fSum, floatv fBest)
    {
        const floatv d = (fSum - ROUND) - fBest;
        return formI * (d * d);
    };
    const floatv stepJ = formJ * (dj + dj + 1.0f) - formJK * dk;
    const floatv stepK = formK * (dk + dk + 1.0f) - formJK * dj;
    const floatv d00 = squareI(sum00, best00 - odd);
    const floatv d10 = squareI(sum10, best10 - even) + stepJ;
    const floatv d01 = squareI(sum01, best01 - even) + stepK;
    const floatv d11 = squareI(sum11, best11 - odd) + (stepJ + stepK - formJK);

    const intv bJ0 = d10 < d00, bJ1 = d11 < d01;
    const intv bK = Smaller(d11, d01) < Smaller(d10, d00);
    const intv bJ = Choose(bK, bJ1, bJ0);
    const floatv sum = Choose(bK, Choose(bJ1, sum11, sum01), Choose(bJ0, sum10, sum00));
    // A mask is -1 where it holds.
    return {SumBits(halfSum, sum), jBits - bJ, kBits - bK};
}

inline void Pack64Lanes(const void* pKeys, uint64_t* pCodes)
{
    const SCell cell = FindCell(pKeys);
    const SNearest64 n = FindNearest64(cell);
    const intv high = (cell.selector << 30 | (n.k & 0x1fffff) << 9 | ((n.j >> 12) & 0x1ff)) & cell.valid;
    const intv low = (n.j << 20 | (n.i & 0xfffff)) & cell.valid;
    const intv first = std::endian::native == std::endian::little ? low : high;
    const intv second = std::endian::native == std::endian::little ? high : low;
    const intv a = Z_SHUFFLE(first, second, 0, 4, 1, 5), b = Z_SHUFFLE(first, second, 2, 6, 3, 7);
#if Z_LANE_BYTES == 16
    std::memcpy(pCodes, &a, sizeof a);
    std::memcpy(pCodes + 2, &b, sizeof b);
#else
    const auto firstFour = __builtin_shufflevector(a, b, 0, 1, 2, 3, 8, 9, 10, 11);
    const auto lastFour = __builtin_shufflevector(a, b, 4, 5, 6, 7, 12, 13, 14, 15);
    std::memcpy(pCodes, &firstFour, sizeof firstFour);
    std::memcpy(pCodes + 4, &lastFour, sizeof lastFour);
#endif
}

// 32 bits. Floats have digits to spare here.

constexpr SInverse<6> INVERSE_32_IJ = InvertWarp<6>(WARP_32_IJ, EDGE_32_IJ);
constexpr SInverse<6> INVERSE_32_K = InvertWarp<6>(WARP_32_K, EDGE_32_K);

/// The real number whose ratio is t: one of Newton's steps from the guess, which is off by a few.
inline floatv NumberOfRatio(const SWarp& warp, const SInverse<6>& inverse, floatv t, floatv tt, floatv& slope)
{
    const floatv n = FirstGuess(inverse, t, tt);
    const floatv s = n * n;
    const floatv f =
        n * (static_cast<float>(warp.f1) + s * (static_cast<float>(warp.f3) + s * static_cast<float>(warp.f5)));
    slope = Slope(warp, n);
    return n + (t - f) / slope;
}

/// i and j are both even or both odd, as k is.
struct SCandidate32
{
    floatv iSum, jSum; ///< halves, rounded by ROUND
    floatv distance;
};

/// The lattice point for each of the two nearest k: j nearest to what is best for k, i nearest to what is best for
/// both. Distances as in FindNearest64, completed to squares in the order i, j, k.
inline intv FindNearest32(const SCell& cell)
{
    const floatv fReciprocal = 1.0f / cell.largest;
    const floatv ti = cell.i * fReciprocal, tj = cell.j * fReciprocal, tk = cell.k * fReciprocal;
    const floatv ii = ti * ti, jj = tj * tj, kk = tk * tk;
    floatv si, sj, sk;
    const floatv i = NumberOfRatio(WARP_32_IJ, INVERSE_32_IJ, ti, ii, si);
    const floatv j = NumberOfRatio(WARP_32_IJ, INVERSE_32_IJ, tj, jj, sj);
    const floatv k = NumberOfRatio(WARP_32_K, INVERSE_32_K, tk, kk, sk);
    const floatv b = 1.0f + kk, a = b + jj, rr = a + ii;
    const floatv vj = tj * sj, vk = tk * sk;
    const floatv g = ti / (a * si), gj = g * vj, gk = g * vk;
    const floatv gjk = (tj * vk) / (b * sj);
    const floatv formI = (a * a / rr) * (si * si), formJ = b * (sj * sj), formK = (a / b) * (sk * sk);

    constexpr float LOWEST = -LIMIT_32_K, HIGHEST = LIMIT_32_K - 1;
    const floatv kSum = Larger(Smaller(k - 0.5f, floatv{} + HIGHEST), floatv{} + LOWEST) + ROUND;
    const floatv k0 = kSum - ROUND;
    const floatv odd0 = __builtin_convertvector(Bits(kSum) & 1, floatv);
    const auto candidate = [&](floatv dk, floatv odd)
    {
        constexpr float HALF_LIMIT = LIMIT_32_IJ / 2;
        const floatv lowest = -HALF_LIMIT - odd;
        const auto half = [&](floatv n)
        { return Larger(Smaller((n - odd) * 0.5f, floatv{} + HALF_LIMIT), lowest) + ROUND; };
        const floatv jBest = j + gjk * dk;
        const floatv jSum = half(jBest);
        const floatv jHalf = jSum - ROUND;
        const floatv jNow = jHalf + jHalf + odd;
        const floatv iBest = i + gj * (jNow - j) + gk * dk;
        const floatv iSum = half(iBest);
        const floatv iHalf = iSum - ROUND;
        const floatv di = iHalf + iHalf + odd - iBest, dj = jNow - jBest;
        return SCandidate32{iSum, jSum, formI * (di * di) + formJ * (dj * dj) + formK * (dk * dk)};
    };
    const floatv dk = k0 - k;
    const SCandidate32 c0 = candidate(dk, odd0), c1 = candidate(dk + 1.0f, 1.0f - odd0);
    const intv bUpper = c1.distance < c0.distance;
    return ((Bits(kSum) - bUpper) & 0x3ff) << 20 | (Bits(Choose(bUpper, c1.jSum, c0.jSum)) & 0x3ff) << 10 |
           (Bits(Choose(bUpper, c1.iSum, c0.iSum)) & 0x3ff);
}

inline void Pack32Lanes(const void* pKeys, uint32_t* pCodes)
{
    const SCell cell = FindCell(pKeys);
    const intv codes = (cell.selector << 30 | FindNearest32(cell)) & cell.valid;
    std::memcpy(pCodes, &codes, sizeof codes);
}

// One axis, 16 bits.

constexpr SInverse<10> INVERSE_AXIS = Invert<10>({AXIS_1, AXIS_3, AXIS_5, AXIS_7}, AXIS_EDGE);

inline void PackSingleAxisLanes(const void* pAxes, const void* pKeys, uint16_t* pCodes)
{
    const SFour axis = LoadFour(pAxes);
    SFour q = LoadFour(pKeys);
    const intv x = Bits(q.x) & ~SIGN, y = Bits(q.y) & ~SIGN, z = Bits(q.z) & ~SIGN, w = Bits(q.w) & ~SIGN;
    const intv xy = Choose(x > y, x, y), zw = Choose(z > w, z, w);
    const intv size = Choose(xy > zw, xy, zw);
    const floatv scale = ScaleFor(size);
    // The part of the key that turns about the axis: sine and cosine of half its angle, times one factor.
    const floatv s = axis.x * (q.x * scale) + axis.y * (q.y * scale) + axis.z * (q.z * scale);
    const floatv c = q.w * scale;
    const floatv length = SquareRoot(s * s + c * c);
    // q and -q differ in the signs of both; what is left is the turn of half a turn at most.
    const floatv signedSine = FromBits(Bits(s) ^ (Bits(c) & SIGN));
    const floatv t = signedSine / (length + FromBits(Bits(c) & ~SIGN));
    const floatv sum = FirstGuess(INVERSE_AXIS, t, t * t) + ROUND;
    const intv codes = Bits(sum) & (length > 0.0f) & (size < INFINITE);
    using shortv = uint16_t __attribute__((vector_size(Z_LANE_BYTES / 2)));
    const shortv narrow = __builtin_convertvector(codes & 0xffff, shortv);
    std::memcpy(pCodes, &narrow, sizeof narrow);
}

template <class TCode, class TPackLanes>
inline void PackAll(const SQuaternion* pKeys, size_t nKeys, TCode* pCodes, TPackLanes packLanes)
{
    size_t n = 0;
    for (; n + LANES <= nKeys; n += LANES)
        packLanes(pKeys + n, n, pCodes + n);
    if (n == nKeys)
        return;
    floatv keys[4] = {}; // LANES of them
    TCode codes[LANES];
    std::memcpy(keys, pKeys + n, (nKeys - n) * sizeof *pKeys);
    packLanes(keys, n, codes);
    std::memcpy(pCodes + n, codes, (nKeys - n) * sizeof *pCodes);
}

void Pack64(const SQuaternion* pKeys, size_t nKeys, uint64_t* pCodes)
{
    PackAll(pKeys, nKeys, pCodes, [](const void* p, size_t, uint64_t* pTo) { Pack64Lanes(p, pTo); });
}

void Pack32(const SQuaternion* pKeys, size_t nKeys, uint32_t* pCodes)
{
    PackAll(pKeys, nKeys, pCodes, [](const void* p, size_t, uint32_t* pTo) { Pack32Lanes(p, pTo); });
}

void PackSingleAxis(const float4* pAxes, const SQuaternion* pKeys, size_t nKeys, uint16_t* pCodes)
{
    // The axes of the last few need a full load as well.
    floatv lastAxes[4] = {};
    const size_t nWhole = nKeys - nKeys % LANES;
    std::memcpy(lastAxes, pAxes + nWhole, (nKeys - nWhole) * sizeof *pAxes);
    PackAll(pKeys, nKeys, pCodes,
            [pAxes, nWhole, &lastAxes](const void* p, size_t n, uint16_t* pTo)
            { PackSingleAxisLanes(n < nWhole ? static_cast<const void*>(pAxes + n) : lastAxes, p, pTo); });
}

constexpr SQuaternionPackers LANE_PACKERS{&Pack64, &Pack32, &PackSingleAxis};

#undef Z_SHUFFLE
#undef Z_LOWER
#undef Z_UPPER
#undef Z_JOIN

} // namespace
