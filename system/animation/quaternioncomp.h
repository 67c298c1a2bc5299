#pragma once

#include "base/collections/tarrayref.h"
#include "base/math/quaternion.h"
#include "base/misc/export.h"

#include <cstdint>

/// The three quantised forms of a unit rotation. A form is one unsigned number, stored in the target's byte order.
///
/// Sign       q and -q are one rotation and get one code; what comes back may be either of them.
/// Accuracy   worst error of the rotation's angle over all rotations that a search found, in degrees:
///                64 bits 0.000083    32 bits 0.128    one axis, 16 bits 0.00278
/// Exactness  the identity has code 0 and comes back exactly, as do half turns about x, y and z. What Unpack makes of a
///            code that Pack gave packs to that code again.
/// Errors     none: a rotation that is zero or not a number packs as the identity, one of another length as if it had
///            been normalised; every number unpacks to something finite.
/// Portable   packing and unpacking take only + - * / and the square root, in an order that is the same everywhere:
///            many keys at once, whole frames (animationsampler.h) and wider instructions give the same bits.
/// Speed      many keys in a call pack several times as fast as one by one.
///
/// The two general forms tell which component is largest in size and give the other three divided by it, all within
/// -1 to 1. Each such ratio is an odd polynomial of degree 5 of an integer, which evens out the angle that one step
/// turns by. The integers are the points of a lattice that covers space with smaller gaps than the cubic one does.
///
///   64 bits   63..62 largest: w, z, y, x    61..41 k    40..20 j    19..0 h; i = 2 h + (j ^ k & 1)
///   32 bits   31..30 largest: w, z, y, x    29..20 k    19..10 h'   9..0 h;  i = 2 h + (k & 1), j = 2 h' + (k & 1)
///
/// All fields but the first are two's complement. With m the index of the largest component (x is 0), the ratios of
/// i, j and k belong to the components m ^ 1, m ^ 2 and m ^ 3.

struct SQuaternionComp64
{
    uint64_t m_uiCode = 0;

    Z_EXPORT static uint64_t Pack(const SQuaternion& q);
    Z_EXPORT static void Pack(TArrayRef<const SQuaternion> keys, uint64_t* pCodes);
    Z_EXPORT static SQuaternion Unpack(uint64_t uiCode);
};

struct SQuaternionComp32
{
    uint32_t m_uiCode = 0;

    Z_EXPORT static uint32_t Pack(const SQuaternion& q);
    Z_EXPORT static void Pack(TArrayRef<const SQuaternion> keys, uint32_t* pCodes);
    Z_EXPORT static SQuaternion Unpack(uint32_t uiCode);
};

/// A turn about an axis that is stored once for a whole track. The code is the angle in two's complement, 65536 steps
/// that are a full turn; a turn beyond half a one either way comes back as the same rotation by the shorter way.
struct SQuaternionSingleAxisComp16
{
    uint16_t m_uiCode = 0;

    /// The axis is the direction of `reference`'s x, y, z, which needs no unit length. A key that turns about another
    /// axis gets the turn about this one that is nearest to it. A reference without a direction gives code 0.
    Z_EXPORT static uint16_t Pack(const SQuaternion& reference, const SQuaternion& key);
    /// A key and its axis, which AxisOf() gave for its track, for each code.
    Z_EXPORT static void Pack(TArrayRef<const float4> axes, TArrayRef<const SQuaternion> keys, uint16_t* pCodes);
    /// Unit length, or zeros for a reference without a direction.
    Z_EXPORT static float4 AxisOf(const SQuaternion& reference);

    /// `axis` has unit length.
    Z_EXPORT static SQuaternion Unpack(const SVector3& axis, uint16_t uiCode);
};

static_assert(sizeof(SQuaternionComp64) == 8 && sizeof(SQuaternionComp32) == 4 &&
                  sizeof(SQuaternionSingleAxisComp16) == 2,
              "packed tracks hold these sizes");
