#pragma once

#include "fbx/scene/fbxevaluator.h"

#include <cstddef>
#include <memory>
#include <vector>

class FbxIOSettings;

/// Adds to the process-wide count of live objects, for the time of its life.
struct SFbxLiveCount
{
    SFbxLiveCount();
    ~SFbxLiveCount();
    SFbxLiveCount(const SFbxLiveCount&) = delete;
    SFbxLiveCount& operator=(const SFbxLiveCount&) = delete;
};

/// What is made under a manager and ends with it.
class FbxManaged
{
public:
    FbxManaged() = default;
    virtual ~FbxManaged();
    FbxManaged(const FbxManaged&) = delete;
    FbxManaged& operator=(const FbxManaged&) = delete;
};

/// Owns everything that is made under it. Holds no global state: managers on different threads do not meet.
class FbxManager
{
public:
    /// Its scenes evaluate by what the factory makes.
    static FbxManager* Create(FbxEvaluatorFactory pEvaluators);
    /// Ends the manager with all scenes, importers and settings made under it.
    void Destroy();

    void SetIOSettings(FbxIOSettings* pSettings) { m_pSettings = pSettings; }
    FbxIOSettings* GetIOSettings() const { return m_pSettings; }
    FbxEvaluatorFactory GetEvaluatorFactory() const { return m_pEvaluators; }

    /// Takes over what was made.
    template <class T>
    T* Own(std::unique_ptr<T> pMade)
    {
        T* p = pMade.get();
        m_owned.push_back(std::move(pMade));
        return p;
    }
    /// Ends one thing before its manager.
    void End(const FbxManaged* pManaged);

    /// Managers, scenes, importers, settings and scene objects of the whole process that were not ended yet.
    static size_t LiveObjectCount();

    FbxManager(const FbxManager&) = delete;
    FbxManager& operator=(const FbxManager&) = delete;

private:
    explicit FbxManager(FbxEvaluatorFactory pEvaluators) : m_pEvaluators(pEvaluators) {}
    ~FbxManager() = default;

    [[no_unique_address]] SFbxLiveCount m_live;
    FbxEvaluatorFactory m_pEvaluators;
    FbxIOSettings* m_pSettings = nullptr;
    std::vector<std::unique_ptr<FbxManaged>> m_owned;
};

/// Ends the manager when its holder ends.
struct SFbxManagerEnd
{
    void operator()(FbxManager* pManager) const { pManager->Destroy(); }
};
using FbxManagerPtr = std::unique_ptr<FbxManager, SFbxManagerEnd>;
