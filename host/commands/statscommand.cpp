#include "host/commands/commands.h"
#include "host/files/outputpath.h"
#include "host/files/packedfile.h"
#include "host/files/packedlist.h"
#include "host/files/resourceids.h"
#include "host/module/hostmodule.h"
#include "host/module/reportdatabase.h"
#include "host/show/inspecttext.h"
#include "host/text/hosterror.h"
#include "host/text/jsonwriter.h"
#include "host/text/textformat.h"
#include "host/text/texttable.h"
#include "resource/animation/stats/animationmemorystatistics.h"

#include <algorithm>
#include <array>
#include <map>

namespace Host
{

using ResourceAnimation::SPackedAnimationMemoryStats;
using ResourceAnimation::ZAnimationMemoryStatistics;
using SystemAnimation::eTrack_TypeCount;
using SystemAnimation::SAnimationResourceData;
using SystemAnimation::STrackGroup;

namespace
{

/// What the tracks of one type take.
struct SClass
{
    uint64_t nTracks = 0;
    uint64_t nBytes = 0;
};
using TClasses = std::array<SClass, eTrack_TypeCount>;

struct SMeasured
{
    const SPackedAnimation* pPacked = nullptr;
    SPackedAnimationMemoryStats stats;
    uint32_t nFrames = 0;
    TClasses classes;
    std::string sError;
};

/// All of one platform.
struct SPlatform
{
    ZAnimationMemoryStatistics statistics;
    std::vector<const SMeasured*> animations;
    TClasses classes;
    uint64_t nBoneBytes = 0;
    uint64_t nOtherBytes = 0;
    size_t nFailed = 0;
};

/// Bone bytes are the keys in the track groups; all else in the file is other: header, references, lists of bones,
/// properties and what joins them.
bool Measure(ZPackedFile& file, SMeasured& measured)
{
    if (!file.Read(measured.pPacked->sPath))
        return false;
    if (file.Type() != "ARTY")
    {
        measured.sError = "no packed animation: the file is of the type " + file.Type();
        return false;
    }
    const SAnimationResourceData* pAnimation = file.Animation();
    if (pAnimation == nullptr)
        return false;
    SPackedAnimationMemoryStats& stats = measured.stats;
    stats.resourceID = ToId(measured.pPacked->sId);
    stats.boneCount = static_cast<int32_t>(pAnimation->boneCount);
    measured.nFrames = pAnimation->frameCount;
    stats.seconds =
        pAnimation->frameRate > 0.0f ? static_cast<float>(pAnimation->frameCount) / pAnimation->frameRate : 0.0f;
    stats.boneSeconds = static_cast<float>(stats.boneCount) * stats.seconds;
    for (const STrackGroup& group : pAnimation->trackGroups)
    {
        SClass& entry = measured.classes[static_cast<size_t>(group.type)];
        entry.nTracks += group.boneIndices.Size();
        entry.nBytes += group.data.Size();
        stats.boneDataBytes += group.data.Size();
    }
    stats.otherDataBytes = file.FileSize() - stats.boneDataBytes;
    return true;
}

SMeasured MeasureFile(const SPackedAnimation& packed)
{
    SMeasured measured;
    measured.pPacked = &packed;
    ZPackedFile file;
    try
    {
        if (!Measure(file, measured) && measured.sError.empty())
            measured.sError = file.Error();
    }
    catch (const SAssertionFailed& e)
    {
        measured.sError = "assertion failed: " + e.sExpression;
    }
    catch (const zhalt_exception&)
    {
        measured.sError = "the file contradicts itself";
    }
    return measured;
}

double Percent(uint64_t nPart, uint64_t nAll)
{
    return nAll != 0 ? 100.0 * static_cast<double>(nPart) / static_cast<double>(nAll) : 0.0;
}

void WriteClasses(ZJsonWriter& json, const TClasses& classes, uint64_t nAll)
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

class ZStats
{
public:
    ZStats(const SOptions& options, ZConsole& console) : m_options(options), m_console(console) {}

