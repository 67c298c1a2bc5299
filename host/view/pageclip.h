#pragma once

#include "host/clip/clip.h"

#include <string>

namespace Host
{

/// One take as the page has it. A row is what the list shows, and details are read when the take is chosen.
struct SPageClip
{
    std::string sRig;     ///< a rig's JSON with its body; equal for takes that share one
    std::string sRow;     ///< JSON
    std::string sDetails; ///< JSON
    std::string sPoses;   ///< base64 of deflated numbers, see page/clipdata.js
};

/// Makes a text of a clip where it was decoded.
std::string EncodePageClip(const SClip& clip);
/// False for a text that EncodePageClip did not make.
bool DecodePageClip(const std::string& sText, SPageClip& clip);

/// The row of a take that can't be shown at all.
std::string FailedRow(const std::string& sId, const std::string& sPlatform, const std::string& sError);

} // namespace Host
