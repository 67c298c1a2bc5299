#pragma once

#include "host/files/packedfile.h"
#include "host/files/packedpose.h"

#include <string>
#include <vector>

namespace Host
{

/// A packed resource, header to tracks, as one line; pPose is that of an animation whose frames are asked for.
/// sPlatform may be empty: not known.
std::string InspectLine(ZPackedFile& file, const std::string& sPath, const std::string& sPlatform,
                        const ZPackedPose* pPose, const std::vector<uint32_t>& frames);

} // namespace Host
