#include "resource/animation/stats/animationmemorystatistics.h"

#include "base/pointers/tcomponentsharedptr.h"
#include "resource/core/iresourcedatabase.h"

#include <cmath>
#include <limits>

namespace ResourceAnimation
{

namespace
{

const ZString FILE_VERSION_MARKER("!FILEVERSION");
constexpr int32_t FILE_VERSION = 1;

/// Of no numbers there are two, and which one 0/0 gives is the processor's choice; they print differently.
float Divide(float a, float b)
{
    const float f = a / b;
    return std::isnan(f) ? std::numeric_limits<float>::quiet_NaN() : f;
}

} // namespace

bool ZAnimationMemoryStatistics::Read(const ZResourceID& id)
{
    m_records.Clear();
    const TComponentScope<IInputStream> stream(OpenResource<IInputStream>(*GetResourceDatabase(), id));
    if (!stream || !stream->IsOpen())
        return false;
    const size_t nDataSize = stream->GetSize();
    const ZBuffer buffer(nDataSize);
    const size_t nBytesRead = stream->Read(buffer.Get(), nDataSize);
    ZASSERT(nBytesRead == nDataSize);
    const ZString text = ZString::FromView({static_cast<const char*>(buffer.Get()), nBytesRead});
    for (const ZString& line : text.Split('\n'))
        if (line.StartsWith(ANIMATION_DATA_LINE_BEGIN_MARKER))
            m_records.Add(ParseDataLine(line));
    return true;
}

ZString ZAnimationMemoryStatistics::Report() const
{
    float fSeconds = 0.0f, fBoneSeconds = 0.0f;
    uint64_t nBoneData = 0, nOtherData = 0;
    uint32_t nBones = 0;
    for (const SPackedAnimationMemoryStats& record : m_records)
    {
        fSeconds += record.seconds;
        fBoneSeconds += record.boneSeconds;
        nBoneData += record.boneDataBytes;
        nOtherData += record.otherDataBytes;
        nBones += static_cast<uint32_t>(record.boneCount);
    }
    const auto fRecords = static_cast<float>(m_records.Size());
    // Of raw data at 30 frames a second and 40 bytes a bone and frame.
    const float fLevel = Divide(static_cast<float>(nBoneData) * 100.0f, fBoneSeconds * 30.0f * 40.0f);

    ZString text;
    text.Append("-- TOTAL --\n");
    text.Append(ZString::Format("  Number of animations: {0}\n", m_records.Size()));
    text.Append(ZString::Format("  Seconds of animation: {0}\n", FormatDuration(fSeconds)));
    text.Append(ZString::Format("  Bone-seconds of animation: {0,.2}\n", fBoneSeconds));
    text.Append(ZString::Format("  Average animation length: {0,.2} seconds\n", Divide(fSeconds, fRecords)));
    text.Append(ZString::Format("  Average number of bones: {0,.2}\n",
                                Divide(static_cast<float>(static_cast<int32_t>(nBones)), fRecords)));
    text.Append('\n');
    text.Append(ZString::Format("  Total: {0}\n", FormatBytes(nBoneData + nOtherData)));
    text.Append(ZString::Format("    BoneData: {0}\n", FormatBytes(nBoneData)));
    text.Append(
        ZString::Format("      Average compression level: {0,.2}%  (compared to 30 FPS raw QVS data)\n", fLevel));
    text.Append(ZString::Format("    Other: {0}\n", FormatBytes(nOtherData)));
    text.Append('\n');
    text.Append("-- RAW DATA --\n");
    text.Append(ZString::Format("{0} {1}\n", FILE_VERSION_MARKER, FILE_VERSION));
    for (const SPackedAnimationMemoryStats& record : m_records)
        text.Append(FormatDataLine(record));
    return text;
}

bool ZAnimationMemoryStatistics::Write(const ZResourceID& id) const
{
    const ZString text = Report();
    const TComponentScope<IOutputStream> stream(GetResourceDatabase()->OpenOutputStream(id));
    stream->Write(text.ToCString(), text.Length());
    return true;
}

ZString FormatDuration(float seconds)
{
    // Beyond 32 bits the parts mean nothing, but they must be the same everywhere.
    const bool bFits = seconds > -2147483648.0f && seconds < 2147483648.0f;
    const int32_t t = bFits ? static_cast<int32_t>(seconds) : 0;
    return ZString::Format("{0,.2} seconds  ({1} hours {2} minutes {3} seconds)", seconds, t / 3600, (t / 60) % 60,
                           t % 60);
}

ZString FormatBytes(uint64_t bytes)
{
    return ZString::Format("{0} bytes  ({1,.2} MBs)", bytes, static_cast<float>(bytes) * 9.5367431640625e-7f);
}

} // namespace ResourceAnimation
