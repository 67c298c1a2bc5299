#include "host/verify/groundnodes.h"

#include "fbx/scene/fbxscene.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace Host
{

namespace
{

constexpr double METRES_PER_UNIT = 0.01;

constexpr std::string_view HELPERS[] = {
    "bip01_lthightwist",  "bip01_lthightwist1", "bip01_lcalftwist",   "bip01_lcalftwist1", "bip01_rthightwist",
    "bip01_rthightwist1", "bip01_rcalftwist",   "bip01_rcalftwist1",  "bip01_luparmtwist", "bip01_luparmtwist1",
    "bip01_l_foretwist",  "bip01_l_foretwist1", "bip01_l_foretwist2", "bip01_ruparmtwist", "bip01_ruparmtwist1",
    "bip01_r_foretwist",  "bip01_r_foretwist1", "bip01_r_foretwist2", "bone_l_elbow",      "bone_r_elbow",
    "bone_l_knee",        "bone_r_knee",        "bone_l_buttock",     "bone_r_buttock"};

} // namespace

bool IsHelperBone(const std::string& sLower)
{
    return std::find(std::begin(HELPERS), std::end(HELPERS), sLower) != std::end(HELPERS);
}

std::string WithoutNamespace(std::string_view name)
{
    return std::string(name.substr(name.rfind(':') + 1));
}

std::vector<SGroundNode> NodesOf(const ResourceAnimation::ZFbxGround& ground)
{
    std::vector<SGroundNode> nodes;
    std::vector<bool> seen(ground.m_pFbxNode->GetScene()->GetNodeCount(), false);
    const auto walk = [&](const FbxNode* pRoot, bool bRootObject)
    {
        std::vector<const FbxNode*> pending{pRoot};
        while (!pending.empty())
        {
            const FbxNode* pNode = pending.back();
            pending.pop_back();
            const auto nIndex = static_cast<size_t>(pNode->GetIndex());
            if (seen[nIndex] || pNode->FindProperty("IsTakeNode").IsValid())
                continue;
            seen[nIndex] = true;
            nodes.push_back({pNode, bRootObject && pNode == pRoot});
            for (size_t n = pNode->GetChildCount(); n-- > 0;)
                pending.push_back(pNode->GetChild(n));
        }
    };
    walk(ground.m_pFbxNode, false);
    for (const FbxNode* pRoot : ground.m_rootObjects)
        walk(pRoot, true);
    return nodes;
}

SRigidBone LocalOf(const FbxNode& node, FbxTime time)
{
    const FbxTransform local = node.EvaluateLocalTransform(time);
    const double fSum = local.t.x + local.t.y + local.t.z + local.q.x + local.q.y + local.q.z + local.q.w;
    if (!std::isfinite(fSum))
        throw std::runtime_error(std::string("the transform of '") + node.GetName() + "' is no number");
    return {local.t * METRES_PER_UNIT, local.q.Normalized()};
}

} // namespace Host
