#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Host
{

/// How far a packed animation is from its source.
struct SVerified
{
    std::string sError; ///< when it could not be compared; the rest but sShown is nothing then
    uint32_t nBones = 0;
    uint32_t nFrames = 0;
    uint64_t nBytes = 0; ///< of the file
    double fMaxDegrees = 0.0;
    double fMaxMillimetres = 0.0;
    double fMeanMillimetres = 0.0;
    std::string sWorstBone; ///< of fMaxMillimetres
    uint32_t nWorstFrame = 0;
    std::string sWorstTurned; ///< of fMaxDegrees
    uint32_t nWorstTurnedFrame = 0;
    std::vector<std::string> lostBones;    ///< whose motion did not come through, though nobody left it out
    double fLostMillimetres = 0.0;         ///< of these at worst
    std::vector<std::string> droppedScale; ///< nodes whose scale no packed animation holds
    std::string sShown;                    ///< what was made of the poses, where that was asked for
};

} // namespace Host
