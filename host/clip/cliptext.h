#pragma once

#include "host/clip/clip.h"
#include "host/text/jsonwriter.h"

namespace Host
{

// What stands in the JSON of everything that shows clips; Y up.

/// Fields "t" and "r", without those that are none of their own.
void WriteKey(ZJsonWriter& json, const SBoneKey& key);
/// {"bone":NAME,"name":NAME or null,"nameHash":n,"type":T,"keys":[…]}; values as they are packed, in no other space.
void WriteProperty(ZJsonWriter& json, const SClip& clip, const SClipProperty& property);
/// {"track":T,"event":T,"start":seconds,"duration":seconds}
void WriteEvent(ZJsonWriter& json, const SClip& clip, const SClipEvent& event);

/// "rotation, 64 bits": a track's class in words; see SClipTracks.
const char* TrackClassName(int32_t nType);

/// Seconds between the first and the last frame.
double SecondsOf(const SClip& clip);

/// The name of a rig or take: "scout" of assembly:/a/moves.fbx?/scout.rig; of a file its stem.
std::string NameOfId(const std::string& sId);

} // namespace Host
