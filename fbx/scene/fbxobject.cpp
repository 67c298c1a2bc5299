#include "fbx/scene/fbxobject.h"

#include "fbx/scene/fbxanim.h"
#include "fbx/scene/fbxscene.h"
#include "fbx/types/fbxpropertytypes.h"

#include <algorithm>
#include <bit>

namespace
{

bool EqualsIgnoringCase(std::string_view a, std::string_view b)
{
    if (a.size() != b.size())
        return false;
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
    for (size_t n = 0; n < a.size(); ++n)
        if (lower(a[n]) != lower(b[n]))
            return false;
    return true;
}

const SFbxPropertyData* Find(const std::vector<SFbxPropertyData>& properties, std::string_view name,
                             bool bCaseSensitive)
{
    // Of properties of one name, the last that was written holds.
    for (auto data = properties.rbegin(); data != properties.rend(); ++data)
        if (bCaseSensitive ? data->name == name : EqualsIgnoringCase(data->name, name))
            return &*data;
    return nullptr;
}

} // namespace

FbxObject::FbxObject(FbxScene* pScene, const SFbxIdentity& identity)
    : m_pScene(pScene),
      m_sName(identity.name),
      m_sTypeText(identity.type),
      m_nId(identity.nId),
      m_pTemplate(identity.pTemplate)
{
}

FbxObject::~FbxObject() = default;

FbxProperty FbxObject::FindProperty(std::string_view name, bool bCaseSensitive) const
{
    const SFbxPropertyData* pData = Find(m_properties, name, bCaseSensitive);
    if (!pData && m_pTemplate)
        pData = Find(m_pTemplate->properties, name, bCaseSensitive);
    return pData ? FbxProperty(const_cast<FbxObject*>(this), pData) : FbxProperty();
}

bool FbxObject::HasOwnProperty(std::string_view name) const
{
    return Find(m_properties, name, true) != nullptr;
}

void FbxObject::MarkOverridden() const
{
    m_bMarked = true;
    m_nTemplateOnly = 0;
    m_overridden.clear();
    if (!m_pTemplate)
        return;
    const std::vector<SFbxPropertyData>& defaults = m_pTemplate->properties;
    std::vector<std::string_view> names;
    names.reserve(m_properties.size());
    for (const SFbxPropertyData& data : m_properties)
        names.push_back(data.name);
    std::sort(names.begin(), names.end());
    m_overridden.resize((defaults.size() + 63) / 64, 0);
    for (size_t n = 0; n < defaults.size(); ++n)
    {
        if (std::binary_search(names.begin(), names.end(), defaults[n].name))
            m_overridden[n / 64] |= uint64_t(1) << n % 64;
        else
            ++m_nTemplateOnly;
    }
}

size_t FbxObject::GetPropertyCount() const
{
    if (!m_bMarked)
        MarkOverridden();
    return m_properties.size() + m_nTemplateOnly;
}

FbxProperty FbxObject::GetProperty(size_t nIndex) const
{
    if (nIndex >= GetPropertyCount())
        return {};
    FbxObject* pThis = const_cast<FbxObject*>(this);
    if (nIndex < m_properties.size())
        return {pThis, &m_properties[nIndex]};
    // The so many'th property of the template whose bit is not set.
    size_t nLeft = nIndex - m_properties.size();
    for (size_t nWord = 0;; ++nWord)
    {
        uint64_t nFree = ~m_overridden[nWord];
        const size_t nHere = static_cast<size_t>(std::popcount(nFree));
        if (nLeft >= nHere)
        {
            nLeft -= nHere;
            continue;
        }
        for (; nLeft > 0; --nLeft)
            nFree &= nFree - 1;
        return {pThis, &m_pTemplate->properties[nWord * 64 + static_cast<size_t>(std::countr_zero(nFree))]};
    }
}

SFbxPropertyData& FbxObject::EditProperty(std::string_view name, std::string_view typeName)
{
    m_pScene->GetAnimationEvaluator()->Invalidate();
    if (const SFbxPropertyData* pOwn = Find(m_properties, name, true))
        return const_cast<SFbxPropertyData&>(*pOwn);
    m_bMarked = false;
    const SFbxPropertyData* pDefault = m_pTemplate ? Find(m_pTemplate->properties, name, true) : nullptr;
    if (pDefault)
        return m_properties.emplace_back(*pDefault);
    SFbxPropertyData& data = m_properties.emplace_back();
    data.name = m_pScene->GetMemory().CopyText(name);
    const SFbxTypeInfo* pType = FbxFindType(typeName);
    data.eType = pType ? pType->eType : EFbxType::eUndefined;
    data.typeName = pType ? pType->name : std::string_view("");
    data.nChannels = pType ? pType->nChannels : uint8_t(1);
    return data;
}

FbxProperty FbxObject::OwnProperty(std::string_view name, std::string_view typeName)
{
    SFbxPropertyData& data = EditProperty(name, typeName);
    const SFbxTypeInfo* pType = FbxFindType(typeName);
    if (pType && pType->nChannels != data.nChannels)
    {
        data.eType = pType->eType;
        data.typeName = pType->name;
        data.nChannels = pType->nChannels;
    }
    return {this, &data};
}

void FbxObject::AddProperties(const SFbxPropertyData* pFirst, size_t nCount)
{
    m_bMarked = false;
    m_properties.insert(m_properties.end(), pFirst, pFirst + nCount);
    m_pScene->GetAnimationEvaluator()->Invalidate();
}

void FbxObject::ConnectCurveNode(std::string_view property, FbxAnimCurveNode* pCurveNode)
{
    m_curveNodes.push_back({m_pScene->GetMemory().CopyText(property), pCurveNode});
    ++pCurveNode->m_nProperties;
    m_pScene->GetAnimationEvaluator()->Invalidate();
}

bool FbxObject::HasCurveNode(std::string_view property) const
{
    return std::any_of(m_curveNodes.begin(), m_curveNodes.end(),
                       [property](const SCurveNodeLink& link) { return link.property == property; });
}

void FbxObject::DisconnectCurveNodes(std::string_view property)
{
    std::erase_if(m_curveNodes,
                  [property](const SCurveNodeLink& link)
                  {
                      const bool bGone = link.property == property;
                      link.pCurveNode->m_nProperties -= bGone;
                      return bGone;
                  });
    m_pScene->GetAnimationEvaluator()->Invalidate();
}

FbxAnimCurveNode& FbxObject::OwnCurveNode(size_t nLink)
{
    FbxAnimCurveNode*& pNode = m_curveNodes[nLink].pCurveNode;
    if (pNode->m_nProperties > 1)
    {
        --pNode->m_nProperties;
        pNode = m_pScene->AddCurveNode(*pNode);
        pNode->m_nProperties = 1;
    }
    m_pScene->GetAnimationEvaluator()->Invalidate();
    return *pNode;
}
