#pragma once

#include "base/misc/zresourceid.h"

namespace ResourceAnimation
{

/// What one packed animation takes.
struct SPackedAnimationMemoryStats
{
    ZResourceID resourceID;
    int32_t boneCount = 0;
    float seconds = 0.0f;
    float boneSeconds = 0.0f;    ///< bones times seconds
    uint64_t boneDataBytes = 0;  ///< bone tracks
    uint64_t otherDataBytes = 0; ///< all the rest
};

/// What a line of data starts with, directly followed by the identifier.
extern const ZString ANIMATION_DATA_LINE_BEGIN_MARKER;

/// Marker, identifier, tab, bone count, tab, "seconds|boneSeconds|boneDataBytes|otherDataBytes", line feed. A tab in
/// the identifier becomes an underscore.
ZString FormatDataLine(const SPackedAnimationMemoryStats& stats);

/// The reverse, for a line that starts with the marker. Numbers are read as atoi and atof do; byte counts as signed 32
/// bits, so that larger ones come back wrong. The last part is held to have nine values, of which the first four count:
/// what FormatDataLine writes fails the assertion "aStringData.Size() == 9" and reads well behind it. Further
/// assertions: "aStringData.Size() == 3" and that the line has the marker; with fewer than four values it halts.
SPackedAnimationMemoryStats ParseDataLine(const ZString& sTextLine);

} // namespace ResourceAnimation
