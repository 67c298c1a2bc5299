#include "host/adopt/skeletons.h"

#include "host/text/safenames.h"
#include "host/text/words.h"

#include <algorithm>
#include <functional>
#include <map>
#include <numeric>
#include <set>

namespace Host
{

namespace
{

using TNodes = std::vector<const FbxNode*>;

size_t IndexOf(const FbxNode* pNode)
{
    return static_cast<size_t>(pNode->GetIndex());
}

bool IsBoneKind(std::string_view kind)
{
    return kind == "LimbNode" || kind == "Limb" || kind == "Root";
}

/// Kinds of nodes that stand for nothing but a place.
bool IsPlaceKind(std::string_view kind)
{
    return kind.empty() || kind == "Null" || kind == "Marker" || kind == "FKEffector" || kind == "IKEffector";
}

/// Parents before children, children in order.
TNodes TreeOrder(const FbxNode* pRoot)
{
    TNodes order;
    TNodes pending{pRoot};
    while (!pending.empty())
    {
        const FbxNode* pNode = pending.back();
        pending.pop_back();
        order.push_back(pNode);
        for (size_t n = pNode->GetChildCount(); n-- > 0;)
            pending.push_back(pNode->GetChild(n));
    }
    return order;
}

/// Whether a bone's name says that it is the one that carries the body; the lower the surer.
int HipsRank(const std::string& sName)
{
    const std::string s = ToLower(sName);
    if (s.starts_with("bip") && s.size() > 3 && s.find_first_not_of("0123456789", 3) == std::string::npos)
        return 0;
    for (const std::string_view word : {"hips", "pelvis"})
        if (s == word || (s.ends_with(word) && !s.ends_with("ofhips")))
            return 1;
    return s == "hip" || s == "cog" ? 2 : 3;
}

class ZFinder
{
public:
    ZFinder(const ZSourceScene& source, const std::vector<SStackMotion>& stacks)
        : m_source(source),
          m_stacks(stacks),
          m_order(TreeOrder(source.Scene().GetRootNode())),
          m_isBone(source.Scene().GetNodeCount()),
          m_isKept(m_isBone.size())
    {
        for (const FbxNode* pNode : m_order)
            m_isBone[IndexOf(pNode)] =
                pNode->GetParent() != nullptr &&
                (IsBoneKind(pNode->GetTypeText()) || !source.SkinsOfNodes()[IndexOf(pNode)].empty());
    }

    std::vector<SSkeleton> Find()
    {
        bool bAny = std::find(m_isBone.begin(), m_isBone.end(), true) != m_isBone.end();
        if (!bAny)
            return FindPlain();
        KeepBones();
        ListTops();
        Unite();
        std::vector<SSkeleton> skeletons;
        std::map<size_t, TNodes> groups;
        for (size_t n = 0; n < m_tops.size(); ++n)
            groups[Leader(n)].push_back(m_tops[n]);
        for (const auto& [nLeader, tops] : groups)
            skeletons.push_back(Make(tops));
        return skeletons;
    }

private:
    /// Bones, what lies between them, and below them what is no scenery.
    void KeepBones()
    {
        std::vector<bool> isBelow(m_isBone.size());
        for (const FbxNode* pNode : m_order)
        {
            const FbxNode* pParent = pNode->GetParent();
            isBelow[IndexOf(pNode)] = pParent != nullptr && (isBelow[IndexOf(pParent)] || m_isBone[IndexOf(pParent)]);
        }
        for (size_t n = m_order.size(); n-- > 1;)
        {
            const FbxNode* pNode = m_order[n];
            const size_t nNode = IndexOf(pNode);
            if (m_isBone[nNode] ||
                (isBelow[nNode] && (IsPlaceKind(pNode->GetTypeText()) || AnyHasKeys(m_stacks, pNode->GetIndex()))))
                m_isKept[nNode] = true;
            const FbxNode* pParent = pNode->GetParent();
            if (m_isKept[nNode] && (isBelow[IndexOf(pParent)] || m_isBone[IndexOf(pParent)]))
                m_isKept[IndexOf(pParent)] = true;
        }
    }

