#include "host/stats/packedmemory.h"

#include "host/files/outputpath.h"
#include "host/files/outputplace.h"
#include "host/files/packedfile.h"
#include "host/files/resourceids.h"
#include "host/module/reportdatabase.h"
#include "host/text/hosterror.h"

namespace Host
{

using SystemAnimation::SAnimationResourceData;
using SystemAnimation::STrackGroup;

namespace
{

bool Measure(ZPackedFile& file, SMeasured& measured)
{
    if (!file.Read(measured.packed.sPath))
        return false;
    if (file.Type() != "ARTY")
    {
        measured.sError = "no packed animation: the file is of the type " + file.Type();
        return false;
    }
    const SAnimationResourceData* pAnimation = file.Animation();
    if (pAnimation == nullptr)
        return false;
    ResourceAnimation::SPackedAnimationMemoryStats& stats = measured.stats;
    stats.resourceID = ToId(measured.packed.sId);
    stats.boneCount = static_cast<int32_t>(pAnimation->boneCount);
    measured.nFrames = pAnimation->frameCount;
    stats.seconds =
        pAnimation->frameRate > 0.0f ? static_cast<float>(pAnimation->frameCount) / pAnimation->frameRate : 0.0f;
    stats.boneSeconds = static_cast<float>(stats.boneCount) * stats.seconds;
    for (const STrackGroup& group : pAnimation->trackGroups)
    {
        STrackClass& entry = measured.classes[static_cast<size_t>(group.type)];
        entry.nTracks += group.boneIndices.Size();
        entry.nBytes += group.data.Size();
        stats.boneDataBytes += group.data.Size();
    }
    stats.otherDataBytes = file.FileSize() - stats.boneDataBytes;
    return true;
}

} // namespace

SMeasured MeasurePacked(const SPackedAnimation& packed)
{
    SMeasured measured;
    measured.packed = packed;
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

void AddMeasured(const SMeasured& measured, std::map<std::string, SPlatformMemory>& platforms)
{
    SPlatformMemory& platform = platforms[measured.packed.sPlatform];
    if (!measured.sError.empty())
    {
        ++platform.nFailed;
        return;
    }
    platform.statistics.m_records.Add(measured.stats);
    platform.animations.push_back(measured);
    platform.nBoneBytes += measured.stats.boneDataBytes;
    platform.nOtherBytes += measured.stats.otherDataBytes;
    for (size_t n = 0; n < measured.classes.size(); ++n)
    {
        platform.classes[n].nTracks += measured.classes[n].nTracks;
        platform.classes[n].nBytes += measured.classes[n].nBytes;
    }
}

std::string SaveReport(const std::string& sOut, const std::string& sId, const std::string& sPlatform,
                       const SPlatformMemory& memory)
{
    const ZResourceID id = ToId(sId);
    const std::string sPath = sOut + '/' + ReportPathOf(id, sPlatform);
    std::string sPlace;
    if (const std::string sWhy = FindOutputPlace(sPath, {}, {}, sPlace); !sWhy.empty())
        throw ZHostError("'" + sPath + "' " + sWhy, "choose another identifier with --save");
    ZReportDatabase database(id, sPlace);
    memory.statistics.Write(id);
    database.Publish();
    return sPath;
}

} // namespace Host
