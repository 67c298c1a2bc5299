#include "fbx/file/fbxdocumentedit.h"

#include "fbx/file/fbxobjectname.h"

#include <algorithm>

namespace
{

char Lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

bool EqualsIgnoringCase(std::string_view a, std::string_view b)
{
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) { return Lower(x) == Lower(y); });
}

/// What people compare: no namespace, no case, and no more of it than is worth comparing.
std::string Plain(std::string_view name)
{
    const size_t nColon = name.rfind(':');
    std::string sPlain(name.substr(nColon == std::string_view::npos ? 0 : nColon + 1).substr(0, 64));
    std::transform(sPlain.begin(), sPlain.end(), sPlain.begin(), Lower);
    return sPlain;
}

/// Letters to change, put in or leave out to make one of the other; nMost + 1 when it takes more.
size_t Distance(const std::string& a, const std::string& b, size_t nMost)
{
    if (a.size() > b.size() + nMost || b.size() > a.size() + nMost)
        return nMost + 1;
    std::vector<size_t> row(b.size() + 1);
    for (size_t n = 0; n <= b.size(); ++n)
        row[n] = n;
    for (size_t i = 0; i < a.size(); ++i)
    {
        size_t nCorner = row[0];
        row[0] = i + 1;
        for (size_t n = 0; n < b.size(); ++n)
        {
            const size_t nChanged = nCorner + (a[i] == b[n] ? 0 : 1);
            nCorner = row[n + 1];
            row[n + 1] = std::min({nChanged, row[n] + 1, nCorner + 1});
        }
    }
    return std::min(row[b.size()], nMost + 1);
}

} // namespace

SFbxRecord* FbxDocumentEdit::Find(const SFbxRecord& parent, std::string_view name)
{
    for (SFbxRecord* p = parent.pChild; p; p = p->pNext)
        if (p->Is(name))
            return p;
    return nullptr;
}

/// What is there, or a new one with these values.
SFbxRecord& FbxDocumentEdit::Part(SFbxRecord& parent, std::string_view name, std::initializer_list<SFbxValue> values)
{
    if (SFbxRecord* pPart = Find(parent, name))
        return *pPart;
    return *FbxRecordList(parent).Append(m_document.NewRecord(name, values, values.size() == 0));
}

SFbxRecord& FbxDocumentEdit::Section(std::string_view name)
{
    return Part(m_document.Root(), name);
}

FbxDocumentEdit::FbxDocumentEdit(FbxDocument& document)
    : m_document(document),
      m_bNamed(document.GetVersion() < 7000),
      m_objectsRecord(Section("Objects")),
      m_connectionsRecord(Section("Connections")),
      m_objects(m_objectsRecord),
      m_connections(m_connectionsRecord)
{
    for (SFbxRecord* p = m_objectsRecord.pChild; p; p = p->pNext)
    {
        m_ids.insert(IdOf(*p));
        if (!p->Is("Model"))
            continue;
        m_names.push_back(NameOf(*p));
        m_nodes[m_names.back()].push_back(p);
        m_nodesById.try_emplace(IdOf(*p), p);
    }
    for (const SFbxRecord* p = m_connectionsRecord.pChild; p; p = p->pNext)
    {
        const int64_t nSource = m_bNamed ? IdOf(p->Text(1)) : p->Int(1);
        const int64_t nTarget = m_bNamed ? IdOf(p->Text(2)) : p->Int(2);
        m_ids.insert({nSource, nTarget});
        const auto child = m_nodesById.find(nSource);
        if (p->Text(0) == "OO" && child != m_nodesById.end())
            m_children[nTarget].push_back(child->second);
    }
}

int64_t FbxDocumentEdit::IdOf(std::string_view wholeName) const
{
    return m_idsByName.try_emplace(std::string(wholeName), static_cast<int64_t>(m_idsByName.size())).first->second;
}

std::string FbxDocumentEdit::NameOf(const SFbxRecord& node) const
{
    return std::string(FbxSplitName(node.Text(m_bNamed ? 0 : 1)).name);
}

SFbxRecord* FbxDocumentEdit::FindNode(std::string_view name) const
{
    const auto found = m_nodes.find(std::string(name));
    return found != m_nodes.end() ? found->second.front() : nullptr;
}