    void ListTops()
    {
        for (const FbxNode* pNode : m_order)
            if (m_isBone[IndexOf(pNode)] && !m_isKept[IndexOf(pNode->GetParent())])
                m_tops.push_back(pNode);
        m_leaders.resize(m_tops.size());
        std::iota(m_leaders.begin(), m_leaders.end(), size_t{0});
    }

    TNodes KeptBelow(const FbxNode* pTop) const
    {
        TNodes nodes = TreeOrder(pTop);
        std::erase_if(nodes, [this](const FbxNode* pNode) { return !m_isKept[IndexOf(pNode)]; });
        return nodes;
    }

    size_t Leader(size_t n)
    {
        while (m_leaders[n] != n)
            n = m_leaders[n] = m_leaders[m_leaders[n]];
        return n;
    }

    void Join(size_t a, size_t b)
    {
        const size_t nA = Leader(a);
        const size_t nB = Leader(b);
        m_leaders[std::max(nA, nB)] = std::min(nA, nB);
    }

    void Unite()
    {
        std::map<int, size_t> topOfSkin;
        std::vector<bool> isSkinned(m_tops.size());
        std::vector<std::set<std::string>> names(m_tops.size());
        std::vector<size_t> sizes(m_tops.size());
        for (size_t n = 0; n < m_tops.size(); ++n)
            for (const FbxNode* pNode : KeptBelow(m_tops[n]))
            {
                names[n].insert(ToLower(BareName(pNode->GetName())));
                ++sizes[n];
                for (const int nSkin : m_source.SkinsOfNodes()[IndexOf(pNode)])
                {
                    isSkinned[n] = true;
                    Join(n, topOfSkin.try_emplace(nSkin, n).first->second);
                }
            }
        for (size_t n = 0; n < m_tops.size(); ++n)
            if (Leader(n) != n)
                names[Leader(n)].merge(names[n]);

        const auto joinApart = [&](size_t a, size_t b)
        {
            const size_t nA = Leader(a);
            const size_t nB = Leader(b);
            const auto isThere = [&names, nA](const std::string& s) { return names[nA].contains(s); };
            if (nA == nB || std::any_of(names[nB].begin(), names[nB].end(), isThere))
                return;
            Join(nA, nB);
            names[std::min(nA, nB)].merge(names[std::max(nA, nB)]);
        };
        std::map<const FbxNode*, size_t> topOfParent;
        for (size_t n = 0; n < m_tops.size(); ++n)
            if (const FbxNode* pParent = m_tops[n]->GetParent(); pParent->GetParent() != nullptr)
                joinApart(topOfParent.try_emplace(pParent, n).first->second, n);

        // Lone bones: targets and markers belong to the character that there is, or make one together.
        std::set<size_t> skinned;
        for (size_t n = 0; n < m_tops.size(); ++n)
            if (isSkinned[n])
                skinned.insert(Leader(n));
        std::vector<size_t> members(m_tops.size());
        for (size_t n = 0; n < m_tops.size(); ++n)
            members[Leader(n)] += sizes[n];
        std::set<size_t> large;
        for (size_t n = 0; n < m_tops.size(); ++n)
            if (members[n] > 1)
                large.insert(n);
        size_t nHome = skinned.size() == 1 ? *skinned.begin() : large.size() == 1 ? *large.begin() : m_tops.size();
        for (size_t n = 0; n < m_tops.size(); ++n)
        {
            if (isSkinned[n] || members[Leader(n)] != 1)
                continue;
            if (nHome == m_tops.size())
                nHome = n;
            joinApart(nHome, n);
        }
    }

