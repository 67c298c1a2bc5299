#pragma once

#include "base/math/quaternion.h"
#include "base/misc/export.h"

#include <cstddef>
#include <cstdint>

/// The packers of quantised rotations for one instruction set: many keys a call, several side by side. All sets give
/// the same codes. Codes are in native byte order; quaternioncomp.h tells what they mean.
struct SQuaternionPackers
{
    void (*pPack64)(const SQuaternion* pKeys, size_t nKeys, uint64_t* pCodes);
    void (*pPack32)(const SQuaternion* pKeys, size_t nKeys, uint32_t* pCodes);
    /// Axis i belongs to key i: unit length, or zero for a track without an axis. The fourth float does not count.
    void (*pPackSingleAxis)(const float4* pAxes, const SQuaternion* pKeys, size_t nKeys, uint16_t* pCodes);
};

/// The set that this program is compiled for.
Z_EXPORT const SQuaternionPackers& BaselineQuaternionPackers();
/// For x86 processors with AVX2; null when this program is for others, or this processor has it not.
Z_EXPORT const SQuaternionPackers* Avx2QuaternionPackers();
/// The fastest set that this processor runs.
Z_EXPORT const SQuaternionPackers& QuaternionPackers();
