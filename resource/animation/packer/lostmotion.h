#pragma once

#include "resource/animation/import/animation.h"
#include "system/animation/animationrig.h"

namespace ResourceAnimation
{

/// What a take loses when it is packed against a rig, as texts for the user: bones that move and are not in the rig, by
/// name, with the bone of the rig that may have been meant; a take in which nothing moves. The first bone must have the
/// rig's first name, the others those of the scene without namespace. Of bones alone that are to be exported.
TArray<ZString> DescribeLostMotion(const Import::ZAnimation& animation, const ZAnimationRig& rig);

} // namespace ResourceAnimation
