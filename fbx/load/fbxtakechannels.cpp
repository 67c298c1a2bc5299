#include "fbx/load/fbxtakechannels.h"

#include "fbx/load/fbxkeylist.h"

/// One property: its channels in records of their own, or the keys right here. Without a layer the fixed values are
/// the property's.
bool FbxTakeChannels::ReadProperty(const SFbxRecord& channel, std::string_view property, const SFbxOldModel& model,
                                   FbxAnimLayer* pLayer)
{
    const SFbxRecord* parts[FbxAnimCurveNode::kMaxChannels] = {};
    size_t nParts = 0;
    if (channel.Find("Key") || channel.Find("Default"))
        parts[nParts++] = &channel;
    else
        for (const SFbxRecord* p = channel.pChild; p && nParts < FbxAnimCurveNode::kMaxChannels; p = p->pNext)
            if (p->Is("Channel") && (p->Find("Key") || p->Find("Default")))
                parts[nParts++] = p;
    if (nParts == 0)
        return true;

    FbxObject* pObject = model.pNode;
    if (model.pAttribute && !model.pNode->FindProperty(property).IsValid() &&
        model.pAttribute->FindProperty(property).IsValid())
        pObject = model.pAttribute;

    if (FbxProperty found = pObject->FindProperty(property); !model.bStatic && found.IsValid())
        for (size_t n = 0; n < nParts; ++n)
            if (const SFbxRecord* pDefault = parts[n]->Find("Default"); pDefault && pDefault->Value(0))
                found.SetChannel(n, pDefault->pValues[0].AsDouble());
    if (!pLayer)
        return true;

    FbxAnimCurveNode* pNode = m_builder.Scene().AddCurveNode();
    for (size_t n = 0; n < nParts; ++n)
    {
        FbxAnimCurveNode::SChannel to;
        if (const SFbxRecord* pDefault = parts[n]->Find("Default"); pDefault && pDefault->Value(0))
        {
            to.fDefault = pDefault->pValues[0].AsDouble();
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