    std::vector<SSkeleton> FindPlain()
    {
        std::vector<bool> isCarried(m_isBone.size());
        for (const FbxNode* pNode : m_order)
        {
            const FbxNode* pParent = pNode->GetParent();
            if (pParent == nullptr)
                continue;
            isCarried[IndexOf(pNode)] = isCarried[IndexOf(pParent)] || (AnyHasKeys(m_stacks, pNode->GetIndex()) &&
                                                                        AnyMoves(m_stacks, pNode->GetIndex()));
            m_isKept[IndexOf(pNode)] = isCarried[IndexOf(pNode)];
        }
        for (size_t n = m_order.size(); n-- > 1;)
            if (m_isKept[IndexOf(m_order[n])] && m_order[n]->GetParent()->GetParent() != nullptr)
                m_isKept[IndexOf(m_order[n]->GetParent())] = true;
        TNodes tops;
        for (const FbxNode* pNode : m_order)
            if (m_isKept[IndexOf(pNode)] && pNode->GetParent()->GetParent() == nullptr)
                tops.push_back(pNode);
        if (tops.empty())
            return {};
        SSkeleton skeleton;
        skeleton.bPlain = true;
        AddBones(tops, skeleton);
        return {skeleton};
    }

    /// The namespace; else the name of the armature, where it is of this skeleton alone; else that of the first bone.
    static std::string LabelOf(const TNodes& tops)
    {
        const std::string sFull = tops.front()->GetName();
        if (sFull.find(':') != std::string::npos)
            return sFull.substr(0, sFull.rfind(':'));
        const FbxNode* pHolder = tops.front()->GetParent();
        bool bAlone = pHolder != nullptr && pHolder->GetParent() != nullptr;
        for (size_t n = 0; bAlone && n < pHolder->GetChildCount(); ++n)
            bAlone = !IsBoneKind(pHolder->GetChild(n)->GetTypeText()) ||
                     std::find(tops.begin(), tops.end(), pHolder->GetChild(n)) != tops.end();
        return bAlone ? pHolder->GetName() : sFull;
    }

    void AddBones(const TNodes& tops, SSkeleton& skeleton)
    {
        ZNameSet names;
        std::map<const FbxNode*, int> places;
        std::vector<std::string> renamed;
        for (const FbxNode* pTop : tops)
            for (const FbxNode* pNode : KeptBelow(pTop))
            {
                const std::string sBare = BareName(pNode->GetName());
                SSkeletonBone bone;
                bone.sName = names.Take(sBare);
                if (bone.sName != sBare)
                    renamed.push_back(
                        std::string("'").append(pNode->GetName()).append("' is '").append(bone.sName).append("'"));
                const auto parent = places.find(pNode->GetParent());
                bone.nParent = parent != places.end() ? parent->second : -1;
                bone.nNode = pNode->GetIndex();
                bone.rest = m_source.WorldOf(bone.nNode, FbxTime::Infinite());
                places.emplace(pNode, static_cast<int>(skeleton.bones.size()));
                skeleton.bSkinned |= !m_source.SkinsOfNodes()[IndexOf(pNode)].empty();
                skeleton.bones.push_back(std::move(bone));
            }
        skeleton.sLabel = LabelOf(tops);
        if (!renamed.empty())
        {
            std::string sText = "names that were there before in the skeleton, but for their namespace or case: ";
            for (size_t n = 0; n < std::min<size_t>(renamed.size(), 5); ++n)
                sText += (n != 0 ? ", " : "") + renamed[n];
            if (renamed.size() > 5)
                sText += " and " + std::to_string(renamed.size() - 5) + " more";
            skeleton.messages.push_back({ESeverity::eWarning, sText});
        }
    }

    bool Moves(const SSkeletonBone& bone) const { return AnyMoves(m_stacks, bone.nNode); }

