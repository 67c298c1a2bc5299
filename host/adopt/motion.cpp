#include "host/adopt/motion.h"

#include <algorithm>
#include <cmath>

namespace Host
{

namespace
{

constexpr int64_t MOST_LOOKS = 100;
constexpr double FAR = 1e-3;  // centimetres
constexpr double TURN = 1e-5; // sine of half the angle

bool Differs(const SRigid& a, const SRigid& b)
{
    const FbxVector3 d = a.t - b.t;
    const FbxQuaternion q = a.q.Conjugate() * b.q;
    // Also where it is no number.
    return !(std::fabs(d.x) + std::fabs(d.y) + std::fabs(d.z) < FAR) ||
           !(std::fabs(q.x) + std::fabs(q.y) + std::fabs(q.z) < TURN);
}

} // namespace

std::vector<SStackMotion> MotionOf(const ZSourceScene& source)
{
    FbxScene& scene = source.Scene();
    const double fRate = FbxFrameRateOf(scene);
    const size_t nNodes = scene.GetNodeCount();
    std::vector<SStackMotion> stacks;
    for (size_t n = 0; n < scene.GetAnimStackCount(); ++n)
    {
        FbxAnimStack* pStack = scene.GetAnimStack(n);
        scene.SetCurrentAnimStack(pStack);
        SStackMotion motion{pStack->GetName(), FbxFramesOf(FbxSpanOf(*scene.GetCurrentAnimStack()), fRate), {}, {}};
        motion.hasKeys.resize(nNodes);
        motion.moves.resize(nNodes);
        std::vector<int> carried; // itself or something above it has keys
        std::vector<bool> isCarried(nNodes);
        std::vector<const FbxNode*> pending{scene.GetRootNode()};
        while (!pending.empty())
        {
            const FbxNode* pNode = pending.back();
            pending.pop_back();
            const auto nNode = static_cast<size_t>(pNode->GetIndex());
            motion.hasKeys[nNode] = FbxHasKeys(*pNode);
            const FbxNode* pParent = pNode->GetParent();
            isCarried[nNode] =
                motion.hasKeys[nNode] || (pParent && isCarried[static_cast<size_t>(pParent->GetIndex())]);
            if (isCarried[nNode])
                carried.push_back(pNode->GetIndex());
            for (size_t i = 0; i < pNode->GetChildCount(); ++i)
                pending.push_back(pNode->GetChild(i));
        }
        const int64_t nStep = std::max<int64_t>(1, motion.frames.Count() / MOST_LOOKS);
        std::vector<SRigid> first;
        for (int64_t nFrame = motion.frames.nFirst; !carried.empty() && nFrame <= motion.frames.nLast; nFrame += nStep)
        {
            const FbxTime time = FbxTime::FromFrame(nFrame, fRate);
            for (size_t i = 0; i < carried.size(); ++i)
            {
                const SRigid world = source.WorldOf(carried[i], time);
                if (nFrame == motion.frames.nFirst)
                    first.push_back(world);
                else if (Differs(first[i], world))
                    motion.moves[static_cast<size_t>(carried[i])] = true;
            }
        }
        stacks.push_back(std::move(motion));
    }
    return stacks;
}

bool AnyMoves(const std::vector<SStackMotion>& stacks, int nNode)
{
    return std::any_of(stacks.begin(), stacks.end(),
                       [nNode](const SStackMotion& motion) { return motion.moves[static_cast<size_t>(nNode)]; });
}

bool AnyHasKeys(const std::vector<SStackMotion>& stacks, int nNode)
{
    return std::any_of(stacks.begin(), stacks.end(),
                       [nNode](const SStackMotion& motion) { return motion.hasKeys[static_cast<size_t>(nNode)]; });
}

} // namespace Host
