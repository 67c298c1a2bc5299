#include "fbx/scene/fbxanim.h"

#include "fbx/scene/fbxcurve.h"
#include "fbx/scene/fbxscene.h"

#include <algorithm>

bool FbxAnimCurveNode::SChannel::IsAnimated() const
{
    return pCurve && pCurve->GetKeyCount() > 0;
}

void FbxAnimCurveNode::SetChannel(size_t nChannel, const SChannel& channel)
{
    m_channels[nChannel] = channel;
    m_nChannels = std::max(m_nChannels, nChannel + 1);
}

bool FbxAnimCurveNode::IsAnimated() const
{
    return std::any_of(m_channels.begin(), m_channels.end(),
                       [](const SChannel& channel) { return channel.IsAnimated(); });
}

bool FbxAnimCurveNode::GetAnimationInterval(FbxTimeSpan& span) const
{
    bool bFound = false;
    for (const SChannel& channel : m_channels)
    {
        if (!channel.IsAnimated())
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

void FbxAnimCurveNode::ConnectLayer(const FbxAnimLayer* pLayer)
{
    if (m_layers.size() < kMaxLayers)
        m_layers.push_back(pLayer);
}

void FbxAnimLayer::SetSettings(const SFbxLayerSettings& settings)
{
    m_settings = settings;
    GetScene()->GetAnimationEvaluator()->Invalidate();
}

FbxAnimStack* FbxAnimStack::Create(FbxScene* pScene, std::string_view name)
{
    return pScene->AddAnimStack({name});
}

void FbxAnimStack::ConnectLayer(FbxAnimLayer* pLayer)
{
    m_layers.push_back(pLayer);
    GetScene()->GetAnimationEvaluator()->Invalidate();
}
