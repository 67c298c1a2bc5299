#pragma once

#include "base/misc/zresourceid.h"
#include "system/animation/animationrig.h"

namespace ResourceAnimation
{

enum class EReadBack
{
    eNo,
    eCompare ///< what a reader will get is compared with the rig before anything is written
};

/// The last steps of every rig: bytes for the target platform, then header and bytes to the resource.
/// ZAnimationException when the rig can't be serialised or the resource can't be written; zhalt_exception for a
/// platform that is none.
void WriteRigResource(const ZAnimationRig& rig, const ZString& platform, const ZResourceID& target,
                      EReadBack eReadBack);

} // namespace ResourceAnimation
