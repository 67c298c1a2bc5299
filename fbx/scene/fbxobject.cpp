#include "fbx/scene/fbxobject.h"

#include "fbx/scene/fbxaccess.h"
#include "fbx/scene/fbxpropertytypes.h"

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

FbxObject::FbxObject(FbxScene* pScene) : m_pScene(pScene) {}

FbxObject::~FbxObject() = default;

FbxProperty FbxObject::FindProperty(std::string_view name, bool bCaseSensitive) const
{
    const SFbxPropertyData* pData = Find(m_properties, name, bCaseSensitive);
    if (!pData && m_pTemplate)
        pData = Find(m_pTemplate->properties, name, bCaseSensitive);
    return pData ? FbxProperty(const_cast<FbxObject*>(this), pData) : FbxProperty();
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

std::pair<const FbxObject::SActiveLink*, const FbxObject::SActiveLink*>
FbxObject::ActiveLinks(std::string_view property) const
{
    const auto [first, last] =
        std::equal_range(m_activeLinks.begin(), m_activeLinks.end(), SActiveLink{property, 0, nullptr},
                         [](const SActiveLink& a, const SActiveLink& b) { return a.property < b.property; });
    return {m_activeLinks.data() + (first - m_activeLinks.begin()),
            m_activeLinks.data() + (last - m_activeLinks.begin())};
}

SFbxPropertyData& FbxObject::EditProperty(std::string_view name, EFbxType eType, std::string_view typeName)
{
    if (const SFbxPropertyData* pOwn = Find(m_properties, name, true))
        return const_cast<SFbxPropertyData&>(*pOwn);
    m_bMarked = false;
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
