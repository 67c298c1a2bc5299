#include "host/adopt/scalenotes.h"

#include "host/text/textformat.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace Host
{

namespace
{

constexpr double SAME = 1e-3; ///< scales that differ by less, as parts of one another, are one
constexpr int64_t MOST_LOOKS = 50;
constexpr size_t MOST_NAMES = 5;

struct SSpan
{
    double least[3];
    double most[3];
};

void Widen(SSpan& span, const FbxVector3& s)
{
    const double values[] = {s.x, s.y, s.z};
    for (size_t n = 0; n < 3; ++n)
    {
        span.least[n] = std::min(span.least[n], values[n]);
        span.most[n] = std::max(span.most[n], values[n]);
    }
}

bool IsSame(double a, double b)
{
    return std::fabs(a - b) <= SAME * std::max(std::fabs(a), std::fabs(b));
}

std::string ScaleText(const double (&s)[3])
{
    return IsSame(s[0], s[1]) && IsSame(s[0], s[2]) ? Formatted("%.4g", s[0])
                                                    : Formatted("%.4g %.4g %.4g", s[0], s[1], s[2]);
}

void Tell(std::vector<SMessage>& messages, ESeverity eSeverity, const std::vector<std::string>& told,
          const std::string& sWhat)
{
    if (told.empty())
        return;
    std::string sText = "scale of ";
    for (size_t n = 0; n < std::min(told.size(), MOST_NAMES); ++n)
        sText += (n != 0 ? ", " : "") + told[n];
    if (told.size() > MOST_NAMES)
        sText += " and " + std::to_string(told.size() - MOST_NAMES) + " more";
    messages.push_back({eSeverity, sText + sWhat});
}

} // namespace

std::vector<SMessage> ScaleNotes(const ZSourceScene& source, const std::vector<SStackMotion>& stacks,
                                 const SSkeleton& skeleton)
{
    FbxScene& scene = source.Scene();
    std::set<int> nodes;
    for (const SSkeletonBone& bone : skeleton.bones)
        for (const FbxNode* p = scene.GetNode(static_cast<size_t>(bone.nNode));
             p->GetParent() != nullptr && nodes.insert(p->GetIndex()).second; p = p->GetParent())
            continue;
    std::vector<SSpan> spans(scene.GetNodeCount());
    const auto look = [&](FbxTime time)
    {
        for (const int nNode : nodes)
            Widen(spans[static_cast<size_t>(nNode)],
                  scene.GetNode(static_cast<size_t>(nNode))->EvaluateLocalTransform(time).s);
    };
    for (const int nNode : nodes)
    {
        const FbxVector3 s = scene.GetNode(static_cast<size_t>(nNode))->EvaluateLocalTransform(FbxTime::Infinite()).s;
        spans[static_cast<size_t>(nNode)] = {{s.x, s.y, s.z}, {s.x, s.y, s.z}};
    }
    const double fRate = FbxFrameRateOf(scene);
    for (size_t n = 0; n < stacks.size(); ++n)
    {
        scene.SetCurrentAnimStack(scene.GetAnimStack(n));
        const int64_t nStep = std::max<int64_t>(1, stacks[n].frames.Count() / MOST_LOOKS);
        for (int64_t nFrame = stacks[n].frames.nFirst; nFrame <= stacks[n].frames.nLast; nFrame += nStep)
            look(FbxTime::FromFrame(nFrame, fRate));
    }

    std::vector<std::string> baked;
    std::vector<std::string> uneven;
    std::vector<std::string> moving;
    for (const int nNode : nodes)
    {
        const SSpan& span = spans[static_cast<size_t>(nNode)];
        const std::string sName =
            std::string("'").append(scene.GetNode(static_cast<size_t>(nNode))->GetName()).append("' (");
        if (!IsSame(span.least[0], span.most[0]) || !IsSame(span.least[1], span.most[1]) ||
            !IsSame(span.least[2], span.most[2]))
            moving.push_back(sName + ScaleText(span.least) + " to " + ScaleText(span.most) + ")");
        else if (!IsSame(span.least[0], span.least[1]) || !IsSame(span.least[0], span.least[2]))
            uneven.push_back(sName + ScaleText(span.least) + ")");
        else if (!IsSame(span.least[0], 1.0))
            baked.push_back(sName + ScaleText(span.least) + ")");
    }
    std::vector<SMessage> messages;
    Tell(messages, ESeverity::eInfo, baked, " is in the lengths below");
    Tell(messages, ESeverity::eWarning, uneven,
         ", which is not uniform, shapes nothing any more: bones stand where the file shows them");
    Tell(messages, ESeverity::eWarning, moving,
         ", which moves, shapes nothing any more: bones stand where the file shows them");
    return messages;
}

} // namespace Host
