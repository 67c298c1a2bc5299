#pragma once

#include <cstdint>

/// Serialised form of a reflected object: what a target loads with one copy and a walk of fix-ups.
///
///   offset size
///        0   32  SSerializedHead
///       32    n  the block: the object at its start, then, in the order of a walk through the fields, every text,
///       array
///                and variant value outside it, laid out as a 64-bit target holds them; padded to 4 bytes
///                4 each  offset in the block of each pointer field, ascending by what they point to
///                4 each  offset in the block of each type field
///
/// Every number is in the target's byte order; the magic tells which it is. A pointer field holds an offset in the
/// block, 0 for null. A type field holds the 32-bit hash of the type's name. Texts are as long as told and end in a
/// zero byte. Array elements of up to eight bytes in all stand in the array's own slot, and such an array has no
/// pointer field. What pointers point to never overlaps and ascends in walk order, which a reader checks.
struct SSerializedHead
{
    uint32_t nMagic;
    uint32_t nVersion;
    uint32_t nRootTypeHash;
    uint32_t nAlignment; ///< power of two that the block's address must meet
    uint32_t nBlockSize; ///< without the padding
    uint32_t nPointerFields;
    uint32_t nTypeFields;
    uint32_t nReserved; ///< 0
};
static_assert(sizeof(SSerializedHead) == 32);

constexpr uint32_t SERIALIZED_MAGIC = 0x5A4F424A; // "ZOBJ" in a big-endian file
constexpr uint32_t SERIALIZED_VERSION = 1;
/// Values inside variants inside values: deeper nesting is refused on both sides.
constexpr int SERIALIZED_MAX_DEPTH = 32;
constexpr uint32_t SERIALIZED_MAX_ALIGNMENT = 4096;
