#include "fbx/scene/fbxscene.h"

#include <algorithm>

FbxScene::FbxScene(FbxManager* pManager, const char* szName)
    : FbxObject(this, {szName ? szName : ""}),
      m_pManager(pManager),
      m_pSettings(std::make_unique<FbxGlobalSettings>(this, SFbxIdentity())),
      m_pEvaluator(pManager->GetEvaluatorFactory()(*this))
{
    AddNode({"RootNode"});
}

FbxScene::~FbxScene() = default;

FbxScene* FbxScene::Create(FbxManager* pManager, const char* szName)
{
    return pManager->Own(std::unique_ptr<FbxScene>(new FbxScene(pManager, szName)));
}

void FbxScene::Destroy()
{
    m_pManager->End(this);
}

template <class T, class... TArguments>
T* FbxScene::Make(TArguments&&... arguments)
{
    auto pMade = std::make_unique<T>(this, std::forward<TArguments>(arguments)...);
    T* p = pMade.get();
    p->m_nObject = static_cast<int>(m_objects.size());
    m_objects.push_back(std::move(pMade));
    m_pEvaluator->Invalidate();
    return p;
}

FbxNode* FbxScene::AddNode(const SFbxIdentity& identity)
{
    m_nodes.push_back(Make<FbxNode>(identity, static_cast<int>(m_nodes.size())));
    return m_nodes.back();
}

FbxNodeAttribute* FbxScene::AddAttribute(const SFbxIdentity& identity)
{
    if (identity.type == "Camera")
        return Make<FbxCamera>(identity);
    return Make<FbxNodeAttribute>(identity);
}

FbxAnimStack* FbxScene::AddAnimStack(const SFbxIdentity& identity)
{
    return Make<FbxAnimStack>(identity);
}

FbxAnimLayer* FbxScene::AddAnimLayer(const SFbxIdentity& identity)
{
    return Make<FbxAnimLayer>(identity);
}

FbxAnimCurve* FbxScene::AddCurve()
{
    FbxAnimCurve* pCurve = m_memory.New<FbxAnimCurve>();
    pCurve->nIndex = m_nCurves++;
    return pCurve;
}

const SFbxTimeline* FbxScene::AddTimeline(const int64_t* pTimes, uint32_t nKeys)
{
    SFbxTimeline* pTimeline = m_memory.New<SFbxTimeline>();
    *pTimeline = {pTimes, nKeys, m_nTimelines++};
    return pTimeline;
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

void FbxScene::ConnectAnimStack(FbxAnimStack* pStack)
{
    if (!pStack->m_bListed)
        m_stacks.push_back(pStack);
    pStack->m_bListed = true;
    if (!m_pCurrentStack)
        SetCurrentAnimStack(pStack);
}

void FbxScene::DisconnectAnimStack(FbxAnimStack* pStack)
{
    if (!pStack->m_bListed)
        return;
    pStack->m_bListed = false;
    // From the back: who disconnects all of them does so in linear time from there.
    m_stacks.erase(std::next(std::find(m_stacks.rbegin(), m_stacks.rend(), pStack)).base());
    if (m_pCurrentStack == pStack)
        SetCurrentAnimStack(m_stacks.empty() ? nullptr : m_stacks.front());
}

void FbxScene::SetCurrentAnimStack(FbxAnimStack* pStack)
{
    m_pCurrentStack = pStack;
    m_pEvaluator->Invalidate();
}