size_t FbxDocumentEdit::CountNodes(std::string_view name) const
{
    const auto found = m_nodes.find(std::string(name));
    return found != m_nodes.end() ? found->second.size() : 0;
}

std::string FbxDocumentEdit::NearestNode(std::string_view name) const
{
    const std::string sWanted = Plain(name);
    size_t nNearest = sWanted.size() / 3 + 1;
    std::string sNearest;
    for (const std::string& sName : m_names)
    {
        const size_t nDistance = Distance(sWanted, Plain(sName), nNearest - 1);
        if (nDistance < nNearest)
        {
            nNearest = nDistance;
            sNearest = sName;
            if (nNearest == 0)
                break;
        }
    }
    return sNearest;
}

std::vector<SFbxRecord*> FbxDocumentEdit::Children(const SFbxRecord& node) const
{
    const auto found = m_children.find(IdOf(node));
    return found != m_children.end() ? found->second : std::vector<SFbxRecord*>();
}

const SFbxRecord* FbxDocumentEdit::FindProperty(const SFbxRecord& object, std::string_view name) const
{
    const SFbxRecord* pProperties = PropertiesOf(object);
    for (const SFbxRecord* p = pProperties ? pProperties->pChild : nullptr; p; p = p->pNext)
        if (EqualsIgnoringCase(p->Text(0), name))
            return p;
    return nullptr;
}

bool FbxDocumentEdit::IsTrue(const SFbxRecord& object, std::string_view name) const
{
    const SFbxRecord* pProperty = FindProperty(object, name);
    return pProperty != nullptr && pProperty->Int(m_bNamed ? 3 : 4) != 0;
}

void FbxDocumentEdit::SetProperty(SFbxRecord& object, std::string_view name, std::string_view typeName,
                                  std::string_view label, std::string_view flags, const std::vector<SFbxValue>& values)
{
    SFbxRecord& properties = Part(object, PropertiesName());
    SFbxRecord* pRecord = properties.pChild;
    while (pRecord && !EqualsIgnoringCase(pRecord->Text(0), name))
        pRecord = pRecord->pNext;
    if (!pRecord)
        pRecord = FbxRecordList(properties).Append(m_document.NewRecord(m_bNamed ? "Property" : "P"));
    std::vector<SFbxValue> all{m_document.Text(name), m_document.Text(typeName)};
    if (!m_bNamed)
        all.push_back(m_document.Text(label));
    all.push_back(m_document.Text(flags));
    all.insert(all.end(), values.begin(), values.end());
    m_document.SetValues(*pRecord, all);
}

bool FbxDocumentEdit::RemoveProperty(SFbxRecord& object, std::string_view name)
{
    SFbxRecord* pProperties = PropertiesOf(object);
    bool bRemoved = false;
    for (SFbxRecord** pp = pProperties ? &pProperties->pChild : nullptr; pp && *pp;)
    {
        if (EqualsIgnoringCase((*pp)->Text(0), name))
        {
            *pp = (*pp)->pNext;
            bRemoved = true;
        }
        else
            pp = &(*pp)->pNext;
    }
    return bRemoved;
}

int64_t FbxDocumentEdit::NewId()
{
    while (!m_ids.insert(m_nNextId).second)
        ++m_nNextId;
    return m_nNextId;
}

void FbxDocumentEdit::Connect(const SFbxValue& source, const SFbxValue& target)
{
    m_connections.Append(m_document.NewRecord(m_bNamed ? "Connect" : "C", {m_document.Text("OO"), source, target}));
}

/// `pId` is null where names do.
SFbxRecord* FbxDocumentEdit::NewNode(const SFbxValue* pId, std::string_view name)
{
    SFbxRecord* pNode = m_document.NewRecord("Model", {}, true);
    std::vector<SFbxValue> values{m_document.Name(name, "Model"), m_document.Text("Null")};
    if (pId)
        values.insert(values.begin(), *pId);
    m_document.SetValues(*pNode, values);
    FbxRecordList parts(*pNode);
    parts.Append(m_document.NewRecord("Version", {FbxDocument::Int(232)}));
    parts.Append(m_document.NewRecord(PropertiesName(), {}, true));
    parts.Append(m_document.NewRecord("Shading", {FbxDocument::Flag(true)}));
    parts.Append(m_document.NewRecord("Culling", {m_document.Text("CullingOff")}));
    if (m_bNamed)
        parts.Append(m_document.NewRecord("TypeFlags", {m_document.Text("Null")}));
    return pNode;
}

