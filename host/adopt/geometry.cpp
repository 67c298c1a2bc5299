#include "host/adopt/geometry.h"

#include "fbx/file/fbxarraybytes.h"
#include "fbx/file/fbxobjectname.h"
#include "fbx/scene/fbxmath.h"
#include "host/text/safenames.h"

#include <algorithm>
#include <cstring>
#include <set>

namespace Host
{

namespace
{

/// Behind the numbers that the document has given its own objects.
constexpr int64_t FIRST_ID = 500000000;
constexpr std::string_view KINDS[] = {"Geometry", "Deformer", "Material", "Texture", "LayeredTexture", "Video"};

bool IsCopied(const SFbxRecord& object)
{
    return std::find(std::begin(KINDS), std::end(KINDS), object.Name()) != std::end(KINDS);
}

SFbxRecord* CopyOne(FbxDocument& document, const SFbxRecord& record)
{
    SFbxRecord* pCopy = document.NewRecord(record.Name(), {}, record.bBlock);
    document.SetValues(*pCopy, std::vector<SFbxValue>(record.pValues, record.pValues + record.nValues));
    return pCopy;
}

/// With all below it; values stay where they are.
SFbxRecord* Copy(FbxDocument& document, const SFbxRecord& record)
{
    struct SOpen
    {
        const SFbxRecord* pNext;
        FbxRecordList children;
    };
    SFbxRecord* pCopy = CopyOne(document, record);
    std::vector<SOpen> open;
    if (record.pChild != nullptr)
        open.push_back({record.pChild, FbxRecordList(*pCopy)});
    while (!open.empty())
    {
        const SFbxRecord* pNext = open.back().pNext;
        if (pNext == nullptr)
        {
            open.pop_back();
            continue;
        }
        open.back().pNext = pNext->pNext;
        SFbxRecord* pChild = open.back().children.Append(CopyOne(document, *pNext));
        if (pNext->pChild != nullptr)
            open.push_back({pNext->pChild, FbxRecordList(*pChild)});
    }
    return pCopy;
}

void SetValue(FbxDocument& document, SFbxRecord& record, uint32_t nValue, const SFbxValue& value)
{
    std::vector<SFbxValue> values(record.pValues, record.pValues + record.nValues);
    values[nValue] = value;
    document.SetValues(record, values);
}

SFbxRecord& Section(FbxDocument& document, std::string_view name)
{
    SFbxRecord* p = document.Root().pChild;
    while (!p->Is(name))
        p = p->pNext;
    return *p;
}

FbxMatrix4 Scaled(const FbxVector3& s)
{
    return FbxMatrix4::FromTransform({{}, {}, s});
}

SFbxRecord* Property(FbxDocument& document, const char* szName, const FbxVector3& v)
{
    return document.NewRecord("P", {document.Text(szName), document.Text(szName), document.Text(""), document.Text("A"),
                                    FbxDocument::Double(v.x), FbxDocument::Double(v.y), FbxDocument::Double(v.z)});
}

/// Into the pipeline's axes and centimetres.
FbxMatrix4 ToWorld(const ZSourceScene& source)
{
    const FbxAxisSystem& axes = source.Axes();
    FbxMatrix4 world;
    if (axes.IsValid())
    {
        for (auto& row : world.m)
            row[0] = row[1] = row[2] = 0.0;
        world.m[axes.GetCoordAxis()][0] = axes.GetCoordSign();
        world.m[axes.GetUpAxis()][2] = axes.GetUpSign();
        world.m[axes.GetFrontAxis()][1] = -axes.GetFrontSign();
    }
    const double f = source.Unit();
    return world * Scaled({f, f, f});
}

/// Where a skin was bound: that of the bone without its scale, both in the new world.
void BindAnew(FbxDocument& document, SFbxRecord& cluster, const FbxVector3& boneScale, const FbxMatrix4& world)
{
    FbxArrayBytes arrays(1 << 20, false);
    for (SFbxRecord* p = cluster.pChild; p; p = p->pNext)
    {
        const bool bLink = p->Is("TransformLink");
        const SFbxValue* pValue = p->Value(0);
        if ((!bLink && !p->Is("Transform")) || pValue == nullptr || pValue->type != 'd' || pValue->n != 16)
            continue;
        const char* pBytes = arrays.Decode(*pValue);
        if (pBytes == nullptr)
            continue;
        FbxMatrix4 bind;
        std::memcpy(bind.m, pBytes, sizeof bind.m);
        bind = bind * world;
        if (bLink)
            bind = Scaled({1.0 / boneScale.x, 1.0 / boneScale.y, 1.0 / boneScale.z}) * bind;
        std::vector<double> numbers(&bind.m[0][0], &bind.m[0][0] + 16);
        document.SetValues(*p, {document.Doubles(numbers)});
    }
}

} // namespace

bool ZGeometry::Load(const std::string& sPath)
{
    if (!m_document.Load(sPath.c_str()) || !m_document.SetFormat(true, 7400))
    {
        m_sError = m_document.Error();
        return false;
    }
    if (m_document.Tree().bBigEndian)
    {
        m_sError = "its numbers have the other byte order";
        return false;
    }
    const SFbxRecord* pObjects = m_document.Root().Find("Objects");
    for (const SFbxRecord* p = pObjects ? pObjects->pChild : nullptr; p; p = p->pNext)
        m_objects.try_emplace(p->Int(0), p);
    const SFbxRecord* pConnections = m_document.Root().Find("Connections");
    for (const SFbxRecord* p = pConnections ? pConnections->pChild : nullptr; p; p = p->pNext)
        m_into[p->Int(2)].push_back({p->Int(1), p->Int(2), p});
    for (size_t n = 1; n < m_source.Scene().GetNodeCount(); ++n)
        m_nodes.try_emplace(m_source.Scene().GetNode(n)->GetId(), static_cast<int>(n));
    return true;
}

/// All that is connected into an object, and is to be copied with it; each once.
void ZGeometry::Collect(int64_t nObject, std::vector<int64_t>& objects) const
{
    std::set<int64_t> seen(objects.begin(), objects.end());
    std::vector<int64_t> pending{nObject};
    while (!pending.empty())
    {
        const auto links = m_into.find(pending.back());
        pending.pop_back();
        if (links == m_into.end())
            continue;
        for (const SLink& link : links->second)
        {
            const auto object = m_objects.find(link.nFrom);
            if (object == m_objects.end() || !IsCopied(*object->second) || !seen.insert(link.nFrom).second)
                continue;
            objects.push_back(link.nFrom);
            pending.push_back(link.nFrom);
        }
    }
}

int ZGeometry::NearestBone(int nMesh, const std::map<int, SBone>& bones) const
{
    const FbxNode* p = m_source.Scene().GetNode(static_cast<size_t>(nMesh));
    while (p != nullptr && !bones.contains(p->GetIndex()))
        p = p->GetParent();
    return p != nullptr ? p->GetIndex() : -1;
}

size_t ZGeometry::AddTo(FbxDocument& document, const std::map<int, SBone>& bones, bool bAll)
{
    const FbxMatrix4 world = ToWorld(m_source);
    FbxRecordList objects(Section(document, "Objects"));
    FbxRecordList connections(Section(document, "Connections"));
    ZNameSet names;
    for (const SFbxRecord* p = Section(document, "Objects").pChild; p; p = p->pNext)
        if (p->Is("Model"))
            names.Take(FbxSplitName(p->Text(1)).name);

    std::map<int64_t, int64_t> ids; // of what is copied, by its number in the source
    std::vector<int64_t> copied;
    const auto connect = [&](int64_t nFrom, int64_t nTo, const SFbxRecord* pLink)
    {
        SFbxRecord* pRecord = pLink != nullptr
                                  ? Copy(document, *pLink)
                                  : document.NewRecord("C", {document.Text("OO"), FbxDocument::Long(0), {}});
        SetValue(document, *pRecord, 1, FbxDocument::Long(nFrom));
        SetValue(document, *pRecord, 2, FbxDocument::Long(nTo));
        connections.Append(pRecord);
    };
    size_t nMeshes = 0;
    for (size_t n = 1; n < m_source.Scene().GetNodeCount(); ++n)
    {
        const FbxNode& node = *m_source.Scene().GetNode(n);
        const auto model = m_objects.find(node.GetId());
        if (model == m_objects.end() || std::string_view(node.GetTypeText()) != "Mesh" ||
            bones.contains(node.GetIndex()))
            continue;
        std::vector<int64_t> parts;
        Collect(node.GetId(), parts);
        bool bSkin = false;
        bool bOurs = bAll;
        for (const int64_t nPart : parts)
            if (const auto links = m_into.find(nPart); links != m_into.end())
                for (const SLink& link : links->second)
                    if (const auto bone = m_nodes.find(link.nFrom); bone != m_nodes.end())
                        bSkin = true, bOurs |= bones.contains(bone->second);
        const int nBone = bSkin ? -1 : NearestBone(node.GetIndex(), bones);
        if (!bOurs && nBone < 0)
            continue;

        const int64_t nId = FIRST_ID + static_cast<int64_t>(ids.size());
        ids.emplace(node.GetId(), nId);
        SFbxRecord* pModel = objects.Append(
            document.NewRecord("Model",
                               {FbxDocument::Long(nId), document.Name(names.Take(BareName(node.GetName())), "Model"),
                                document.Text("Mesh")},
                               true));
        FbxRecordList model74(*pModel);
        model74.Append(document.NewRecord("Version", {FbxDocument::Int(232)}));
        SFbxRecord* pProperties = model74.Append(document.NewRecord("Properties70", {}, true));
        FbxRecordList properties(*pProperties);
        const FbxTransform shown = node.EvaluateGlobalTransform(FbxTime::Infinite());
        SRigid place{shown.t * m_source.Unit(), shown.q.Normalized()};
        if (nBone >= 0)
            place = Relate(bones.at(nBone).world, place);
        properties.Append(Property(document, "Lcl Translation", place.t));
        properties.Append(Property(document, "Lcl Rotation", FbxToEuler(place.q, EFbxRotationOrder::eXYZ)));
        properties.Append(Property(document, "Lcl Scaling", shown.s * m_source.Unit()));
        if (const SFbxRecord* pOld = model->second->Find("Properties70"))
            for (const SFbxRecord* p = pOld->pChild; p; p = p->pNext)
                if (p->Text(0).starts_with("Geometric"))
                    properties.Append(Copy(document, *p));
        model74.Append(document.NewRecord("Shading", {FbxDocument::Flag(true)}));
        model74.Append(document.NewRecord("Culling", {document.Text("CullingOff")}));
        connect(nId, nBone >= 0 ? bones.at(nBone).nId : 0, nullptr);
        ++nMeshes;

        for (const int64_t nPart : parts)
        {
            if (!ids.emplace(nPart, FIRST_ID + static_cast<int64_t>(ids.size())).second)
                continue;
            SFbxRecord* pPart = objects.Append(Copy(document, *m_objects.at(nPart)));
            SetValue(document, *pPart, 0, FbxDocument::Long(ids.at(nPart)));
            copied.push_back(nPart);
            if (!pPart->Is("Deformer") || pPart->Text(2) != "Cluster")
                continue;
            for (const SLink& link : m_into[nPart])
                if (const auto bone = m_nodes.find(link.nFrom); bone != m_nodes.end())
                {
                    const FbxVector3 s = m_source.Scene()
                                             .GetNode(static_cast<size_t>(bone->second))
                                             ->EvaluateGlobalTransform(FbxTime::Infinite())
                                             .s;
                    BindAnew(document, *pPart, s, world);
                }
        }
    }
    // What was connected stays so; bones are those of the document.
    for (const auto& [nOld, nNew] : ids)
        if (const auto links = m_into.find(nOld); links != m_into.end())
            for (const SLink& link : links->second)
            {
                const auto part = ids.find(link.nFrom);
                const auto node = m_nodes.find(link.nFrom);
                const auto bone = node != m_nodes.end() ? bones.find(node->second) : bones.end();
                if (part != ids.end() && node == m_nodes.end())
                    connect(part->second, nNew, link.pRecord);
                else if (bone != bones.end())
                    connect(bone->second.nId, nNew, link.pRecord);
            }
    FbxRecordList definitions(Section(document, "Definitions"));
    const SFbxRecord* pOld = m_document.Root().Find("Definitions");
    for (const SFbxRecord* p = pOld ? pOld->pChild : nullptr; p; p = p->pNext)
    {
        const auto isOne = [&](int64_t nPart) { return m_objects.at(nPart)->Is(p->Text(0)); };
        const auto nCount = static_cast<int32_t>(std::count_if(copied.begin(), copied.end(), isOne));
        if (!p->Is("ObjectType") || nCount == 0)
            continue;
        SFbxRecord* pType = definitions.Append(Copy(document, *p));
        for (SFbxRecord* pCount = pType->pChild; pCount; pCount = pCount->pNext)
            if (pCount->Is("Count"))
                document.SetValues(*pCount, {FbxDocument::Int(nCount)});
    }
    return nMeshes;
}

} // namespace Host
