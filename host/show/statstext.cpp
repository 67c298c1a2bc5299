#include "host/show/statstext.h"

#include "host/files/resourceids.h"
#include "host/show/inspecttext.h"
#include "host/text/jsonwriter.h"
#include "host/text/textformat.h"
#include "host/text/texttable.h"

#include <algorithm>

namespace Host
{

namespace
{

double Percent(uint64_t nPart, uint64_t nAll)
{
    return nAll != 0 ? 100.0 * static_cast<double>(nPart) / static_cast<double>(nAll) : 0.0;
}

void WriteClasses(ZJsonWriter& json, const TTrackClasses& classes, uint64_t nAll)
{
    json.Key("trackClasses");
    json.Open('[');
    for (size_t n = 0; n < classes.size(); ++n)
    {
        json.Open('{');
        json.UnsignedField("type", n);
        json.TextField("name", TrackGroupName(static_cast<int32_t>(n)));
        json.UnsignedField("tracks", classes[n].nTracks);
        json.UnsignedField("bytes", classes[n].nBytes);
        json.NumberField("percent", Percent(classes[n].nBytes, nAll));
        json.Close('}');
    }
    json.Close(']');
}

} // namespace

std::string MeasuredLine(const SMeasured& measured)
{
    ZJsonWriter json;
    json.Open('{');
    json.TextField("id", measured.packed.sId);
    json.TextField("platform", measured.packed.sPlatform);
    json.TextField("file", measured.packed.sPath);
    json.OptionalField("error", measured.sError);
    if (measured.sError.empty())
    {
        const ResourceAnimation::SPackedAnimationMemoryStats& stats = measured.stats;
        json.UnsignedField("bytes", stats.boneDataBytes + stats.otherDataBytes);
        json.IntegerField("boneCount", stats.boneCount);
        json.UnsignedField("frames", measured.nFrames);
        json.Key("seconds");
        json.Number(stats.seconds);
        json.Key("boneSeconds");
        json.Number(stats.boneSeconds);
        json.UnsignedField("boneDataBytes", stats.boneDataBytes);
        json.UnsignedField("otherDataBytes", stats.otherDataBytes);
        WriteClasses(json, measured.classes, stats.boneDataBytes + stats.otherDataBytes);
    }
    json.Close('}');
    return json.Take();
}

std::string StatsSummaryLine(const std::map<std::string, SPlatformMemory>& platforms)
{
    ZJsonWriter json;
    json.Open('{');
    json.Key("summary");
    json.Open('{');
    size_t nGood = 0, nFailed = 0;
    for (const auto& [sName, platform] : platforms)
    {
        nGood += platform.animations.size();
        nFailed += platform.nFailed;
    }
    json.UnsignedField("animations", nGood);
    json.UnsignedField("failed", nFailed);
    json.Key("platforms");
    json.Open('{');
    for (const auto& [sName, platform] : platforms)
    {
        double fSeconds = 0.0, fBoneSeconds = 0.0;
        for (const SMeasured& measured : platform.animations)
        {
            fSeconds += static_cast<double>(measured.stats.seconds);
            fBoneSeconds += static_cast<double>(measured.stats.boneSeconds);
        }
        json.Key(sName);
        json.Open('{');
        json.UnsignedField("animations", platform.animations.size());
        json.UnsignedField("failed", platform.nFailed);
        json.NumberField("seconds", fSeconds);
        json.NumberField("boneSeconds", fBoneSeconds);
        json.UnsignedField("bytes", platform.nBoneBytes + platform.nOtherBytes);
        json.UnsignedField("boneDataBytes", platform.nBoneBytes);
        json.UnsignedField("otherDataBytes", platform.nOtherBytes);
        WriteClasses(json, platform.classes, platform.nBoneBytes + platform.nOtherBytes);
        json.Close('}');
    }
    json.Close('}');
    json.Close('}');
    json.Close('}');
    return json.Take();
}

std::string StatsText(const SPlatformMemory& platform, size_t nTop)
{
    const uint64_t nAll = platform.nBoneBytes + platform.nOtherBytes;
    std::string sText = ToStd(platform.statistics.Report());
    ZTextTable classes({"type", "tracks", "bytes", "of all"});
    const auto addClass = [&](const std::string& sName, const std::string& sTracks, uint64_t nBytes) {
        classes.Add({sName, sTracks, std::to_string(nBytes), Formatted("%.1f%%", Percent(nBytes, nAll))});
    };
    for (size_t n = 0; n < platform.classes.size(); ++n)
        addClass(std::to_string(n) + ' ' + TrackGroupName(static_cast<int32_t>(n)),
                 std::to_string(platform.classes[n].nTracks), platform.classes[n].nBytes);
    addClass("other", "", platform.nOtherBytes);
    sText += "\n-- TRACK CLASSES --\n" + classes.Text("  ");

    std::vector<const SMeasured*> largest;
    for (const SMeasured& measured : platform.animations)
        largest.push_back(&measured);
    const auto bytesOf = [](const SMeasured* p) { return p->stats.boneDataBytes + p->stats.otherDataBytes; };
    std::stable_sort(largest.begin(), largest.end(),
                     [&](const SMeasured* a, const SMeasured* b) { return bytesOf(a) > bytesOf(b); });
    largest.resize(std::min(largest.size(), nTop));
    if (largest.empty())
        return sText;
    ZTextTable table({"bytes", "of all", "bones", "seconds", "bytes a bone and second", "animation"});
    for (const SMeasured* p : largest)
        table.Add({std::to_string(bytesOf(p)), Formatted("%.1f%%", Percent(bytesOf(p), nAll)),
                   std::to_string(p->stats.boneCount), Formatted("%.2f", static_cast<double>(p->stats.seconds)),
                   p->stats.boneSeconds > 0.0f
                       ? Formatted("%.1f", static_cast<double>(bytesOf(p)) / static_cast<double>(p->stats.boneSeconds))
                       : std::string(),
                   p->packed.sId});
    return sText + "\n-- LARGEST ANIMATIONS --\n" + table.Text("  ");
}

} // namespace Host
