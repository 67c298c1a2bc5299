#include "fbx/evaluate/fbxanimatedproperties.h"

#include <algorithm>

namespace
{

/// A weight of files as a part of one.
double Part(double fWeight)
{
    const double f = fWeight / 100.0;
    return f < 0.0 ? 0.0 : f > 0.99999 ? 1.0 : f;
}

} // namespace

void FbxAnimatedProperties::Compile()
{
    m_plans.clear();
    m_steps.clear();
    m_nodes.clear();
    m_nodeOf.clear();
    m_curves.clear();
    m_objects.assign(m_scene.GetObjectCount(), SRange());
    CompileLayers();
    m_taken.assign(m_layers.size(), 0);
    m_nProperty = 0;
    for (size_t n = 0; n < m_scene.GetObjectCount(); ++n)
    {
        SRange& range = m_objects[n];
        range.nFirst = static_cast<uint32_t>(m_plans.size());
        if (!m_scene.GetObject(n)->GetCurveNodes().empty())
            CompileObject(*m_scene.GetObject(n));
        range.nCount = static_cast<uint32_t>(m_plans.size()) - range.nFirst;
    }
    CompileWeights();
}

void FbxAnimatedProperties::CompileLayers()
{
    m_places.assign(m_scene.GetObjectCount(), -1);
    m_layers.clear();
    m_pLowest = nullptr;
    const FbxAnimStack* pStack = m_scene.GetCurrentAnimStack();
    if (!pStack || pStack->GetLayerCount() == 0)
        return;
    m_pLowest = pStack->GetLayer(0);
    bool bSolo = false;
    for (size_t n = 0; n < pStack->GetLayerCount(); ++n)
        bSolo |= pStack->GetLayer(n)->GetSettings().bSolo;
    for (size_t n = 0; n < pStack->GetLayerCount(); ++n)
    {
        const FbxAnimLayer* pLayer = pStack->GetLayer(n);
        int& nPlace = m_places[static_cast<size_t>(pLayer->GetObjectIndex())];
        if ((bSolo ? !pLayer->GetSettings().bSolo : pLayer->GetSettings().bMute) || nPlace >= 0)
            continue;
        nPlace = static_cast<int>(m_layers.size());
        m_layers.emplace_back().pLayer = pLayer;
    }
}

void FbxAnimatedProperties::CompileObject(const FbxObject& object)
{
    const auto byProperty = [](const auto& a, const auto& b) { return a.property < b.property; };
    std::vector<FbxObject::SCurveNodeLink> all(object.GetCurveNodes());
    std::stable_sort(all.begin(), all.end(), byProperty);
    for (size_t nFirst = 0, nLast = 0; nFirst < all.size(); nFirst = nLast)
    {
        // Of several curve nodes for one property in one layer the first connected counts.
        m_links.clear();
        ++m_nProperty;
        for (; nLast < all.size() && all[nLast].property == all[nFirst].property; ++nLast)
        {
            for (const FbxAnimLayer* pLayer : all[nLast].pCurveNode->GetLayers())
            {
                const int nPlace = m_places[static_cast<size_t>(pLayer->GetObjectIndex())];
                if (nPlace < 0 || m_taken[static_cast<size_t>(nPlace)] == m_nProperty)
                    continue;
                m_taken[static_cast<size_t>(nPlace)] = m_nProperty;
                m_links.push_back({all[nFirst].property, static_cast<uint32_t>(nPlace), all[nLast].pCurveNode});
            }
        }
        if (m_links.empty())
            continue;
        std::sort(m_links.begin(), m_links.end(), [](const SLink& a, const SLink& b) { return a.nLayer < b.nLayer; });
        const size_t nFirstStep = m_steps.size();
        for (const SLink& link : m_links)
        {
            const FbxAnimLayer* pLayer = m_layers[link.nLayer].pLayer;
            m_steps.push_back({SFbxLayerMix::Of(pLayer->GetSettings(), pLayer == m_pLowest, object, link.property),
                               link.nLayer, CompileNode(link.pCurveNode)});
        }
        SFbxPropertyPlan& plan = m_plans.emplace_back();
        plan.property = all[nFirst].property;
        plan.nFirstStep = plan.nBaseStep = static_cast<uint32_t>(nFirstStep);
        plan.nSteps = static_cast<uint32_t>(m_links.size());
    }
}

