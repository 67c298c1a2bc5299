#include "system/animation/quaternioncomp.h"

#include "system/animation/quaterniondecode.h"

#include "system/animation/quaternionpackers.h"

#include <algorithm>

uint64_t SQuaternionComp64::Pack(const SQuaternion& q)
{
    uint64_t uiCode;
    QuaternionPackers().pPack64(&q, 1, &uiCode);
    return uiCode;
}

void SQuaternionComp64::Pack(TArrayRef<const SQuaternion> keys, uint64_t* pCodes)
{
    QuaternionPackers().pPack64(keys.GetStart(), keys.Size(), pCodes);
}

SQuaternion SQuaternionComp64::Unpack(uint64_t uiCode)
{
    SQuaternion q;
    QuaternionDecode::Decode64(static_cast<uint32_t>(uiCode >> 32), static_cast<uint32_t>(uiCode), q.x, q.y, q.z, q.w);
    return q;
}

uint32_t SQuaternionComp32::Pack(const SQuaternion& q)
{
    uint32_t uiCode;
    QuaternionPackers().pPack32(&q, 1, &uiCode);
    return uiCode;
}

void SQuaternionComp32::Pack(TArrayRef<const SQuaternion> keys, uint32_t* pCodes)
{
    QuaternionPackers().pPack32(keys.GetStart(), keys.Size(), pCodes);
}

SQuaternion SQuaternionComp32::Unpack(uint32_t uiCode)
{
    SQuaternion q;
    QuaternionDecode::Decode32(uiCode, q.x, q.y, q.z, q.w);
    return q;
}

float4 SQuaternionSingleAxisComp16::AxisOf(const SQuaternion& reference)
{
    const double x = reference.x, y = reference.y, z = reference.z;
    constexpr double fNoAxis = 1.1920928955078125e-7; // 2^-23, where QuaternionToAxisAngle gives up as well
    if (!(std::max({std::fabs(x), std::fabs(y), std::fabs(z)}) > fNoAxis))
        return {};
    const double f = 1.0 / std::sqrt(x * x + y * y + z * z);
    const float4 axis{static_cast<float>(x * f), static_cast<float>(y * f), static_cast<float>(z * f), 0.0f};
    return std::isfinite(axis.x + axis.y + axis.z) ? axis : float4{};
}

uint16_t SQuaternionSingleAxisComp16::Pack(const SQuaternion& reference, const SQuaternion& key)
{
    const float4 axis = AxisOf(reference);
    uint16_t uiCode;
    QuaternionPackers().pPackSingleAxis(&axis, &key, 1, &uiCode);
    return uiCode;
}

void SQuaternionSingleAxisComp16::Pack(TArrayRef<const float4> axes, TArrayRef<const SQuaternion> keys,
                                       uint16_t* pCodes)
{
    ZASSERT_OR_HALT(axes.Size() >= keys.Size());
    QuaternionPackers().pPackSingleAxis(axes.GetStart(), keys.GetStart(), keys.Size(), pCodes);
}

SQuaternion SQuaternionSingleAxisComp16::Unpack(const SVector3& axis, uint16_t uiCode)
{
    float fSin, fCos;
    QuaternionDecode::DecodeAxisTurn(static_cast<int32_t>(static_cast<int16_t>(uiCode)), fSin, fCos);
    return {axis.x * fSin, axis.y * fSin, axis.z * fSin, fCos};
}
