#pragma once

#include "resource/animation/import/animation.h"
#include "system/animation/animationresourcedata.h"
#include "system/animation/animationrig.h"

namespace ResourceAnimation
{

/// One record for each animated property, by the animation's bone order, then the bone's property order; bones that the
/// rig does not know are passed over, bones that are not packed are not. A rig index of 256 or more fails the assertion
/// "arg <= NumericLimits<Dest>::Max", a type that has no row
/// "arrayConversionFunctor.Contains((*it)->GetTypeID())".
void AppendPropertyTracks(const Import::ZAnimation& animation, const ZAnimationRig& rig,
                          TArray<SystemAnimation::SPropertyTrack>& properties);

} // namespace ResourceAnimation
