#pragma once

#include "bench/animation/walkclip.h"

/// The plain way to compress: the tests key by key as their rules read, the three smallest components in even steps of
/// 62 or 30 bits, the angle in even steps of 16, one value after the other in the order of the file.
SystemAnimation::SAnimationResourceData PlainCompress(const SCompressClip& clip);

uint64_t PlainPack64(const SQuaternion& q);
uint32_t PlainPack32(const SQuaternion& q);
uint16_t PlainPackSingleAxis(const float4& axis, const SQuaternion& q);
