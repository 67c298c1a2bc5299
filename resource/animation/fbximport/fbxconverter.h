#pragma once

#include "base/misc/export.h"

class FbxScene;
class ZResourceID;

/// Scenes of the layout before this one: a stack for each animation, with its ground and rig as properties of the
/// stack, and grounds marked by IsGround. They are rewritten in memory to the layout that the scene reader knows; the
/// file is not touched. A scene keeps its old properties on its nodes, so it stays recognisable: convert it once, after
/// loading.
namespace ZFbxConverter
{

/// Whether anything in the scene is marked in the old way. Assertion: "pScene".
Z_EXPORT bool IsOldFormat(FbxScene* pScene);

/// Grounds get the properties of grounds, each stack a take node, and all stacks become one, "_Take001", with the
/// layers of the first. Of `id`, the scene's own identifier, the root decides which ground is the file's own rig. What
/// is absent is passed over; nothing is reported. Assertion: "pScene".
Z_EXPORT void ConvertToNewPipeline(const ZResourceID& id, FbxScene* pScene);

} // namespace ZFbxConverter
