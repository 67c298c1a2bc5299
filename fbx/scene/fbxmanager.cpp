#include "fbx/scene/fbxmanager.h"

#include "fbx/scene/fbxaccess.h"
#include "fbx/scene/fbxmanagerowned.h"

#include <atomic>

namespace
{

/// Only counted, never decided by: threads meet here without effect on each other.
std::atomic<size_t> g_nLive{0};

} // namespace

SFbxLiveCount::SFbxLiveCount()
{
    g_nLive.fetch_add(1, std::memory_order_relaxed);
}

SFbxLiveCount::~SFbxLiveCount()
{
    g_nLive.fetch_sub(1, std::memory_order_relaxed);
}

FbxManager::FbxManager() : m_pOwned(std::make_unique<SOwned>()) {}

FbxManager::~FbxManager() = default;

FbxManager* FbxManager::Create()
{
    return new FbxManager();
}

void FbxManager::Destroy()
{
    delete this;
}

size_t FbxManager::LiveObjectCount()
{
    return g_nLive.load(std::memory_order_relaxed);
}

FbxIOSettings::FbxIOSettings(const char* szName) : m_sName(szName ? szName : "") {}

FbxIOSettings::~FbxIOSettings() = default;

FbxIOSettings* FbxIOSettings::Create(FbxManager* pManager, const char* szName)
{
    auto& settings = pManager->m_pOwned->settings;
    settings.push_back(std::unique_ptr<FbxIOSettings>(new FbxIOSettings(szName)));
    return settings.back().get();
}

void FbxIOSettings::SetBoolProp(const char* szName, bool bValue)
{
    for (SSwitch& entry : m_switches)
    {
        if (entry.sName == szName)
        {
            entry.bValue = bValue;
            return;
        }
    }
    m_switches.push_back({szName, bValue});
}

bool FbxIOSettings::GetBoolProp(const char* szName, bool bDefault) const
{
    for (const SSwitch& entry : m_switches)
        if (entry.sName == szName)
            return entry.bValue;
    return bDefault;
}
