#pragma once

#include "base/misc/zresourceid.h"
#include "host/clip/clip.h"

#include <set>
#include <string>
#include <vector>

namespace Host
{

/// Events of a take, of all tracks, in the order of the document beside its source: the take `run` of
/// assembly:/a/b.fbx has them in assembly:/a/b.events. None when there is no such document, or it can't be read.
/// `propertyNames` gets the pose properties that they move. Needs a resource database.
void ReadTakeEvents(const ZResourceID& take, const std::string& sTakeName, std::vector<SClipEvent>& events,
                    std::set<std::string>& propertyNames);

} // namespace Host
