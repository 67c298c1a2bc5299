#pragma once

#include "base/misc/zresourceid.h"
#include "resource/animation/import/animation.h"
#include "resource/animation/packer/animposepropertydocument.h"

namespace ResourceAnimation
{

/// Keys that the events of one take may add, all properties together.
constexpr uint64_t MAX_EVENT_KEYS = uint64_t{1} << 22;

/// Adds the pose properties of the take's event document to the animation's bones, in place. A take without a document
/// is normal. ZAnimationPackerException for events that contradict each other or ask for more than MAX_EVENT_KEYS;
/// faults of the document as ReadAnimPosePropertyDocument tells.
void ReadAnimPosePropertyEvents(const TSharedPtr<Import::ZAnimation>& animation, const ZResourceID& eventTrackID);

/// The same for events that have been read. By start time, equal starts in document order. An event on a property that
/// the animation has already, whatever the bone, is dropped: the scene wins. Keys are appended to those of earlier
/// events, never put over them.
///
/// Assertions: "pBone != nullptr" when neither the event's bone nor the root bone is there; a rotation vector of length
/// zero as WVectorNormalize4Exact tells.
void AddAnimPosePropertyEvents(Import::ZAnimation& animation, TArray<SAnimPosePropertyEvent> events);

} // namespace ResourceAnimation