SFbxRecord* FbxDocumentEdit::AddNull(SFbxRecord& parent, std::string_view name)
{
    SFbxRecord* pNode = nullptr;
    if (m_bNamed)
    {
        pNode = m_objects.Append(NewNode(nullptr, name));
        Connect(pNode->pValues[0], *parent.Value(0));
    }
    else
    {
        const SFbxValue node = FbxDocument::Long(NewId());
        const SFbxValue attribute = FbxDocument::Long(NewId());
        SFbxRecord* pAttribute = m_objects.Append(m_document.NewRecord(
            "NodeAttribute", {attribute, m_document.Name(name, "NodeAttribute"), m_document.Text("Null")}, true));
        pAttribute->pChild = m_document.NewRecord("TypeFlags", {m_document.Text("Null")});
        pNode = m_objects.Append(NewNode(&node, name));
        Connect(node, *parent.Value(0));
        Connect(attribute, node);
    }
    m_names.emplace_back(name);
    m_nodes[m_names.back()].push_back(pNode);
    m_nodesById.emplace(IdOf(*pNode), pNode);
    m_children[IdOf(parent)].push_back(pNode);
    ++m_nAdded;
    return pNode;
}

std::vector<std::string> FbxDocumentEdit::StackNames() const
{
    const SFbxRecord* pTakes = m_document.Root().Find("Takes");
    const SFbxRecord* pList = m_bNamed ? pTakes : &m_objectsRecord;
    std::vector<std::string> names;
    for (const SFbxRecord* p = pList ? pList->pChild : nullptr; p; p = p->pNext)
        if (p->Is(m_bNamed ? "Take" : "AnimationStack"))
            names.push_back(m_bNamed ? std::string(p->Text(0)) : NameOf(*p));
    return names;
}

void FbxDocumentEdit::SetCurrentStack(std::string_view name)
{
    const SFbxValue value = m_document.Text(name);
    if (!m_bNamed)
    {
        SFbxRecord& document = Part(Section("Documents"), "Document",
                                    {FbxDocument::Long(NewId()), m_document.Text(""), m_document.Text("Scene")});
        SetProperty(document, "ActiveAnimStackName", "KString", "", "", {value});
        // Older readers look here.
        if (Find(m_document.Root(), "Takes") == nullptr)
            return;
    }
    m_document.SetValues(Part(Section("Takes"), "Current", {value}), {value});
}

void FbxDocumentEdit::CountUp(SFbxRecord& definitions, std::string_view type, int32_t nAdded)
{
    SFbxRecord* pType = nullptr;
    for (SFbxRecord* p = definitions.pChild; p && !pType; p = p->pNext)
        if (p->Is("ObjectType") && p->Text(0) == type)
            pType = p;
    if (!pType)
        pType = FbxRecordList(definitions).Append(m_document.NewRecord("ObjectType", {m_document.Text(type)}, true));
    SFbxRecord* pCount = Find(*pType, "Count");
    if (!pCount)
        pCount = FbxRecordList(*pType).Append(m_document.NewRecord("Count", {FbxDocument::Int(0)}));
    const int64_t nCount = std::clamp<int64_t>(pCount->Int(0), 0, INT32_MAX / 2);
    m_document.SetValues(*pCount, {FbxDocument::Int(static_cast<int32_t>(nCount) + nAdded)});
}

void FbxDocumentEdit::Finish()
{
    SFbxRecord* pDefinitions = m_nAdded > 0 ? Find(m_document.Root(), "Definitions") : nullptr;
    if (!pDefinitions)
        return;
    if (SFbxRecord* pCount = Find(*pDefinitions, "Count"))
    {
        const int64_t nCount = std::clamp<int64_t>(pCount->Int(0), 0, INT32_MAX / 2);
        m_document.SetValues(*pCount, {FbxDocument::Int(static_cast<int32_t>(nCount) + (m_bNamed ? 1 : 2) * m_nAdded)});
    }
    CountUp(*pDefinitions, "Model", m_nAdded);
    if (!m_bNamed)
        CountUp(*pDefinitions, "NodeAttribute", m_nAdded);
    m_nAdded = 0;
}
