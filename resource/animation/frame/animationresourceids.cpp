#include "resource/animation/frame/animationresourceids.h"

const ZString ANIMATION_DERIVED_RESOURCE_EXTENSION("animation");
const ZString EVENT_TRACK_SUBRESOURCE_EXTENSION("eventtracks");
const ZString FBX_RIG_SUBRESOURCE_EXTENSION("rig");
const ZString FBX_TAKE_SUBRESOURCE_EXTENSION("take");

ZResourceID GenerateFbxRigResourceID(const ZResourceID& id, const ZString& name)
{
    return id.ReplaceRootParameters(ZString::Format("/{0}.{1}", name, FBX_RIG_SUBRESOURCE_EXTENSION));
}

ZResourceID GenerateFbxTakeResourceID(const ZResourceID& id, const ZString& name)
{
    return id.ReplaceRootParameters(ZString::Format("/{0}.{1}", name, FBX_TAKE_SUBRESOURCE_EXTENSION));
}