    /// By name; else the first that moves on the way down the larger side of the tree.
    int HipsOf(const SSkeleton& skeleton) const
    {
        const std::vector<SSkeletonBone>& bones = skeleton.bones;
        std::vector<int> depths(bones.size());
        std::vector<size_t> sizes(bones.size(), 1);
        int nBest = -1;
        std::pair<int, int> best{3, 0};
        for (size_t n = 0; n < bones.size(); ++n)
        {
            depths[n] = bones[n].nParent >= 0 ? depths[static_cast<size_t>(bones[n].nParent)] + 1 : 0;
            const std::pair<int, int> rank{HipsRank(bones[n].sName), depths[n]};
            if (rank < best)
                best = rank, nBest = static_cast<int>(n);
        }
        if (nBest >= 0)
            return nBest;
        for (size_t n = bones.size(); n-- > 0;)
            if (bones[n].nParent >= 0)
                sizes[static_cast<size_t>(bones[n].nParent)] += sizes[n];
        const auto largestBelow = [&](int nParent)
        {
            int nLargest = -1;
            for (size_t n = 0; n < bones.size(); ++n)
                if (bones[n].nParent == nParent && (nLargest < 0 || sizes[n] > sizes[static_cast<size_t>(nLargest)]))
                    nLargest = static_cast<int>(n);
            return nLargest;
        };
        const int nTop = largestBelow(-1);
        for (int n = nTop; n >= 0; n = largestBelow(n))
            if (Moves(bones[static_cast<size_t>(n)]))
                return n;
        return nTop;
    }

    SSkeleton Make(const TNodes& tops)
    {
        SSkeleton skeleton;
        AddBones(tops, skeleton);
        skeleton.nHips = HipsOf(skeleton);
        const FbxNode* pAbove = tops.front()->GetParent();
        const bool bSame = std::all_of(tops.begin(), tops.end(),
                                       [pAbove](const FbxNode* pTop) { return pTop->GetParent() == pAbove; });
        // Not the hips themselves, and above them.
        int nUp = skeleton.nHips;
        while (nUp > 0)
            nUp = skeleton.bones[static_cast<size_t>(nUp)].nParent;
        skeleton.bRootBone = tops.size() == 1 && skeleton.nHips != 0 && nUp == 0;
        skeleton.bRootBoneMoves = skeleton.bRootBone && Moves(skeleton.bones.front());
        if (bSame && pAbove->GetParent() != nullptr)
        {
            skeleton.nRootNode = pAbove->GetIndex();
            skeleton.rootNodeRest = m_source.WorldOf(skeleton.nRootNode, FbxTime::Infinite());
            skeleton.bRootNodeMoves = AnyMoves(m_stacks, skeleton.nRootNode);
        }
        return skeleton;
    }

    const ZSourceScene& m_source;
    const std::vector<SStackMotion>& m_stacks;
    TNodes m_order;
    std::vector<bool> m_isBone;
    std::vector<bool> m_isKept;
    TNodes m_tops;
    std::vector<size_t> m_leaders;
};

} // namespace

std::vector<SSkeleton> FindSkeletons(const ZSourceScene& source, const std::vector<SStackMotion>& stacks)
{
    return ZFinder(source, stacks).Find();
}

std::vector<std::string> LeftBehind(const ZSourceScene& source, const std::vector<SStackMotion>& stacks,
                                    const std::vector<SSkeleton>& skeletons)
{
    std::set<int> known;
    for (const SSkeleton& skeleton : skeletons)
    {
        // With what is above: it moves the skeleton.
        for (const SSkeletonBone& bone : skeleton.bones)
            for (const FbxNode* p = source.Scene().GetNode(static_cast<size_t>(bone.nNode));
                 p != nullptr && known.insert(p->GetIndex()).second; p = p->GetParent())
                continue;
    }
    std::vector<std::string> names;
    for (size_t n = 1; n < source.Scene().GetNodeCount(); ++n)
    {
        const int nNode = static_cast<int>(n);
        if (!known.contains(nNode) && AnyHasKeys(stacks, nNode) && AnyMoves(stacks, nNode))
            names.emplace_back(source.Scene().GetNode(n)->GetName());
    }
    return names;
}

} // namespace Host
