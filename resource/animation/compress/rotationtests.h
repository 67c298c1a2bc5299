#pragma once

#include "base/collections/tarrayref.h"
#include "base/math/quaternion.h"

namespace ResourceAnimation
{

/// 2^-22: how far the dot product of two unit quaternions, or two unit axes, may lie from 1 or -1 for them to be one.
constexpr float ROTATION_TOLERANCE = 0.0000002384185791015625f;
/// 2^-23: components of an axis at or below it are rounding.
constexpr float AXIS_TOLERANCE = 0.00000011920928955078125f;

// The tolerances lie at the edge of float accuracy, so the order of operations decides borderline cases: the tests of
// whole tracks give, bit for bit, what their rule gives key by key.

/// A quaternion and its negation are the same rotation, and so are equal bits, whatever they are.
bool IsDifferentRotation(const SQuaternion& a, const SQuaternion& b, float fTolerance);
/// Component by component, not by distance.
bool IsDifferentTranslation(const SVector3& a, const SVector3& b, float fTolerance);

/// Whether any key behind key 0 differs from it. Not for no keys.
bool HasDifferentRotation(TArrayRef<const SQuaternion> keys, float fTolerance);
bool HasDifferentTranslation(TArrayRef<const SVector3> keys, float fTolerance);

/// The key whose rotation vector is longest, with its sign turned so that w is not negative; of equals the first. Not
/// for no keys.
SQuaternion FindLargestRotation(TArrayRef<const SQuaternion> keys);

/// Direction about which a quaternion turns, unit length; as it is where it has none. w is 0.
float4 ReferenceAxis(const SQuaternion& reference);

/// Whether all keys turn about one axis, either way: that of the largest rotation. Keys next to the identity fit every
/// axis; no keys, or none but such, fit none.
bool IsSingleAxisRotation(TArrayRef<const SQuaternion> keys);

} // namespace ResourceAnimation
