#include "resource/animation/packer/eventtracks.h"

#include "resource/animation/frame/animationresourceids.h"

namespace ResourceAnimation
{

ZResourceID MakeEventTrackResourceID(const ZResourceID& source, const ZString& takeName)
{
    return ZString::Format("{0}?/{1}.{2}", source.GetRoot().ReplaceExtension("events"), takeName,
                           EVENT_TRACK_SUBRESOURCE_EXTENSION);
}

} // namespace ResourceAnimation
