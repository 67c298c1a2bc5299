#pragma once

#include "host/show/commandline.h"

class FbxScene;

namespace Host
{

/// Rewrites the scene of options.sources[0] the way packing does when it is of the old layout. That is the module's
/// work: a scene stays as it is where the module can't be loaded.
void ConvertOldLayout(const SOptions& options, FbxScene* pScene);

} // namespace Host
