#pragma once

#include "base/misc/zresourceid.h"

namespace ResourceAnimation
{

/// Identifier of the events of a take: the take `run` of assembly:/a/b.fbx has assembly:/a/b.events?/run.eventtracks.
ZResourceID MakeEventTrackResourceID(const ZResourceID& source, const ZString& takeName);

} // namespace ResourceAnimation
