#include "fbx/scene/fbxmanager.h"

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

FbxManaged::~FbxManaged() = default;

FbxManager* FbxManager::Create(FbxEvaluatorFactory pEvaluators)
{
    return new FbxManager(pEvaluators);
}

void FbxManager::Destroy()
{
    delete this;
}

void FbxManager::End(const FbxManaged* pManaged)
{
    std::erase_if(m_owned, [pManaged](const auto& p) { return p.get() == pManaged; });
}

size_t FbxManager::LiveObjectCount()
{
    return g_nLive.load(std::memory_order_relaxed);
}
