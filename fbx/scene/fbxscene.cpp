#include "fbx/scene/fbxscene.h"

#include "fbx/scene/fbxaccess.h"
#include "fbx/scene/fbxmanagerowned.h"

#include <algorithm>

FbxScene::FbxScene(FbxManager* pManager, const char* szName)
    : FbxObject(this),
      m_pManager(pManager),
      m_pStorage(std::make_unique<SStorage>()),
      m_pSettings(std::make_unique<FbxGlobalSettings>(this)),
      m_pEvaluator(std::make_unique<FbxAnimEvaluator>(this))
{
    FbxAccess::SetName(*this, szName ? szName : "");
    auto pRoot = std::make_unique<FbxNode>(this);
    FbxAccess::SetName(*pRoot, "RootNode");
    m_nodes.push_back(pRoot.get());
    m_pStorage->objects.push_back(std::move(pRoot));
}

FbxScene::~FbxScene() = default;

FbxScene* FbxScene::Create(FbxManager* pManager, const char* szName)
{
    auto& scenes = pManager->m_pOwned->scenes;
    scenes.push_back(std::unique_ptr<FbxScene>(new FbxScene(pManager, szName)));
    return scenes.back().get();
}

void FbxScene::Destroy()
{
    std::erase_if(m_pManager->m_pOwned->scenes, [this](const auto& p) { return p.get() == this; });
}

FbxNode* FbxScene::FindNodeByName(std::string_view name) const
{
    // Depth first without recursion: the depth is the file's choice.
    std::vector<FbxNode*> pending{m_nodes.front()};
    while (!pending.empty())
    {
        FbxNode* pNode = pending.back();
        pending.pop_back();
        if (name == pNode->GetName())
            return pNode;
        for (size_t n = pNode->GetChildCount(); n > 0; --n)
            if (pNode->GetChild(n - 1)->GetParent() == pNode)
                pending.push_back(pNode->GetChild(n - 1));
    }
    return nullptr;
}

void FbxScene::SetCurrentAnimStack(FbxAnimStack* pStack)
{
    m_pCurrentStack = pStack;
    m_pEvaluator->Invalidate();
}

double FbxGlobalSettings::GetFrameRate() const
{
    return FbxTime::GetFrameRate(m_nTimeMode, m_fCustomFrameRate);
}
