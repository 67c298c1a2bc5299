#pragma once

#include <string>

namespace Host
{

/// How far two packed animations are apart, each decoded against the rig in its own output folder.
struct SPoseDifference
{
    std::string sError;     ///< why they could not be compared; then nothing else is told
    bool bSameShape = true; ///< bones of the same names, and as many frames; of others the common ones are compared
    size_t nBones = 0, nFrames = 0; ///< compared
    double fMaxMillimetres = 0.0;   ///< of points 3 cm from each bone along its axes, in character space
    std::string sWorstBone;
    size_t nWorstFrame = 0;
};

SPoseDifference DifferenceOf(const std::string& sFileA, const std::string& sOutA, const std::string& sFileB,
                             const std::string& sOutB);

} // namespace Host
