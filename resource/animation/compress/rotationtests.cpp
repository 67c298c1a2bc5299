#include "resource/animation/compress/rotationtests.h"

#include "resource/animation/compress/keylanes.h"

#include <array>
#include <cmath>
#include <cstring>

namespace ResourceAnimation
{

using namespace KeyLanes;

namespace
{

bool HasNoDirection(const float4& axis)
{
    return std::fabs(axis.x) <= AXIS_TOLERANCE && std::fabs(axis.y) <= AXIS_TOLERANCE &&
           std::fabs(axis.z) <= AXIS_TOLERANCE;
}

int4v HasNoDirection(const SVectorLanes& v)
{
    return (Size(v.x) <= AXIS_TOLERANCE) & (Size(v.y) <= AXIS_TOLERANCE) & (Size(v.z) <= AXIS_TOLERANCE);
}

/// The common case of a track that does not move, at the speed of memory: every key has the bits of the one before.
template <class T>
bool AllHaveTheSameBits(TArrayRef<const T> keys)
{
    return std::memcmp(keys.GetStart(), keys.GetStart() + 1, (keys.Size() - 1) * sizeof(T)) == 0;
}

// Of a quaternion and itself, or its negation. Their dot product need not be within the tolerance of 1: in floats, that
// of one in four hundred normalised quaternions with itself is not.

bool HaveTheSameBits(const SQuaternion& a, const SQuaternion& b)
{
    const SQuaternion negated{-b.x, -b.y, -b.z, -b.w};
    return std::memcmp(&a, &b, sizeof a) == 0 || std::memcmp(&a, &negated, sizeof a) == 0;
}

int4v HaveTheSameBits(const SQuaternionLanes& a, const SQuaternionLanes& b)
{
    const auto differ = [](float4v v, float4v w) { return reinterpret_cast<int4v>(v) ^ reinterpret_cast<int4v>(w); };
    const int4v x = differ(a.x, b.x), y = differ(a.y, b.y), z = differ(a.z, b.z), w = differ(a.w, b.w);
    const int4v none{}, sign = none + INT32_MIN;
    return ((x | y | z | w) == none) | (((x ^ sign) | (y ^ sign) | (z ^ sign) | (w ^ sign)) == none);
}

float RotationVectorLength(const SQuaternion& q)
{
    const float4 v = QuaternionToRotationVector(q);
    return std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
}

/// The first of the keys that `mayBeLongest` lets through with the longest rotation vector; key 0 if none is longer.
template <class TFilter>
size_t FindLongest(TArrayRef<const SQuaternion> keys, TFilter mayBeLongest)
{
    size_t nBest = 0;
    float fBest = RotationVectorLength(keys[0]);
    for (size_t n = 1; n < keys.Size(); ++n)
    {
        // Of keys at rest the first counts, and the arc tangent is dear.
        const SQuaternion& key = keys.GetStart()[n];
        if (!mayBeLongest(key) || key == keys.GetStart()[n - 1])
            continue;
        const float fLength = RotationVectorLength(key);
        if (fLength > fBest)
        {
            nBest = n;
            fBest = fLength;
        }
    }
    return nBest;
}

/// u = sin / (sin + cos) of half the angle: rises with the angle, nowhere by less than a quarter of it.
float LargestMeasure(TArrayRef<const SQuaternion> keys, bool& bAllUsable)
{
    float4v largest{};
    int4v unusable{};
    const auto measure = [&](const SQuaternion* p)
    {
        const SQuaternionLanes q = LoadQuaternions(p);
        const float4v fSin = SquareRoot(q.x * q.x + q.y * q.y + q.z * q.z);
        const float4v fSum = fSin + Size(q.w);
        const float4v u = fSin / fSum;
        // Far from unit length, squares leave the range of floats.
        unusable |= ~((u <= 1.0f) & (fSum > 1e-10f));
        largest = largest > u ? largest : u;
    };
    ForAllLanes(keys, measure);
    bAllUsable = !AnyLane(unusable);
    float fLargest = 0.0f;
    for (int n = 0; n < 4; ++n)
        fLargest = largest[n] > fLargest ? largest[n] : fLargest;
    return fLargest;
}

/// Two keys whose axes are so far apart that no third axis could be one with both: a hundredth of a radian, where the
/// tolerance allows less than a thousandth to either side. Spares nearly every track that is not about one axis the
/// search for its largest rotation.
bool HasAxesFarApart(TArrayRef<const SQuaternion> keys)
{
    const auto isUsable = [](const SQuaternion& q) { return !HasNoDirection(float4{q.x, q.y, q.z, 0.0f}); };
    size_t nFirst = 0;
    while (nFirst < keys.Size() && !isUsable(keys.GetStart()[nFirst]))
        ++nFirst;
    if (nFirst == keys.Size())
        return false;
    const SQuaternion a = keys[nFirst];
    const float fLimit = 1e-4f * (a.x * a.x + a.y * a.y + a.z * a.z);
    return AnyOfLanes(TArrayRef<const SQuaternion>(keys.GetStart() + nFirst, keys.Size() - nFirst),
                      [&](const SQuaternion* p)
                      {
                          const SQuaternionLanes q = LoadQuaternions(p);
                          const float4v x = a.y * q.z - a.z * q.y;
                          const float4v y = a.z * q.x - a.x * q.z;
                          const float4v z = a.x * q.y - a.y * q.x;
                          const float4v fSquare = q.x * q.x + q.y * q.y + q.z * q.z;
                          return (x * x + y * y + z * z > fSquare * fLimit) & ~HasNoDirection({q.x, q.y, q.z});
                      });
}

} // namespace

bool IsDifferentRotation(const SQuaternion& a, const SQuaternion& b, float fTolerance)
{
    if (HaveTheSameBits(a, b))
        return false;
    const float d = Dot(Normalize(a), Normalize(b));
    return std::fabs(d - 1.0f) > fTolerance && std::fabs(d + 1.0f) > fTolerance;
}

bool IsDifferentTranslation(const SVector3& a, const SVector3& b, float fTolerance)
{
    return !(std::fabs(a.x - b.x) <= fTolerance && std::fabs(a.y - b.y) <= fTolerance &&
             std::fabs(a.z - b.z) <= fTolerance);
}

bool HasDifferentRotation(TArrayRef<const SQuaternion> keys, float fTolerance)
{
    const SQuaternion& first = keys[0];
    if (AllHaveTheSameBits(keys))
        return false;
    const SQuaternion a = Normalize(first);
    const SQuaternionLanes firsts = LoadQuaternions(std::array{first, first, first, first}.data());
    return AnyOfLanes(keys,
                      [&](const SQuaternion* p)
                      {
                          const SQuaternionLanes q = LoadQuaternions(p);
                          const float4v f = 1.0f / SquareRoot(q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w);
                          const float4v d = a.x * (q.x * f) + a.y * (q.y * f) + a.z * (q.z * f) + a.w * (q.w * f);
                          return (Size(d - 1.0f) > fTolerance) & (Size(d + 1.0f) > fTolerance) &
                                 ~HaveTheSameBits(firsts, q);
                      });
}

bool HasDifferentTranslation(TArrayRef<const SVector3> keys, float fTolerance)
{
    const SVector3& first = keys[0];
    if (AllHaveTheSameBits(keys))
        return false;
    // Four keys are three vectors of four floats.
    const float4v a{first.x, first.y, first.z, first.x}, b{first.y, first.z, first.x, first.y},
        c{first.z, first.x, first.y, first.z};
    return AnyOfLanes(keys,
                      [&](const SVector3* p)
                      {
                          float4v v[3];
                          std::memcpy(v, p, sizeof v);
                          return ~((Size(a - v[0]) <= fTolerance) & (Size(b - v[1]) <= fTolerance) &
                                   (Size(c - v[2]) <= fTolerance));
                      });
}

SQuaternion FindLargestRotation(TArrayRef<const SQuaternion> keys)
{
    // Lengths come from an arc tangent and are rounded to floats on the way, so the longest is not quite the one with
    // the largest angle. The measure tells which keys could have it: those within a hundred thousandth of the largest,
    // many times what rounding can do.
    bool bAllUsable;
    const float fLargest = LargestMeasure(keys, bAllUsable);
    size_t nBest;
    if (bAllUsable && fLargest > 1e-10f)
    {
        const float fLimit = fLargest * 0.99999f;
        nBest = FindLongest(keys,
                            [fLimit](const SQuaternion& q)
                            {
                                const float fSin = std::sqrt(q.x * q.x + q.y * q.y + q.z * q.z);
                                return fSin >= fLimit * (fSin + std::fabs(q.w));
                            });
    }
    else
    {
        nBest = FindLongest(keys, [](const SQuaternion&) { return true; });
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
    // A first key that is no number would be the largest rotation, whose axis is none and fits all.
    const SQuaternion& first = keys[0];
    if (std::isfinite(first.x + first.y + first.z + first.w) && HasAxesFarApart(keys))
        return false;
    const SQuaternion reference = FindLargestRotation(keys);
    if (reference.IsNearEqual(SQuaternion(), AXIS_TOLERANCE))
        return false;
    const float4 referenceAxis = ReferenceAxis(reference);
    return !AnyOfLanes(keys,
                       [&](const SQuaternion* p)
                       {
                           const SVectorLanes axis = QuaternionsToAxes(LoadQuaternions(p));
                           const SVectorLanes unit = NormalizeExact(axis);
                           const float4v d =
                               unit.x * referenceAxis.x + unit.y * referenceAxis.y + unit.z * referenceAxis.z;
                           return (Size(d - 1.0f) > ROTATION_TOLERANCE) & (Size(d + 1.0f) > ROTATION_TOLERANCE) &
                                  ~HasNoDirection(axis);
                       });
}

} // namespace ResourceAnimation