    int Run()
    {
        const ZResourceID report = ToId(m_options.sSaveId);
        if (!m_options.sSaveId.empty() && ReportPathOf(report, "pc").empty())
            throw ZUsageError("'" + m_options.sSaveId +
                              "' is no identifier of a file, such as assembly:/stats/memory.txt");
        const std::vector<SPackedAnimation> found = FindPackedAnimations(
            m_options.sOut, m_options.bPlatformGiven ? m_options.platforms : std::vector<std::string>());
        m_measured.reserve(found.size());
        for (const SPackedAnimation& packed : found)
        {
            m_measured.push_back(MeasureFile(packed));
            Take(m_measured.back());
        }
        if (found.empty())
            m_console.Notice("there are no packed animations in '" + m_options.sOut + "'" +
                             (m_options.bPlatformGiven ? " for this platform" : ""));
        if (m_console.IsJson())
            WriteSummary();
        else
            for (const auto& [sName, platform] : m_platforms)
                m_console.Output((m_platforms.size() > 1 ? "== " + sName + " ==\n" : std::string()) + Text(platform));
        if (!m_options.sSaveId.empty())
            for (const auto& [sName, platform] : m_platforms)
                Save(report, sName, platform);
        return m_nFailed == 0 ? eExit_Done : eExit_AssetsFailed;
    }

private:
    void Take(const SMeasured& measured)
    {
        SPlatform& platform = m_platforms[measured.pPacked->sPlatform];
        if (m_console.IsJson())
            m_console.Output(Json(measured));
        if (!measured.sError.empty())
        {
            m_console.Diagnostic(ESeverity::eError, measured.pPacked->sId, measured.sError);
            ++platform.nFailed;
            ++m_nFailed;
            return;
        }
        platform.statistics.m_records.Add(measured.stats);
        platform.animations.push_back(&measured);
        platform.nBoneBytes += measured.stats.boneDataBytes;
        platform.nOtherBytes += measured.stats.otherDataBytes;
        for (size_t n = 0; n < measured.classes.size(); ++n)
        {
            platform.classes[n].nTracks += measured.classes[n].nTracks;
            platform.classes[n].nBytes += measured.classes[n].nBytes;
        }
    }

    /// The report as it is saved, and behind it what is of use on a terminal.
    std::string Text(const SPlatform& platform) const
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

        std::vector<const SMeasured*> largest = platform.animations;
        const auto bytesOf = [](const SMeasured* p) { return p->stats.boneDataBytes + p->stats.otherDataBytes; };
        std::stable_sort(largest.begin(), largest.end(),
                         [&](const SMeasured* a, const SMeasured* b) { return bytesOf(a) > bytesOf(b); });
        largest.resize(std::min(largest.size(), m_options.nTop));
        if (largest.empty())
            return sText;
        ZTextTable table({"bytes", "of all", "bones", "seconds", "bytes a bone and second", "animation"});
        for (const SMeasured* p : largest)
            table.Add({std::to_string(bytesOf(p)), Formatted("%.1f%%", Percent(bytesOf(p), nAll)),
                       std::to_string(p->stats.boneCount), Formatted("%.2f", static_cast<double>(p->stats.seconds)),
                       p->stats.boneSeconds > 0.0f ? Formatted("%.1f", static_cast<double>(bytesOf(p)) /
                                                                           static_cast<double>(p->stats.boneSeconds))
                                                   : std::string(),
                       p->pPacked->sId});
        return sText + "\n-- LARGEST ANIMATIONS --\n" + table.Text("  ");
    }

    static std::string Json(const SMeasured& measured)
    {
        ZJsonWriter json;
        json.Open('{');
        json.TextField("id", measured.pPacked->sId);
        json.TextField("platform", measured.pPacked->sPlatform);
        json.TextField("file", measured.pPacked->sPath);
        json.OptionalField("error", measured.sError);
        if (measured.sError.empty())
        {
            const SPackedAnimationMemoryStats& stats = measured.stats;
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

    void WriteSummary()
    {
        ZJsonWriter json;
        json.Open('{');
        json.Key("summary");
        json.Open('{');
        json.UnsignedField("animations", m_measured.size() - m_nFailed);
        json.UnsignedField("failed", m_nFailed);
        json.Key("platforms");
        json.Open('{');
        for (const auto& [sName, platform] : m_platforms)
        {
            double fSeconds = 0.0, fBoneSeconds = 0.0;
            for (const SMeasured* p : platform.animations)
            {
                fSeconds += static_cast<double>(p->stats.seconds);
                fBoneSeconds += static_cast<double>(p->stats.boneSeconds);
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
        m_console.Output(json.Get());
    }

    void Save(const ZResourceID& id, const std::string& sPlatform, const SPlatform& platform) const
    {
        const std::string sPath = m_options.sOut + '/' + ReportPathOf(id, sPlatform);
        ZReportDatabase database(id, sPath);
        platform.statistics.Write(id);
        database.Publish();
        m_console.Notice("the report for " + sPlatform + " stands in '" + sPath + "'");
    }

    const SOptions& m_options;
    ZConsole& m_console;
    std::vector<SMeasured> m_measured; ///< does not grow beyond what was reserved: others point into it
    std::map<std::string, SPlatform> m_platforms;
    size_t m_nFailed = 0;
};

} // namespace

int RunStats(const SOptions& options, ZConsole& console)
{
    RegisterHostModules();
    return ZStats(options, console).Run();
}

} // namespace Host
