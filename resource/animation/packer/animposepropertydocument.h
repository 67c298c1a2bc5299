#pragma once

#include "base/math/vector.h"
#include "base/misc/zstring.h"
#include "system/io/streams.h"

#include <cstdint>

namespace ResourceAnimation
{

/// One event of an event document that describes a stretch of a pose property.
struct SAnimPosePropertyEvent
{
    ZString propertyName;
    ZString boneName;
    float fStart = 0.0f;    ///< fraction of the animation's length
    float fDuration = 0.0f; ///< likewise
    ZString typeName;
    float fStartingValue = 0.0f;
    float fEndingValue = 0.0f;
    bool bValue = false;
    uint32_t nValue = 0;
    ZHashedString hashedValue;
    SVector3 vectorValue;
};

/// The pose property events of one take, in document order: those of the first track of the first take with content
/// that has the name, case ignored, whose name contains "zanimposepropertyeventconsumer". None when take or track is
/// not there.
///
///   TakeList > Take name > EventTrack name > Event > Attributes > StartTime, Duration, EntityData name...
///
/// A document that does not fit fails the assertions of ZXMLReader, a missing attribute "bSuccess"; what follows the
/// track need only be well formed. The name is for messages.
TArray<SAnimPosePropertyEvent> ReadAnimPosePropertyDocument(IInputStream* pStream, const ZString& documentName,
                                                            const ZString& takeName);

} // namespace ResourceAnimation
