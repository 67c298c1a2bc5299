#include "host/adopt/character.h"

#include "host/text/safenames.h"
#include "host/text/words.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>
#include <tuple>

namespace Host
{

namespace
{

/// The packers take this bone's motion into its children and leave it where its parent is. It gets a parent that moves
/// in its place, and stands still below that.
constexpr std::string_view FOLDED = "Bip01";
constexpr const char CARRIER[] = "Bip01_motion";

using TIndex = std::map<std::string, size_t>; ///< by lower-cased name

TIndex IndexOf(const SSkeleton& skeleton)
{
    TIndex index;
    for (size_t n = 0; n < skeleton.bones.size(); ++n)
        index.emplace(ToLower(skeleton.bones[n].sName), n);
    return index;
}

double LengthOf(const SSkeleton& skeleton, size_t nBone)
{
    const SSkeletonBone& bone = skeleton.bones[nBone];
    if (bone.nParent < 0)
        return 0.0;
    const FbxVector3 d = bone.rest.t - skeleton.bones[static_cast<size_t>(bone.nParent)].rest.t;
    return std::sqrt(d.x * d.x + d.y * d.y + d.z * d.z);
}

bool IsOne(const SFoundSkeleton& a, const SFoundSkeleton& b)
{
    if (a.skeleton.bPlain || b.skeleton.bPlain)
        return false;
    const TIndex others = IndexOf(b.skeleton);
    size_t nCommon = 0;
    size_t nOtherLength = 0;
    for (const auto& [sName, nBone] : IndexOf(a.skeleton))
    {
        const auto found = others.find(sName);
        if (found == others.end())
            continue;
        ++nCommon;
        const double fOne = LengthOf(a.skeleton, nBone);
        const double fOther = LengthOf(b.skeleton, found->second);
        nOtherLength += std::fabs(fOne - fOther) > 0.01 * std::max(fOne, fOther) + 0.01;
    }
    if (a.nFile == b.nFile)
        return false;
    return nCommon * 5 >= std::min(a.skeleton.bones.size(), b.skeleton.bones.size()) * 4 && nOtherLength * 5 < nCommon;
}

class ZJoiner
{
public:
    ZJoiner(const std::vector<SFoundSkeleton>& found, SCharacter& character) : m_found(found), m_character(character) {}

    void Join(ERoot eRoot)
    {
        // What stands in the tree already tells of bones alone.
        const size_t nFirst = *std::find_if(m_character.parts.begin(), m_character.parts.end(),
                                            [this](size_t nPart) { return !m_found[nPart].bOld; });
        const SSkeleton& first = m_found[nFirst].skeleton;
        m_character.bPlain = first.bPlain;
        ChooseRoot(eRoot, first);
        for (const size_t nPart : m_character.parts)
            AddBones(m_found[nPart].skeleton);
        if (first.nHips >= 0)
            if (const auto hips = m_places.find(ToLower(first.bones[static_cast<size_t>(first.nHips)].sName));
                hips != m_places.end())
                m_character.nHips = static_cast<int>(hips->second);
    }

private:
    template <class TTest>
    const SSkeleton* FirstWith(TTest test) const
    {
        for (const size_t nPart : m_character.parts)
            if (!m_found[nPart].bOld && test(m_found[nPart].skeleton))
                return &m_found[nPart].skeleton;
        return nullptr;
    }

    void ChooseRoot(ERoot eRoot, const SSkeleton& first)
    {
        const SSkeleton* pBoneMoves = FirstWith([](const SSkeleton& s) { return s.bRootBoneMoves; });
        const SSkeleton* pNodeMoves = FirstWith([](const SSkeleton& s) { return s.bRootNodeMoves; });
        if (eRoot == ERoot::eChosen)
            eRoot = first.bPlain ? ERoot::eStatic : pBoneMoves || pNodeMoves ? ERoot::eKeep : ERoot::eFloor;
        m_character.eRoot = eRoot;
        if (eRoot != ERoot::eKeep)
            return;
        const SSkeleton* pBone = pBoneMoves ? pBoneMoves : FirstWith([](const SSkeleton& s) { return s.bRootBone; });
        const SSkeleton* pNode =
            pNodeMoves ? pNodeMoves : FirstWith([](const SSkeleton& s) { return s.nRootNode >= 0; });
        const bool bOneTop = std::count_if(first.bones.begin(), first.bones.end(),
                                           [](const SSkeletonBone& bone) { return bone.nParent < 0; }) == 1;
        if (pBoneMoves || (pBone && !pNodeMoves))
            TakeBone(pBone->bones.front());
        else if (pNode)
            m_character.rootRest = pNode->rootNodeRest;
        else if (bOneTop)
            TakeBone(first.bones.front());
    }

    /// A folded one stays a bone, below a ground that does what it does.
    void TakeBone(const SSkeletonBone& bone)
    {
        m_character.sRootName = bone.sName;
        m_character.bRootBone = bone.sName != FOLDED;
        m_character.rootRest = bone.rest;
    }

    int Add(const std::string& sName, int nParent, const SRigid& world)
    {
        const SRigid rest = nParent >= 0 ? Relate(m_world[static_cast<size_t>(nParent)], world) : world;
        m_places.emplace(ToLower(sName), m_character.bones.size());
        m_character.bones.push_back({sName, nParent, rest});
        m_world.push_back(world);
        return static_cast<int>(m_character.bones.size()) - 1;
    }

