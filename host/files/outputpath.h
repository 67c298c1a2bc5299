#pragma once

#include "base/misc/zresourceid.h"

#include <string>
#include <string_view>

namespace Host
{

/// Place of a packed resource below the output folder, with forward slashes; empty for an identifier that is not
/// derived or that no packed file stands for.
///
///   <assembly:/a/hero.fbx?/walk.take>.pc.animation                pc/a/hero.fbx/walk.take.animation
///   <assembly:/a/hero.fbx?/walk.take>(noevents).pc.animation      pc/a/hero.fbx/walk.take(noevents).animation
///   <assembly:/a/rig.fbx>.pc.animationrig                         pc/a/rig.fbx/@.animationrig
///   <<assembly:/a/rig.fbx?/r.rig>.pc.animationrig>.pc.rigxml      pc/a/rig.fbx/r.rig.animationrig.rigxml
///
/// Two identifiers that differ in more than case have two places, and no place is a folder of another. Whatever is not
/// fit for a file name, or would make two places one, is written as % and two hexadecimal digits; % and another sign
/// marks what the plain form has no word for. Names too long for a file end in %~ and the hash of the whole name.
std::string OutputPathOf(const ZResourceID& id);

/// The canonical identifier of a packed resource of a source, from its place; empty where a hash stands for a part of
/// it, and for what is no such place.
std::string IdOfOutputPath(std::string_view path);

/// Place of a report, which is no packed resource and never takes the place of one: assembly:/stats/memory.txt has
/// pc/stats/memory.txt for pc. Empty for an identifier that names a part of a file, or no file.
std::string ReportPathOf(const ZResourceID& id, std::string_view platform);

} // namespace Host
