#include "fbx/scene/fbxanim.h"

#include "fbx/scene/fbxcurve.h"

#include <algorithm>

bool FbxAnimCurveNode::IsAnimated() const
{
    for (const SChannel& channel : m_channels)
        if (channel.pCurve && channel.pCurve->GetKeyCount() > 0)
            return true;
    return false;
}

bool FbxAnimCurveNode::GetAnimationInterval(FbxTimeSpan& span) const
{
    bool bFound = false;
    for (const SChannel& channel : m_channels)
    {
        if (!channel.pCurve || channel.pCurve->GetKeyCount() == 0)
            continue;
        const FbxTime first = channel.pCurve->GetKeyTime(0);
        const FbxTime last = channel.pCurve->GetKeyTime(channel.pCurve->GetKeyCount() - 1);
        span.start = bFound ? std::min(span.start, first) : first;
        span.stop = bFound ? std::max(span.stop, last) : last;
        bFound = true;
    }
    return bFound;
}

bool FbxAnimCurveNode::IsInLayer(const FbxAnimLayer* pLayer) const
{
    return std::find(m_layers.begin(), m_layers.end(), pLayer) != m_layers.end();
}
