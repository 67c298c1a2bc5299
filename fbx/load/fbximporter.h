#pragma once

#include "fbx/scene/fbxmanager.h"

#include <cstddef>
#include <memory>
#include <string>

class FbxIOSettings;
class FbxScene;

/// Reads one file into one scene. Owned by its manager.
///
/// Versions 5.0 to 7.7, text or binary of either byte order. What animation has no use for (meshes, deformers,
/// poses, materials, textures, video) is stepped over and not looked at.
///
/// Failures   Initialize and Import return false, and GetErrorText says what is wrong with the file in words.
/// Safety     any bytes may be given. Records nest at most 1000 deep where they are read; an array or a text never
///            claims more than the file's bytes can hold, or could inflate to (1032 to 1); a node that would become
///            its own ancestor is refused. Of a class's template the first 4096 properties count, of a curve node's
///            layers the first 16.
/// Memory     a file of n bytes takes at most 64 n + 1 MB for itself, its scene and the scene's evaluation, and what
///            its deflated arrays inflate to, which is 32 n + 128 MB at most; key-heavy files take less than n. More
///            than one object for 32 bytes, and 1000, are refused.
class FbxImporter : public FbxManaged
{
public:
    static FbxImporter* Create(FbxManager* pManager, const char* szName);
    void Destroy();
    ~FbxImporter() override;

    /// nFormat is -1: the format is found by looking at the file. pSettings may be null.
    bool Initialize(const char* szPath, int nFormat, FbxIOSettings* pSettings);
    /// The bytes must stay until Import has returned.
    bool InitializeFromMemory(const void* pData, size_t nSize, FbxIOSettings* pSettings = nullptr);

    /// True after an Initialize that found the head of an FBX file, even when its version is refused.
    bool IsFBX() const;
    /// Fills an empty scene. After a failure the scene is to be destroyed.
    bool Import(FbxScene* pScene);
    const char* GetErrorText() const;

    int GetFileVersion() const; ///< 7400 for 7.4; 0 before Initialize
    bool IsBinary() const;
    bool IsBigEndian() const;

private:
    explicit FbxImporter(FbxManager* pManager);
    struct SState;

    [[no_unique_address]] SFbxLiveCount m_live;
    FbxManager* m_pManager;
    std::unique_ptr<SState> m_pState;
};
