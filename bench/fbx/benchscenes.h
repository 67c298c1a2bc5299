#pragma once

#include "fbx/scene/fbxscene.h"

#include <cstdint>
#include <string>

/// A walking character as an exporter bakes it: nNodes in a tree, a key on every frame of nine curves a node, of which
/// scale and, below the root, translation never move. Deflated binary 7.4.
std::string MakeBakedScene(size_t nNodes, size_t nFrames, bool bText = false);
/// The same motion as a sparse set of cubic keys, one in eight frames.
std::string MakeCubicScene(size_t nNodes, size_t nFrames);
/// The baked character with a second layer of nine curves a node above it, at half its weight: as files number the
/// modes, 0 adds, 1 replaces, 2 blends.
std::string MakeLayeredScene(size_t nNodes, size_t nFrames, int nBlendMode);
/// A few nodes and many bytes of geometry.
std::string MakeMeshScene(size_t nMeshBytes, bool bText = false);
/// Many nodes without animation, with the properties that exporters write for each.
std::string MakeNodeScene(size_t nNodes, bool bText = false);
/// A baked character in a file of version 6.1: names for numbers, keys as lists of single values.
std::string MakeOldScene(size_t nNodes, size_t nFrames, bool bText);

/// The bytes of a file below /work/shared, empty when it is not there.
std::string ReadShared(const std::string& sPath);

/// Processor time of this thread: what the work takes, whoever else is on the machine.
double ThreadSeconds();

/// Ends with its manager.
class LoadedScene
{
public:
    explicit LoadedScene(const std::string& sFile);
    ~LoadedScene() { m_pManager->Destroy(); }
    FbxScene& operator*() { return *m_pScene; }
    FbxScene* operator->() { return m_pScene; }
    bool IsLoaded() const { return m_bLoaded; }

private:
    FbxManager* m_pManager;
    FbxScene* m_pScene;
    bool m_bLoaded;
};
