#include "fbx/load/fbxcurvenoderecord.h"

#include <algorithm>
#include <iterator>

namespace
{

/// kMaxChannels for names that have no place of their own.
size_t OwnPlace(std::string_view channel)
{
    constexpr std::string_view kLetters = "XYZW";
    const size_t nPlace = channel.size() == 3 ? kLetters.find(channel[2]) : std::string_view::npos;
    return nPlace < kLetters.size() ? nPlace : FbxAnimCurveNode::kMaxChannels;
}

} // namespace

size_t FbxCurveNodeChannels::PlaceOf(const SNode& node, std::string_view channel)
{
    const auto find = [&node](std::string_view name)
    { return static_cast<size_t>(std::find(std::begin(node.names), std::end(node.names), name) - node.names); };
    const size_t nKnown = find(channel);
    if (nKnown < FbxAnimCurveNode::kMaxChannels)
        return nKnown;
    const size_t nOwn = OwnPlace(channel);
    return nOwn < FbxAnimCurveNode::kMaxChannels ? nOwn : find({});
}

uint32_t FbxCurveNodeChannels::Read(const SFbxRecord& record)
{
    SNode& node = m_nodes.emplace_back();
    node.pNode = m_scene.AddCurveNode();
    const SFbxRecord* pProperties = record.Find("Properties70");
    // One property a channel: "d|X" with the value it has without a curve. The others come behind those with places.
    for (const bool bOwnPlace : {true, false})
    {
        for (const SFbxRecord* p = pProperties ? pProperties->pChild : nullptr; p; p = p->pNext)
        {
            const std::string_view name = p->Text(0);
            if (name.substr(0, 2) != "d|" || (OwnPlace(name) < FbxAnimCurveNode::kMaxChannels) != bOwnPlace)
                continue;
            const size_t nPlace = PlaceOf(node, name);
            if (nPlace == FbxAnimCurveNode::kMaxChannels || node.names[nPlace] == name)
                continue;
            FbxAnimCurveNode::SChannel channel;
            if (const SFbxValue* pValue = p->Value(4))
            {
                channel.fDefault = pValue->AsDouble();
                channel.bHasDefault = true;
            }
            node.pNode->SetChannel(nPlace, channel);
            node.names[nPlace] = name;
        }
    }
    return static_cast<uint32_t>(m_nodes.size() - 1);
}

void FbxCurveNodeChannels::Connect(uint32_t nNode, std::string_view channel, const FbxAnimCurve* pCurve)
{
    SNode& node = m_nodes[nNode];
    const size_t nPlace = PlaceOf(node, channel);
    if (nPlace == FbxAnimCurveNode::kMaxChannels)
        return;
    node.names[nPlace] = channel;
    FbxAnimCurveNode::SChannel to = node.pNode->GetChannel(nPlace);
    to.pCurve = pCurve;
    node.pNode->SetChannel(nPlace, to);
}
