#pragma once

#include "base/misc/zstring.h"

class FbxManager;
class FbxScene;

namespace ResourceAnimation
{

/// One file loaded into one scene, which it owns. Belongs to one thread.
class ZFbxWrapper
{
public:
    ZFbxWrapper() = default;
    ZFbxWrapper(const ZFbxWrapper&) = delete;
    ZFbxWrapper& operator=(const ZFbxWrapper&) = delete;
    ~ZFbxWrapper();

    /// Whatever tool wrote the file, the scene is turned to Z up, front -Y, right-handed. ZFbxImportFailedException
    /// with the reader's own words when it can't be loaded.
    void Load(const ZString& filePath);

    FbxScene* Scene() const { return m_pScene; }

private:
    FbxManager* m_pFbxManager = nullptr;
    FbxScene* m_pScene = nullptr; ///< owned by the manager
};

} // namespace ResourceAnimation
