#pragma once

#include "fbx/memory/fbxarena.h"
#include "fbx/scene/fbxanim.h"
#include "fbx/scene/fbxcamera.h"
#include "fbx/scene/fbxcurve.h"
#include "fbx/scene/fbxevaluator.h"
#include "fbx/scene/fbxglobalsettings.h"
#include "fbx/scene/fbxnode.h"

#include <deque>
#include <memory>
#include <string_view>
#include <vector>

/// One loaded scene: owns its nodes, attributes, stacks, layers and curves. Owned by its manager.
///
/// Threads  one thread uses a scene at a time, reading included, because evaluation keeps state. Different scenes,
///          of one manager or of several, share nothing.
class FbxScene : public FbxObject, public FbxManaged
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

    // Objects are made here, in their final order, and are connected by their own methods. All live as long as the
    // scene.
    /// The last of the nodes; outside of the tree until it is somebody's child.
    FbxNode* AddNode(const SFbxIdentity& identity);
    /// A camera when the type is "Camera".
    FbxNodeAttribute* AddAttribute(const SFbxIdentity& identity);
    /// Not listed yet.
    FbxAnimStack* AddAnimStack(const SFbxIdentity& identity);
    FbxAnimLayer* AddAnimLayer(const SFbxIdentity& identity);
    FbxAnimCurveNode* AddCurveNode(const FbxAnimCurveNode& like = {}) { return &m_curveNodes.emplace_back(like); }
    FbxAnimCurve* AddCurve();
    /// Times in the scene's memory.
    const SFbxTimeline* AddTimeline(const int64_t* pTimes, uint32_t nKeys);
    SFbxPropertyTemplate* AddTemplate() { return &m_templates.emplace_back(); }

    /// Nodes, attributes, stacks and layers in the order in which they were made.
    size_t GetObjectCount() const { return m_objects.size(); }
    FbxObject* GetObject(size_t nIndex) const { return m_objects[nIndex].get(); }
    uint32_t GetCurveCount() const { return m_nCurves; }
    uint32_t GetTimelineCount() const { return m_nTimelines; }
    /// For names, texts, curves and keys.
    FbxArena& GetMemory() { return m_memory; }

private:
    FbxScene(FbxManager* pManager, const char* szName);
    template <class T, class... TArguments>
    T* Make(TArguments&&... arguments);

    FbxManager* m_pManager;
    FbxArena m_memory;
    std::vector<std::unique_ptr<FbxObject>> m_objects;
    std::deque<FbxAnimCurveNode> m_curveNodes;
    std::deque<SFbxPropertyTemplate> m_templates;
    uint32_t m_nCurves = 0;
    uint32_t m_nTimelines = 0;
    std::vector<FbxNode*> m_nodes;
    std::vector<FbxAnimStack*> m_stacks;
    FbxAnimStack* m_pCurrentStack = nullptr;
    std::unique_ptr<FbxGlobalSettings> m_pSettings;
    std::unique_ptr<FbxAnimEvaluator> m_pEvaluator;
};
