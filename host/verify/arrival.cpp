#include "host/verify/arrival.h"

#include "fbx/scene/fbxscene.h"
#include "host/text/words.h"
#include "resource/animation/fbximport/fbxanimationutils.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <unordered_map>

namespace Host
{

namespace
{

constexpr double REACH = 0.03;
constexpr FbxVector3 POINTS[] = {{0.0, 0.0, 0.0}, {REACH, 0.0, 0.0}, {0.0, REACH, 0.0}, {0.0, 0.0, REACH}};
/// Metres, and a part of the way: what is more is no rounding.
constexpr double NOTICED = 0.001;
constexpr double PART = 0.25;
constexpr double SCALED = 1e-3;

/// The furthest that a point of one is from its place on the other.
double Between(const SRigidBone& a, const SRigidBone& b)
{
    double fMost = 0.0;
    for (const FbxVector3& point : POINTS)
    {
        const FbxVector3 d = a.t + a.q.Rotate(point) - b.t - b.q.Rotate(point);
        const double fWay = std::sqrt(d.x * d.x + d.y * d.y + d.z * d.z);
        // What is no number is the worst there is.
        if (!(fWay <= fMost))
            fMost = fWay;
    }
    return fMost;
}

} // namespace

ZArrival::ZArrival(const ResourceAnimation::ZFbxTakeData& take, const ZAnimationRig& rig) : m_take(take)
{
    std::unordered_map<std::string, int> bones;
    for (uint32_t n = 0; n < rig.BoneCount(); ++n)
    {
        bones.try_emplace(ToLower(WithoutNamespace(rig.Name(n).View())), static_cast<int>(n));
        const SBoneId parent = rig.ParentId(n);
        m_parents.push_back(parent.IsValid() && parent < rig.BoneCount() ? static_cast<int>(uint32_t(parent)) : -1);
    }
    std::set<std::string> seen;
    const FbxNode* pGround = take.m_pGround->m_pFbxNode;
    for (const FbxNode* p = pGround->GetParent(); p != nullptr && p->GetParent() != nullptr; p = p->GetParent())
        m_mayScale.push_back(p);
    for (const SGroundNode& entry : NodesOf(*take.m_pGround))
    {
        m_mayScale.push_back(entry.pNode);
        const std::string sFull = entry.pNode->GetName();
        const std::string sName = WithoutNamespace(sFull);
        const std::string sLower = ToLower(sName);
        const bool bGround = entry.pNode == pGround;
        const auto isName = [&sFull](const ZString& name) { return name.View() == sFull; };
        const bool bChosen =
            take.m_partialList.IsEmpty() || std::any_of(take.m_partialList.begin(), take.m_partialList.end(), isName);
        if (!bChosen || IsHelperBone(sLower) || sName == FOLDED_BONE || (!bGround && !seen.insert(sLower).second))
            continue;
        const auto bone = bones.find(sLower);
        const FbxNode* pParent = entry.pNode->GetParent();
        const bool bFolded = !bGround && pParent != pGround && WithoutNamespace(pParent->GetName()) == FOLDED_BONE;
        m_nodes.push_back({entry.pNode,
                           sName,
                           bFolded ? pParent : nullptr,
                           bGround,
                           bGround               ? 0
                           : bone != bones.end() ? bone->second
                                                 : -1,
                           {},
                           {}});
    }
    m_isScaled.resize(m_mayScale.size());
}

SRigidBone ZArrival::SourceOf(const SNode& node, FbxTime time) const
{
    const SRigidBone own = OwnOf(node.pNode, time);
    return node.pFolded != nullptr ? Compose(OwnOf(node.pFolded, time), own) : own;
}

SRigidBone ZArrival::OwnOf(const FbxNode* pNode, FbxTime time) const
{
    const auto& roots = m_take.m_pGround->m_rootObjects;
    const SRigidBone local = LocalOf(*pNode, time);
    return std::find(roots.begin(), roots.end(), pNode) != roots.end()
               ? Relate(LocalOf(*m_take.m_pGround->m_pFbxNode, time), local)
               : local;
}

void ZArrival::Look(uint32_t nFrame, const std::vector<SRigidBone>& character)
{
    const FbxTime time =
        ResourceAnimation::TimeOfFrame(static_cast<int32_t>(int64_t{m_take.m_startFrame} + nFrame), m_take.m_frameRate);
    for (SNode& node : m_nodes)
    {
        SRigidBone source = SourceOf(node, time);
        SRigidBone got = node.nBone >= 0 ? character[static_cast<size_t>(node.nBone)] : SRigidBone{};
        const int nParent = node.nBone >= 0 ? m_parents[static_cast<size_t>(node.nBone)] : -1;
        if (nParent >= 0)
            got = Relate(character[static_cast<size_t>(nParent)], got);
        if (nFrame == 0)
            node.first = source, node.firstGot = got;
        node.fWay = std::max(node.fWay, Between(node.first, source));
        // Where a take begins is not the ground's to hold.
        if (node.bGround)
            source = Relate(node.first, source), got = Relate(node.firstGot, got);
        if (node.nBone >= 0)
            node.fOff = std::max(node.fOff, Between(source, got));
    }
    for (size_t n = 0; n < m_mayScale.size(); ++n)
    {
        if (m_isScaled[n])
            continue;
        const FbxVector3 s = m_mayScale[n]->EvaluateLocalTransform(time).s;
        m_isScaled[n] = std::fabs(s.x - 1.0) > SCALED || std::fabs(s.y - 1.0) > SCALED || std::fabs(s.z - 1.0) > SCALED;
    }
}

bool ZArrival::IsLost(const SNode& node) const
{
    return node.fWay > NOTICED && (node.nBone < 0 || node.fOff > std::max(NOTICED, PART * node.fWay));
}

std::vector<std::string> ZArrival::LostBones() const
{
    std::vector<std::string> names;
    for (const SNode& node : m_nodes)
        if (IsLost(node))
            names.push_back(node.sName);
    return names;
}

double ZArrival::LostMillimetres() const
{
    double fMost = 0.0;
    for (const SNode& node : m_nodes)
        if (IsLost(node))
            fMost = std::max(fMost, 1000.0 * (node.nBone < 0 ? node.fWay : node.fOff));
    return fMost;
}

std::vector<std::string> ZArrival::DroppedScale() const
{
    std::vector<std::string> names;
    for (size_t n = 0; n < m_mayScale.size(); ++n)
        if (m_isScaled[n])
            names.emplace_back(m_mayScale[n]->GetName());
    return names;
}

} // namespace Host
