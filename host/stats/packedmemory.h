#pragma once

#include "host/files/packedlist.h"
#include "resource/animation/stats/animationmemorystatistics.h"
#include "system/animation/animationresourcedata.h"

#include <array>
#include <map>
#include <string>
#include <vector>

namespace Host
{

/// What the tracks of one type take.
struct STrackClass
{
    uint64_t nTracks = 0;
    uint64_t nBytes = 0;
};
using TTrackClasses = std::array<STrackClass, SystemAnimation::eTrack_TypeCount>;

/// The memory of one packed animation. Bone bytes are the keys in the track groups; all else in the file is other:
/// header, references, lists of bones, properties and what joins them.
struct SMeasured
{
    SPackedAnimation packed;
    ResourceAnimation::SPackedAnimationMemoryStats stats;
    uint32_t nFrames = 0;
    TTrackClasses classes;
    std::string sError; ///< when it could not be read; the rest is nothing then
};

/// All of one platform.
struct SPlatformMemory
{
    ResourceAnimation::ZAnimationMemoryStatistics statistics;
    std::vector<SMeasured> animations; ///< that could be read
    TTrackClasses classes;
    uint64_t nBoneBytes = 0;
    uint64_t nOtherBytes = 0;
    size_t nFailed = 0;
};

/// Reads each. Needs the engine's modules.
SMeasured MeasurePacked(const SPackedAnimation& packed);
/// Adds one to its platform's.
void AddMeasured(const SMeasured& measured, std::map<std::string, SPlatformMemory>& platforms);
/// Writes the platform's report as the identifier's place in the output folder has it; returns its path. ZHostError
/// when it can't be written.
std::string SaveReport(const std::string& sOut, const std::string& sId, const std::string& sPlatform,
                       const SPlatformMemory& memory);

} // namespace Host
