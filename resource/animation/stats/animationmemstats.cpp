#include "resource/animation/stats/animationmemstats.h"

#include <charconv>

namespace ResourceAnimation
{

constinit const ZString ANIMATION_DATA_LINE_BEGIN_MARKER("!PACKEDANIMDATA");

namespace
{

/// The number that the text starts with, 0 when it starts with none. As atoi and atof, but never by locale.
template <class T>
T LeadingNumber(const ZString& text)
{
    const ZString trimmed = text.CopyTrim();
    const char* pStart = trimmed.ToCString();
    const char* pEnd = pStart + trimmed.Length();
    if (pStart != pEnd && *pStart == '+')
        ++pStart;
    T value{};
    std::from_chars(pStart, pEnd, value);
    return value;
}

int32_t ToInt32(const ZString& text)
{
    return static_cast<int32_t>(LeadingNumber<int64_t>(text));
}

} // namespace

ZString FormatDataLine(const SPackedAnimationMemoryStats& stats)
{
    return ZString::Format("{0}{1}\t{2}\t{3}|{4}|{5}|{6}\n", ANIMATION_DATA_LINE_BEGIN_MARKER,
                           stats.resourceID.ToString().CopyReplace('\t', '_'), stats.boneCount, stats.seconds,
                           stats.boneSeconds, stats.boneDataBytes, stats.otherDataBytes);
}

SPackedAnimationMemoryStats ParseDataLine(const ZString& sTextLine)
{
    const size_t nLengthOfMarker = ANIMATION_DATA_LINE_BEGIN_MARKER.Length();
    ZASSERT(sTextLine.Substring(0, nLengthOfMarker) == ANIMATION_DATA_LINE_BEGIN_MARKER);
    TArray<ZString> aStringData = sTextLine.Substring(nLengthOfMarker).CopyTrim().Split('\t');
    ZASSERT(aStringData.Size() == 3);
    SPackedAnimationMemoryStats stats;
    stats.resourceID = ZResourceID(aStringData[0]);
    stats.boneCount = ToInt32(aStringData[1]);
    aStringData = aStringData[2].CopyTrim().Split('|');
    ZASSERT(aStringData.Size() == 9);
    stats.seconds = LeadingNumber<float>(aStringData[0]);
    stats.boneSeconds = LeadingNumber<float>(aStringData[1]);
    stats.boneDataBytes = static_cast<uint64_t>(ToInt32(aStringData[2]));
    stats.otherDataBytes = static_cast<uint64_t>(ToInt32(aStringData[3]));
    return stats;
}

} // namespace ResourceAnimation
