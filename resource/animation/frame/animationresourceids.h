#pragma once

#include "base/misc/export.h"
#include "base/misc/zresourceid.h"

/// Spellings that other modules use to name what this one makes. They borrow static text, so they exist before any code
/// of the module runs.
Z_EXPORT extern const ZString ANIMATION_DERIVED_RESOURCE_EXTENSION; ///< "animation": a packed animation
Z_EXPORT extern const ZString EVENT_TRACK_SUBRESOURCE_EXTENSION;    ///< "eventtracks": the events of a take
Z_EXPORT extern const ZString FBX_RIG_SUBRESOURCE_EXTENSION;        ///< "rig": a rig of an FBX file
Z_EXPORT extern const ZString FBX_TAKE_SUBRESOURCE_EXTENSION;       ///< "take": a take of an FBX file

/// `assembly:/a/b.fbx` and `hero` give `assembly:/a/b.fbx?/hero.rig`. Case is kept.
Z_EXPORT ZResourceID GenerateFbxRigResourceID(const ZResourceID& id, const ZString& name);
Z_EXPORT ZResourceID GenerateFbxTakeResourceID(const ZResourceID& id, const ZString& name);
