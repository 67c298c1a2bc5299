#pragma once

#include "fbx/evaluate/fbxevaluator.h"
#include "fbx/scene/fbxanim.h"
#include "fbx/scene/fbxglobalsettings.h"
#include "fbx/scene/fbxnode.h"

#include <memory>
#include <string_view>
#include <vector>

class FbxManager;

/// One loaded scene: owns its nodes, attributes, stacks, layers and curves. Owned by its manager.
///
/// Threads  one thread uses a scene at a time, reading included, because evaluation keeps state. Different scenes,
///          of one manager or of several, share nothing.
class FbxScene : public FbxObject
{
public:
    static FbxScene* Create(FbxManager* pManager, const char* szName);
    /// Ends the scene before its manager does.
    void Destroy();
    ~FbxScene() override;

    FbxNode* GetRootNode() const { return m_nodes.front(); }
    /// All nodes: the root, then the others in the order of the file's objects, those taken out of the tree too.
    size_t GetNodeCount() const { return m_nodes.size(); }
    FbxNode* GetNode(size_t nIndex) const { return m_nodes[nIndex]; }
    /// The first node of exactly this name, depth first from the root; null when the tree has none.
    FbxNode* FindNodeByName(std::string_view name) const;

    FbxGlobalSettings& GetGlobalSettings() { return *m_pSettings; }
    const FbxGlobalSettings& GetGlobalSettings() const { return *m_pSettings; }
    FbxAnimEvaluator* GetAnimationEvaluator() const { return m_pEvaluator.get(); }

    size_t GetAnimStackCount() const { return m_stacks.size(); }
    FbxAnimStack* GetAnimStack(size_t nIndex) const { return m_stacks[nIndex]; }
    /// Lists a stack of this scene, as the last one; the first to be listed becomes the current one.
    void ConnectAnimStack(FbxAnimStack* pStack);
    /// Takes a stack out of the list; it stays owned. The current one gives its place to the first that remains.
    void DisconnectAnimStack(FbxAnimStack* pStack);
    /// The stack that the file names as active when it is there, else the first; null when there are none.
    FbxAnimStack* GetCurrentAnimStack() const { return m_pCurrentStack; }
    void SetCurrentAnimStack(FbxAnimStack* pStack);

    FbxManager* GetManager() const { return m_pManager; }

private:
    friend class FbxAnimEvaluator;
    friend struct FbxAccess;
    struct SStorage;

    FbxScene(FbxManager* pManager, const char* szName);

    FbxManager* m_pManager;
    std::unique_ptr<SStorage> m_pStorage;
    std::vector<FbxNode*> m_nodes;
    std::vector<FbxAnimStack*> m_stacks;
    FbxAnimStack* m_pCurrentStack = nullptr;
    std::unique_ptr<FbxGlobalSettings> m_pSettings;
    std::unique_ptr<FbxAnimEvaluator> m_pEvaluator;
};
