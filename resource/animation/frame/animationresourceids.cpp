#include "resource/animation/frame/animationresourceids.h"

constinit const ZString ANIMATION_DERIVED_RESOURCE_EXTENSION("animation");
constinit const ZString EVENT_TRACK_SUBRESOURCE_EXTENSION("eventtracks");
constinit const ZString FBX_RIG_SUBRESOURCE_EXTENSION("rig");
constinit const ZString FBX_TAKE_SUBRESOURCE_EXTENSION("take");

ZResourceID GenerateFbxRigResourceID(const ZResourceID& id, const ZString& name)
{
    return id.ReplaceRootParameters(ZString::Format("/{0}.{1}", name, FBX_RIG_SUBRESOURCE_EXTENSION));
}

ZResourceID GenerateFbxTakeResourceID(const ZResourceID& id, const ZString& name)
{
    return id.ReplaceRootParameters(ZString::Format("/{0}.{1}", name, FBX_TAKE_SUBRESOURCE_EXTENSION));
}