    void AddBones(const SSkeleton& skeleton)
    {
        std::vector<int> places(skeleton.bones.size(), -1);
        const std::string sRoot = m_character.bRootBone ? ToLower(m_character.sRootName) : std::string();
        for (size_t n = 0; n < skeleton.bones.size(); ++n)
        {
            const SSkeletonBone& bone = skeleton.bones[n];
            const std::string sLower = ToLower(bone.sName);
            if (!sRoot.empty() && sLower == sRoot)
                continue;
            if (const auto known = m_places.find(sLower); known != m_places.end())
            {
                places[n] = static_cast<int>(known->second);
                continue;
            }
            // A bone that another file adds stands to its parent here as it does there.
            int nParent = bone.nParent >= 0 ? places[static_cast<size_t>(bone.nParent)] : -1;
            SRigid world = bone.rest;
            if (nParent >= 0)
                world = Compose(m_world[static_cast<size_t>(nParent)],
                                Relate(skeleton.bones[static_cast<size_t>(bone.nParent)].rest, bone.rest));
            if (bone.sName == FOLDED)
                nParent = Add(CARRIER, nParent, world);
            places[n] = Add(bone.sName, nParent, world);
        }
    }

    const std::vector<SFoundSkeleton>& m_found;
    SCharacter& m_character;
    TIndex m_places;
    std::vector<SRigid> m_world;
};

} // namespace

std::vector<SCharacter> JoinCharacters(const std::vector<SFoundSkeleton>& found, ERoot eRoot)
{
    // Who tells most comes first; what comes in another order comes to the same.
    std::vector<size_t> order(found.size());
    std::iota(order.begin(), order.end(), size_t{0});
    std::stable_sort(order.begin(), order.end(),
                     [&found](size_t a, size_t b)
                     {
                         const auto rank = [&found](size_t n)
                         {
                             const SFoundSkeleton& f = found[n];
                             return std::make_tuple(f.bOld, !f.skeleton.bSkinned,
                                                    -static_cast<int64_t>(f.skeleton.bones.size()), f.sOrder);
                         };
                         return rank(a) < rank(b);
                     });
    std::vector<SCharacter> characters;
    for (const size_t n : order)
    {
        const auto isHome = [&](const SCharacter& character)
        {
            const auto hasNames = [&](size_t nPart)
            {
                // Two trees of one file may be one character only where they share no name.
                if (found[nPart].nFile != found[n].nFile)
                    return false;
                const TIndex names = IndexOf(found[nPart].skeleton);
                return std::any_of(found[n].skeleton.bones.begin(), found[n].skeleton.bones.end(),
                                   [&names](const SSkeletonBone& bone) { return names.contains(ToLower(bone.sName)); });
            };
            return std::none_of(character.parts.begin(), character.parts.end(), hasNames) &&
                   IsOne(found[character.parts.front()], found[n]);
        };
        const auto home = std::find_if(characters.begin(), characters.end(), isHome);
        if (home != characters.end())
            home->parts.push_back(n);
        else
            characters.emplace_back().parts.push_back(n);
    }
    // Characters in the order of the files that they came in first.
    const auto place = [](const SCharacter& character)
    { return *std::min_element(character.parts.begin(), character.parts.end()); };
    std::stable_sort(characters.begin(), characters.end(),
                     [&place](const SCharacter& a, const SCharacter& b) { return place(a) < place(b); });
    for (SCharacter& character : characters)
        ZJoiner(found, character).Join(eRoot);
    return characters;
}

bool JoinOldRig(const std::vector<SFoundSkeleton>& found, size_t nOld, ERoot eRoot, SCharacter& character)
{
    if (!IsOne(found[character.parts.front()], found[nOld]))
        return false;
    SCharacter joined;
    joined.parts = character.parts;
    // A skin brings the rest that it was made for; without one, that of the rig holds.
    joined.parts.insert(std::find_if(joined.parts.begin(), joined.parts.end(),
                                     [&found](size_t nPart) { return !found[nPart].skeleton.bSkinned; }),
                        nOld);
    ZJoiner(found, joined).Join(eRoot);
    character = std::move(joined);
    return true;
}

std::vector<int> NodesOfBones(const SCharacter& character, const std::vector<SFoundSkeleton>& found, size_t nFile)
{
    std::map<std::string, int> nodes;
    for (const size_t nPart : character.parts)
        if (found[nPart].nFile == nFile && !found[nPart].bOld)
            for (const SSkeletonBone& bone : found[nPart].skeleton.bones)
            {
                nodes.emplace(ToLower(bone.sName), bone.nNode);
                if (bone.sName == FOLDED)
                    nodes.emplace(ToLower(CARRIER), bone.nNode);
            }
    std::vector<int> result;
    for (const SCharacterBone& bone : character.bones)
    {
        const auto node = nodes.find(ToLower(bone.sName));
        result.push_back(node != nodes.end() ? node->second : -1);
    }
    return result;
}

int NodeOfRoot(const SCharacter& character, const std::vector<SFoundSkeleton>& found, size_t nFile)
{
    for (const size_t nPart : character.parts)
    {
        const SSkeleton& skeleton = found[nPart].skeleton;
        if (found[nPart].nFile != nFile || found[nPart].bOld)
            continue;
        if (character.sRootName.empty())
            return skeleton.nRootNode;
        for (const SSkeletonBone& bone : skeleton.bones)
            if (ToLower(bone.sName) == ToLower(character.sRootName))
                return bone.nNode;
    }
    return -1;
}

std::vector<SRigid> WorldRest(const SCharacter& character)
{
    std::vector<SRigid> world;
    for (const SCharacterBone& bone : character.bones)
        world.push_back(bone.nParent >= 0 ? Compose(world[static_cast<size_t>(bone.nParent)], bone.rest) : bone.rest);
    return world;
}

} // namespace Host
