#include "fbx/load/fbxtakechannels.h"

#include "fbx/load/fbxkeylist.h"

#include <algorithm>
#include <iterator>

namespace
{

constexpr size_t kParts = FbxAnimCurveNode::kMaxChannels;

/// The channels of one property: X, Y, Z and W have their places, whichever of them are there; others take the places
/// that are left, in their order. A property of one number may stand in the channel itself.
void FindParts(const SFbxRecord& channel, const SFbxRecord* (&parts)[kParts])
{
    const auto hasKeys = [](const SFbxRecord& record) { return record.Find("Key") || record.Find("Default"); };
    if (hasKeys(channel))
    {
        parts[0] = &channel;
        return;
    }
    for (const bool bAxes : {true, false})
    {
        for (const SFbxRecord* p = channel.pChild; p; p = p->pNext)
        {
            if (!p->Is("Channel") || !hasKeys(*p))
                continue;
            const std::string_view name = p->Text(0);
            size_t nPlace = name.size() == 1 ? std::string_view("XYZW").find(name) : std::string_view::npos;
            if ((nPlace < kParts) != bAxes)
                continue;
            if (!bAxes)
                nPlace = static_cast<size_t>(std::find(std::begin(parts), std::end(parts), nullptr) - parts);
            if (nPlace < kParts && !parts[nPlace])
                parts[nPlace] = p;
        }
    }
}

const SFbxValue* DefaultOf(const SFbxRecord& part)
{
    const SFbxRecord* pDefault = part.Find("Default");
    return pDefault ? pDefault->Value(0) : nullptr;
}

} // namespace

/// One property: its channels in records of their own, or the keys right here. Without a layer the fixed values are
/// the property's.
bool FbxTakeChannels::ReadProperty(const SFbxRecord& channel, std::string_view property, const SFbxOldModel& model,
                                   FbxAnimLayer* pLayer)
{
    const SFbxRecord* parts[kParts] = {};
    FindParts(channel, parts);
    if (std::all_of(std::begin(parts), std::end(parts), [](const SFbxRecord* p) { return !p; }))
        return true;

    FbxObject* pObject = model.pNode;
    if (model.pAttribute && !model.pNode->FindProperty(property).IsValid() &&
        model.pAttribute->FindProperty(property).IsValid())
        pObject = model.pAttribute;

    if (FbxProperty found = pObject->FindProperty(property); !model.bStatic && found.IsValid())
        for (size_t n = 0; n < kParts; ++n)
            if (const SFbxValue* pDefault = parts[n] ? DefaultOf(*parts[n]) : nullptr)
                found.SetChannel(n, pDefault->AsDouble());
    if (!pLayer)
        return true;

    FbxAnimCurveNode* pNode = m_builder.Scene().AddCurveNode();
    for (size_t n = 0; n < kParts; ++n)
    {
        if (!parts[n])
            continue;
        FbxAnimCurveNode::SChannel to;
        if (const SFbxValue* pDefault = DefaultOf(*parts[n]))
        {
            to.fDefault = pDefault->AsDouble();
            to.bHasDefault = true;
        }
        if (m_bCurves && !FbxReadKeyList(*parts[n], m_nFileVersion, m_builder, to.pCurve))
            return false;
        pNode->SetChannel(n, to);
    }
    pNode->ConnectLayer(pLayer);
    pObject->ConnectCurveNode(property, pNode);
    return true;
}

bool FbxTakeChannels::Read(const SFbxRecord& owner, const SFbxOldModel& model, FbxAnimLayer* pLayer)
{
    for (const SFbxRecord* p = owner.pChild; p; p = p->pNext)
    {
        if (!p->Is("Channel"))
            continue;
        if (p->Text(0) != "Transform")
        {
            if (!ReadProperty(*p, p->Text(0), model, pLayer))
                return false;
            continue;
        }
        for (const SFbxRecord* pPart = p->pChild; pPart; pPart = pPart->pNext)
        {
            const std::string_view letter = pPart->Is("Channel") ? pPart->Text(0) : std::string_view();
            const std::string_view property = letter == "T"   ? "Lcl Translation"
                                              : letter == "R" ? "Lcl Rotation"
                                              : letter == "S" ? "Lcl Scaling"
                                                              : std::string_view();
            if (!property.empty() && !ReadProperty(*pPart, property, model, pLayer))
                return false;
        }
    }
    return true;
}
