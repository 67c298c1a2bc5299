#pragma once

#include "fbx/file/fbxrecord.h"
#include "fbx/scene/fbxscene.h"

#include <string_view>
#include <vector>

/// The channels of curve nodes by the names that files of version 7 give them. "d|X", "d|Y", "d|Z" and "d|W" have their
/// places, whichever of them a node lists; other names take the places that are left, in their order.
class FbxCurveNodeChannels
{
public:
    explicit FbxCurveNodeChannels(FbxScene& scene) : m_scene(scene) {}

    /// Returns the node's number here.
    uint32_t Read(const SFbxRecord& record);
    FbxAnimCurveNode* Node(uint32_t nNode) { return m_nodes[nNode].pNode; }
    /// A curve for the channel of that name, which the node need not have listed.
    void Connect(uint32_t nNode, std::string_view channel, const FbxAnimCurve* pCurve);

private:
    struct SNode
    {
        FbxAnimCurveNode* pNode = nullptr;
        std::string_view names[FbxAnimCurveNode::kMaxChannels];
    };
    /// The place of a name: the one that has it, its own, or the first that is left; the number of places when none is.
    static size_t PlaceOf(const SNode& node, std::string_view channel);

    FbxScene& m_scene;
    std::vector<SNode> m_nodes;
};