uint32_t FbxAnimatedProperties::CompileNode(FbxAnimCurveNode* pNode)
{
    const auto [found, bNew] = m_nodeOf.try_emplace(pNode, static_cast<uint32_t>(m_nodes.size()));
    if (!bNew)
        return found->second;
    SFbxCurveNodePlan& plan = m_nodes.emplace_back();
    plan.pNode = pNode;
    plan.nFirstCurve = static_cast<uint32_t>(m_curves.size());
    for (size_t n = 0; n < FbxAnimCurveNode::kMaxChannels; ++n)
    {
        const FbxAnimCurveNode::SChannel& channel = pNode->GetChannel(n);
        const unsigned nBit = 1u << n;
        if (channel.IsAnimated() || channel.bHasDefault)
            plan.nPresent = static_cast<uint8_t>(plan.nPresent | nBit);
        if (!channel.IsAnimated())
            plan.values[n] = channel.fDefault;
        // Exporters that bake write a curve for everything; most of those never move.
        else if (m_sampler.IsFlat(*channel.pCurve))
            plan.values[n] = channel.fFactor * static_cast<double>(channel.pCurve->GetKeyValue(0));
        else
        {
            plan.nMoving = static_cast<uint8_t>(plan.nMoving | nBit);
            m_curves.push_back(m_sampler.Plan(*channel.pCurve, channel.fFactor));
        }
    }
    return found->second;
}

void FbxAnimatedProperties::CompileWeights()
{
    for (SLayer& layer : m_layers)
    {
        double fWeight = layer.pLayer->GetSettings().fWeight;
        // The weight's own curve is taken as it is, in whatever layer it lies: weights of weights have no end.
        if (const SFbxPropertyPlan* pPlan = Find(*layer.pLayer, "Weight"))
        {
            const SFbxCurveNodePlan& node = Lowest(*pPlan);
            if (node.nMoving & 1)
                layer.nWeight = static_cast<int32_t>(node.nFirstCurve);
            else if (node.pNode->GetChannel(0).IsAnimated())
                fWeight = node.values[0];
        }
        layer.fWeight = Part(fWeight);
    }
    for (SFbxPropertyPlan& plan : m_plans)
        CompileBase(plan);
}

/// Whatever its weight, or with a weight that is always full.
bool FbxAnimatedProperties::Replaces(const SFbxLayerStep& step) const
{
    const SLayer& layer = m_layers[step.nLayer];
    return step.mix.eHow == SFbxLayerMix::eReplace ||
           (step.mix.eHow == SFbxLayerMix::eBlend && layer.nWeight < 0 && layer.fWeight >= 1.0);
}

/// Layers below one that replaces all that they have are not heard, and need not be evaluated.
void FbxAnimatedProperties::CompileBase(SFbxPropertyPlan& plan) const
{
    unsigned nBelow = 7; // a mix of rotations has all three angles, whichever its layers have
    for (uint32_t n = plan.nFirstStep; n < plan.nFirstStep + plan.nSteps; ++n)
    {
        const SFbxLayerStep& step = m_steps[n];
        const SFbxCurveNodePlan& node = m_nodes[step.nNode];
        if (Replaces(step) && (node.nPresent & nBelow) == nBelow)
        {
            plan.nBaseStep = n;
            plan.bMoves = false;
        }
        nBelow |= node.nPresent;
        plan.bMoves |= node.nMoving != 0 || m_layers[step.nLayer].nWeight >= 0;
    }
}

double FbxAnimatedProperties::WeightOf(SLayer& layer)
{
    if (layer.nWeight < 0 || layer.nStamp == m_sampler.Stamp())
        return layer.fWeight;
    layer.nStamp = m_sampler.Stamp();
    layer.fWeight = Part(m_sampler.Value(m_curves[static_cast<size_t>(layer.nWeight)]));
    return layer.fWeight;
}

const SFbxPropertyPlan* FbxAnimatedProperties::Find(const FbxObject& object, std::string_view property) const
{
    if (object.GetObjectIndex() < 0)
        return nullptr;
    const SRange range = m_objects[static_cast<size_t>(object.GetObjectIndex())];
    const auto begin = m_plans.begin() + range.nFirst;
    const auto end = begin + range.nCount;
    const auto found = std::lower_bound(
        begin, end, property, [](const SFbxPropertyPlan& plan, std::string_view s) { return plan.property < s; });
    return found != end && found->property == property ? &*found : nullptr;
}

void FbxAnimatedProperties::Mix(const SFbxPropertyPlan& plan, FbxMixedValues& mixed)
{
    for (uint32_t nStep = plan.nBaseStep; nStep < plan.nFirstStep + plan.nSteps; ++nStep)
    {
        const SFbxLayerStep& step = m_steps[nStep];
        const double fWeight = WeightOf(m_layers[step.nLayer]);
        if (fWeight <= 0.0 && step.mix.eHow != SFbxLayerMix::eReplace)
            continue;
        const SFbxCurveNodePlan& node = m_nodes[step.nNode];
        const SFbxChannelPlan* pCurve = Curves(node);
        double values[FbxAnimCurveNode::kMaxChannels];
        for (unsigned n = 0; n < FbxAnimCurveNode::kMaxChannels; ++n)
            values[n] = node.nMoving >> n & 1 ? m_sampler.Value(*pCurve++) : node.values[n];
        FbxMixLayer(step.mix, fWeight, values, node.nPresent, mixed);
    }
}

bool FbxAnimatedProperties::IsPlain(const SFbxPropertyPlan& plan) const
{
    return plan.nBaseStep + 1 == plan.nFirstStep + plan.nSteps && Replaces(m_steps[plan.nBaseStep]);
}
