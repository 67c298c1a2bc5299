#include "host/adopt/sourcescene.h"

#include "fbx/file/fbxdocument.h"
#include "fbx/file/fbxobjectname.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

namespace Host
{

namespace
{

/// Objects of a file by number, or of an old one by name and class.
class ZObjectIds
{
public:
    explicit ZObjectIds(bool bNamed) : m_bNamed(bNamed) {}

    int64_t OfObject(const SFbxRecord& object) { return m_bNamed ? OfName(object.Text(0)) : object.Int(0); }
    int64_t OfEnd(const SFbxRecord& connection, uint32_t nEnd)
    {
        return m_bNamed ? OfName(connection.Text(nEnd)) : connection.Int(nEnd);
    }
    int64_t OfNode(const FbxNode& node)
    {
        return m_bNamed ? Intern("Model::" + std::string(node.GetName())) : node.GetId();
    }

private:
    int64_t OfName(std::string_view text)
    {
        const SFbxObjectName name = FbxSplitName(text);
        return Intern(std::string(name.className) + "::" + std::string(name.name));
    }
    int64_t Intern(const std::string& sWhole)
    {
        return m_ids.try_emplace(sWhole, static_cast<int64_t>(m_ids.size())).first->second;
    }

    bool m_bNamed;
    std::unordered_map<std::string, int64_t> m_ids;
};

} // namespace

ZSourceScene::ZSourceScene()
    : m_pManager(FbxManager::Create(&FbxMakeEvaluator)), m_pScene(FbxScene::Create(m_pManager.get(), ""))
{
}

bool ZSourceScene::Load(const std::string& sPath)
{
    FbxImporter* pImporter = FbxImporter::Create(m_pManager.get(), "");
    if (!pImporter->Initialize(sPath.c_str(), -1, nullptr) || !pImporter->Import(m_pScene))
    {
        m_sError = pImporter->GetErrorText();
        return false;
    }
    m_axes = m_pScene->GetGlobalSettings().GetAxisSystem();
    FbxAxisSystem::ZUpMinusYFront().ConvertScene(m_pScene);
    m_skins.resize(m_pScene->GetNodeCount());
    ReadRecords(sPath);
    return true;
}

/// What cannot be read as records (version 5, and what only a scene can make sense of) has no skins to tell of.
void ZSourceScene::ReadRecords(const std::string& sPath)
{
    FbxDocument document;
    if (!document.Load(sPath.c_str()))
        return;
    const bool bNamed = document.GetVersion() < 7000;
    ZObjectIds ids(bNamed);
    std::unordered_map<int64_t, int> nodes;
    for (size_t n = 1; n < m_pScene->GetNodeCount(); ++n)
        nodes.try_emplace(ids.OfNode(*m_pScene->GetNode(n)), static_cast<int>(n));

    std::unordered_set<int64_t> clusters;
    std::unordered_map<int64_t, int> skins;
    std::unordered_map<int64_t, size_t> constraints;
    const SFbxRecord* pObjects = document.Root().Find("Objects");
    for (const SFbxRecord* p = pObjects ? pObjects->pChild : nullptr; p; p = p->pNext)
    {
        const std::string_view kind = p->Text(bNamed ? 1 : 2);
        if (p->Is("Deformer") && kind == "Cluster")
            clusters.insert(ids.OfObject(*p));
        else if (p->Is("Deformer") && kind == "Skin")
            skins.try_emplace(ids.OfObject(*p), static_cast<int>(skins.size()));
        else if (p->Is("Constraint"))
        {
            constraints.try_emplace(ids.OfObject(*p), m_constraints.size());
            m_constraints.push_back({std::string(FbxSplitName(p->Text(bNamed ? 0 : 1)).name), std::string(kind), {}});
        }
    }

    std::unordered_map<int64_t, std::vector<int>> nodesOfCluster;
    std::vector<std::pair<int64_t, int>> skinOfCluster;
    const SFbxRecord* pConnections = document.Root().Find("Connections");
    for (const SFbxRecord* p = pConnections ? pConnections->pChild : nullptr; p; p = p->pNext)
    {
        const int64_t nFrom = ids.OfEnd(*p, 1);
        const int64_t nTo = ids.OfEnd(*p, 2);
        const auto node = nodes.find(nFrom);
        if (const auto skin = skins.find(nTo); skin != skins.end() && clusters.contains(nFrom))
            skinOfCluster.emplace_back(nFrom, skin->second);
        if (node == nodes.end())
            continue;
        if (clusters.contains(nTo))
            nodesOfCluster[nTo].push_back(node->second);
        const std::string_view role = p->Text(3);
        if (const auto constraint = constraints.find(nTo);
            constraint != constraints.end() && (role.starts_with("Constrained") || role.starts_with("First")))
            m_constraints[constraint->second].nodes.push_back(node->second);
    }
    for (const auto& [nCluster, nSkin] : skinOfCluster)
        if (const auto found = nodesOfCluster.find(nCluster); found != nodesOfCluster.end())
            for (const int nNode : found->second)
                m_skins[static_cast<size_t>(nNode)].push_back(nSkin);
    for (std::vector<int>& list : m_skins)
        std::sort(list.begin(), list.end());
}

double ZSourceScene::Unit() const
{
    const double fUnit = m_pScene->GetGlobalSettings().GetUnitScaleFactor();
    return fUnit > 0.0 && fUnit < 1e9 ? fUnit : 1.0;
}

SRigid ZSourceScene::WorldOf(int nNode, FbxTime time) const
{
    const FbxTransform world = m_pScene->GetNode(static_cast<size_t>(nNode))->EvaluateGlobalTransform(time);
    return {world.t * Unit(), world.q.Normalized()};
}

} // namespace Host
