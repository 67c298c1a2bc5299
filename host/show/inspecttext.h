#pragma once

#include "host/files/packedfile.h"
#include "host/files/packedpose.h"

#include <string>
#include <vector>

namespace Host
{

/// "rotation, 32 bits a frame"; the type is one that there is.
const char* TrackGroupName(int32_t type);

/// A packed resource as people want to read it: where the bytes go, what moves, and frames of an animation; pPose is
/// theirs, or null. sPlatform may be empty: not known.
std::string InspectText(ZPackedFile& file, const std::string& sPath, const std::string& sPlatform,
                        const ZPackedPose* pPose, const std::vector<uint32_t>& frames);

} // namespace Host
