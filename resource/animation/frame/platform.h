#pragma once

#include "base/misc/assert.h"
#include "base/misc/endian.h"
#include "base/misc/zstring.h"

namespace ResourceAnimation
{

/// Byte order of a target platform by the text of the option "t". Exact and case-sensitive; any other text raises
/// zhalt_exception.
inline EEndian GetPlatformClass(const ZString& platform)
{
    if (platform == "pc" || platform == "durango" || platform == "ps4")
        return eEndian_Little;
    if (platform == "xbox360" || platform == "ps3")
        return eEndian_Big;
    throw zhalt_exception();
}

} // namespace ResourceAnimation
