#pragma once

#include "base/misc/assert.h"
#include "base/typeinfo/stypeid.h"

#include <cstdint>

/// Index of a bone in a rig, 16 bits; the highest value means none.
struct SBoneId
{
    static constexpr uint16_t INVALID_ID = 65535;
    static constexpr uint32_t INVALID_ID32 = 4294967295u;

    uint16_t m_uiId = INVALID_ID;

    constexpr SBoneId() = default;
    constexpr SBoneId(uint16_t id) : m_uiId(id) {}
    /// Narrows; behind a failed assertion it is the low 16 bits, as everywhere.
    SBoneId(uint32_t id) : m_uiId(static_cast<uint16_t>(id)) { ZASSERT(id <= INVALID_ID || id == INVALID_ID32); }
    /// -1 becomes INVALID_ID.
    SBoneId(int32_t id) : m_uiId(static_cast<uint16_t>(id)) { ZASSERT((id >= 0 && id <= INVALID_ID) || id == -1); }

    constexpr bool IsValid() const { return m_uiId != INVALID_ID; }
    constexpr operator uint16_t() const { return m_uiId; }
};
static_assert(sizeof(SBoneId) == 2, "packed rigs hold arrays of it");
Z_TYPE_NAME(SBoneId, "SBoneId");
