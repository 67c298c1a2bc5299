#pragma once

#include "host/adopt/character.h"
#include "host/module/job.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace Host
{

struct SAdoptSettings
{
    std::vector<std::string> files;
    std::string sAssets; ///< the folder behind assembly:/, made when there is none
    std::string sFolder; ///< below that; empty: the character's name
    std::string sName;   ///< of the character; empty: made of the files' names
    ERoot eRoot = ERoot::eChosen;
    bool bKeepGeometry = false; ///< meshes, with their skins and materials, come along
    bool bDryRun = false;       ///< nothing is written
};

/// One take that was written; a rig, where a file has no take; or a file that was refused.
struct SAdopted
{
    std::string sFile;
    std::string sError; ///< why it was refused; the rest is nothing then
    bool bTake = false;
    std::string sStack;
    std::string sTakeId;
    std::string sRigId;
    std::string sWritten; ///< path of the take's file, or the rig's
    int64_t nFirstFrame = 0;
    int64_t nLastFrame = 0;
    double fFrameRate = 0.0;
    double fScale = 1.0; ///< lengths of the file's world were multiplied by it
    size_t nBones = 0;   ///< of the rig, the ground included
    std::vector<SMessage> messages;
};

struct SAdoptSummary
{
    size_t nFiles = 0;
    size_t nRigs = 0;
    size_t nTakes = 0;
    size_t nRefused = 0;
};

/// Makes characters of the asset tree from stock files: of each one rig file, and one file for each animated stack,
/// with a take over the whole stack. Sources are only read; files that are there and were not written here stay. The
/// same files give the same bytes, in whatever order they are named. ZUsageError for a folder or a name that can't be
/// one.
SAdoptSummary Adopt(const SAdoptSettings& settings, const std::function<void(const SAdopted&)>& report);

} // namespace Host
