#pragma once

#include <string>

class FbxScene;

namespace Host
{

/// Rewrites the scene of a source, a file or an identifier, the way packing does when it is of the old layout. That is
/// the module's work: a scene stays as it is where the module can't be loaded.
void ConvertOldLayout(const std::string& sModule, const std::string& sAssets, const std::string& sSource,
                      FbxScene* pScene);

} // namespace Host
