#pragma once

#include "host/clip/clip.h"

#include <string>
#include <vector>

namespace Host
{

/// One animated property of one bone: a key for each frame, or a single one.
struct SGltfChannel
{
    uint32_t nBone = 0;
    bool bRotation = false; ///< else translation
    uint32_t nKeys = 0;
    std::string sKeys; ///< floats: four a rotation, three a translation
};

/// A take as glTF has it: metres, Y up, and only what the rest pose does not say already.
struct SGltfTake
{
    std::string sRig;  ///< a rig's JSON: equal for takes that share one
    std::string sName; ///< of the take
    std::string sExtras;
    float fFrameRate = 30.0f;
    uint32_t nFrames = 0;
    std::vector<SGltfChannel> channels; ///< never none: the ground's way is always there, frame by frame
};

/// Makes a text of a clip's packed poses, or of the scene's, or of the reason why that can't be.
FShowClip GltfTakeEncoder(bool bSource);

/// The take back; or why there is none.
std::string DecodeGltfTake(const std::string& sText, SGltfTake& take);

/// A rig's JSON back as a rig; without identifier where it has none.
SClipRig DecodeGltfRig(const std::string& sRig);

} // namespace Host
