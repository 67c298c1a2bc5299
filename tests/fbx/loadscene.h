#pragma once

#include "fbx/evaluate/fbxevaluation.h"
#include "fbx/load/fbximporter.h"
#include "fbx/load/fbxiosettings.h"
#include "fbx/scene/fbxscene.h"
#include "tests/fbx/fbxfile.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

/// A file of the fuzzers' corpus. "rich" is one scene that holds something of everything, in every kind of file; "old"
/// is an arm and a camera as version 6 wrote them.
inline std::string CorpusFile(const std::string& sName)
{
    std::ifstream in(Z_SOURCE_DIR "/fuzz/fbx/corpus/" + sName, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

/// A binary file in little-endian order that says to be of another version.
inline std::string WithVersion(std::string sFile, uint32_t nVersion)
{
    return sFile.replace(23, 4, reinterpret_cast<const char*>(&nVersion), 4);
}

/// A scene from bytes in memory, that ends with its manager.
class LoadedScene
{
public:
    explicit LoadedScene(const std::string& sFile)
        : m_bytes(sFile.begin(), sFile.end()),
          m_pManager(FbxManager::Create(&FbxMakeEvaluator)),
          m_pScene(FbxScene::Create(m_pManager, ""))
    {
        // A block of exactly the file's length, so that the address sanitizer sees a read one past the end.
        m_bytes.shrink_to_fit();
        FbxImporter* pImporter = FbxImporter::Create(m_pManager, "");
        m_bInitialized = pImporter->InitializeFromMemory(m_bytes.data(), m_bytes.size());
        m_bLoaded = m_bInitialized && pImporter->Import(m_pScene);
        m_bIsFbx = pImporter->IsFBX();
        m_nVersion = pImporter->GetFileVersion();
        m_sError = pImporter->GetErrorText();
    }
    ~LoadedScene() { m_pManager->Destroy(); }
    LoadedScene(const LoadedScene&) = delete;
    LoadedScene& operator=(const LoadedScene&) = delete;

    FbxScene* operator->() { return m_pScene; }
    FbxScene* Get() { return m_pScene; }
    FbxNode& Node(const char* szName)
    {
        FbxNode* pNode = m_pScene->FindNodeByName(szName);
        if (!pNode)
            ADD_FAILURE() << "no node " << szName;
        return pNode ? *pNode : *m_pScene->GetRootNode();
    }

    bool IsLoaded() const { return m_bLoaded; }
    bool IsInitialized() const { return m_bInitialized; }
    bool IsFbx() const { return m_bIsFbx; }
    int Version() const { return m_nVersion; }
    const std::string& Error() const { return m_sError; }

private:
    std::vector<char> m_bytes;
    FbxManager* m_pManager;
    FbxScene* m_pScene;
    bool m_bInitialized = false;
    bool m_bLoaded = false;
    bool m_bIsFbx = false;
    int m_nVersion = 0;
    std::string m_sError;
};

/// Every entry within a distance.
inline ::testing::AssertionResult Near(const FbxMatrix4& a, const FbxMatrix4& b, double fWithin)
{
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            if (!(std::abs(a.m[i][j] - b.m[i][j]) <= fWithin))
                return ::testing::AssertionFailure()
                       << "row " << i << " column " << j << ": " << a.m[i][j] << " and " << b.m[i][j];
    return ::testing::AssertionSuccess();
}

inline ::testing::AssertionResult Near(const FbxVector3& a, const FbxVector3& b, double fWithin)
{
    if (std::abs(a.x - b.x) <= fWithin && std::abs(a.y - b.y) <= fWithin && std::abs(a.z - b.z) <= fWithin)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "(" << a.x << ", " << a.y << ", " << a.z << ") and (" << b.x << ", " << b.y
                                         << ", " << b.z << ")";
}

/// Up to the sign.
inline ::testing::AssertionResult Near(const FbxQuaternion& a, const FbxQuaternion& b, double fWithin)
{
    const double f = std::abs(a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w);
    if (std::abs(f - 1.0) <= fWithin)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "(" << a.x << ", " << a.y << ", " << a.z << ", " << a.w << ") and (" << b.x
                                         << ", " << b.y << ", " << b.z << ", " << b.w << ")";
}
