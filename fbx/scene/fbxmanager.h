#pragma once

#include <cstddef>
#include <memory>
#include <string>

class FbxIOSettings;
class FbxScene;
class FbxImporter;

/// Adds to the process-wide count of live objects, for the time of its life.
struct SFbxLiveCount
{
    SFbxLiveCount();
    ~SFbxLiveCount();
    SFbxLiveCount(const SFbxLiveCount&) = delete;
    SFbxLiveCount& operator=(const SFbxLiveCount&) = delete;
};

/// Owns everything that is made under it. Holds no global state: managers on different threads do not meet.
class FbxManager
{
public:
    static FbxManager* Create();
    /// Ends the manager with all scenes, importers and settings made under it.
    void Destroy();

    void SetIOSettings(FbxIOSettings* pSettings) { m_pSettings = pSettings; }
    FbxIOSettings* GetIOSettings() const { return m_pSettings; }

    /// Managers, scenes, importers, settings and scene objects of the whole process that were not ended yet.
    static size_t LiveObjectCount();

    FbxManager(const FbxManager&) = delete;
    FbxManager& operator=(const FbxManager&) = delete;

private:
    friend class FbxIOSettings;
    friend class FbxImporter;
    friend class FbxScene;
    struct SOwned;

    FbxManager();
    ~FbxManager();

    [[no_unique_address]] SFbxLiveCount m_live;
    FbxIOSettings* m_pSettings = nullptr;
    std::unique_ptr<SOwned> m_pOwned;
};
