#include "fbx/fbxobject.h"

#include "fbx/fbxaccess.h"
#include "fbx/fbxpropertytypes.h"

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
    for (const SFbxPropertyData& data : properties)
        if (bCaseSensitive ? data.name == name : EqualsIgnoringCase(data.name, name))
            return &data;
    return nullptr;
}

} // namespace

FbxObject::FbxObject(FbxScene* pScene) : m_pScene(pScene) {}

FbxObject::~FbxObject() = default;

FbxProperty FbxObject::FindProperty(std::string_view name, bool bCaseSensitive) const
{
    const SFbxPropertyData* pData = Find(m_properties, name, bCaseSensitive);
    if (!pData && m_pTemplate)
        pData = Find(m_pTemplate->properties, name, bCaseSensitive);
    return pData ? FbxProperty(const_cast<FbxObject*>(this), pData) : FbxProperty();
}

void FbxObject::ListTemplateProperties() const
{
    m_bTemplateListed = true;
    m_templateOnly.clear();
    if (!m_pTemplate)
        return;
    for (uint32_t n = 0; n < m_pTemplate->properties.size(); ++n)
        if (!Find(m_properties, m_pTemplate->properties[n].name, true))
            m_templateOnly.push_back(n);
}

size_t FbxObject::GetPropertyCount() const
{
    if (!m_bTemplateListed)
        ListTemplateProperties();
    return m_properties.size() + m_templateOnly.size();
}

FbxProperty FbxObject::GetProperty(size_t nIndex) const
{
    if (nIndex >= GetPropertyCount())
        return {};
    const SFbxPropertyData* pData = nIndex < m_properties.size()
                                        ? &m_properties[nIndex]
                                        : &m_pTemplate->properties[m_templateOnly[nIndex - m_properties.size()]];
    return FbxProperty(const_cast<FbxObject*>(this), pData);
}

SFbxPropertyData& FbxObject::EditProperty(std::string_view name, EFbxType eType, std::string_view typeName)
{
    for (SFbxPropertyData& data : m_properties)
        if (data.name == name)
            return data;
    m_bTemplateListed = false;
    const SFbxPropertyData* pDefault = m_pTemplate ? Find(m_pTemplate->properties, name, true) : nullptr;
    if (pDefault)
        return m_properties.emplace_back(*pDefault);
    SFbxPropertyData& data = m_properties.emplace_back();
    data.name = FbxAccess::Arena(*m_pScene).CopyText(name);
    data.eType = eType;
    const SFbxTypeInfo* pType = FbxFindType(typeName);
    data.typeName = pType ? pType->name : std::string_view("");
    data.nChannels = pType ? pType->nChannels : uint8_t(1);
    return data;
}
