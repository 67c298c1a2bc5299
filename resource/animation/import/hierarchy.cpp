#include "resource/animation/import/hierarchy.h"

#include "resource/animation/frame/animationexception.h"

#include <cstdio>
#include <fstream>

namespace ResourceAnimation::Import
{

uint32_t BoneUid(const ZString& name)
{
    return static_cast<unsigned int>(static_cast<const ZHashedString&>(ZCaseInsensitiveHashedString(name)));
}

ZBone::~ZBone()
{
    TArray<TSharedPtr<ZBone>> doomed = std::move(m_children);
    while (!doomed.IsEmpty())
    {
        const TSharedPtr<ZBone> pBone = std::move(doomed.Last());
        doomed.RemoveAt(doomed.Size() - 1);
        if (pBone.UseCount() != 1)
            continue;
        for (TSharedPtr<ZBone>& pChild : pBone->m_children)
            doomed.Add(std::move(pChild));
        pBone->m_children.Clear();
    }
}

void ZBone::RemoveChild(const TSharedPtr<ZBone>& pBone)
{
    for (uint32_t i = 0; i < m_children.Size(); ++i)
        if (m_children[i] == pBone)
            return m_children.RemoveAt(i);
}

ZBoneHierarchy::ZBoneHierarchy(const ZString& name, const ZString& trajectoryName,
                               TArrayRef<const TSharedPtr<ZBone>> roots, EBoneSpace eSpace,
                               const ZMessageDelegate* pMessages)
    : m_name(name), m_trajectoryName(trajectoryName), m_eSpace(eSpace)
{
    Flatten(roots, pMessages);
    for (const TSharedPtr<ZBone>& pRoot : roots)
        m_rootIndices.Add(m_index[pRoot->Name()]);
    CheckUids();
}

void ZBoneHierarchy::Flatten(TArrayRef<const TSharedPtr<ZBone>> bones, const ZMessageDelegate* pMessages)
{
    // Depth first with a stack of our own: scenes nest as deep as somebody made them.
    struct SLevel
    {
        TArrayRef<const TSharedPtr<ZBone>> bones;
        size_t nNext;
    };
    TArray<SLevel> levels;
    levels.Add({bones, 0});
    while (!levels.IsEmpty())
    {
        SLevel& level = levels.Last();
        if (level.nNext == level.bones.Size())
        {
            levels.RemoveAt(levels.Size() - 1);
            continue;
        }
        const TSharedPtr<ZBone>& pBone = level.bones[level.nNext++];
        const ZString& name = pBone->Name();
        if (m_index.Contains(name))
        {
            const ZString message = ZString::Format("ZBoneHierarchy: found duplicate names bone while constructing the "
                                                    "bone hierarchy.\n\tDuplicate name: '{0}'",
                                                    name);
            if (pMessages == nullptr)
                throw ZAnimationPackerException(message);
            (*pMessages)(message, eMessage_Warning);
            continue;
        }
        m_index.Insert(name, m_bones.Size());
        m_bones.Add(pBone);
        const TSharedPtr<ZBone> pParent = pBone->Parent();
        ZASSERT_TEXT(pParent == nullptr || m_index.Contains(pParent->Name()),
                     "(*bone)->Parent() == nullptr || m_index.Contains((*bone)->Parent()->Name())");
        // A parent that is no member gets an entry with index 0; the scene tree's dummy root relies on it.
        m_parentIndices.Add(pParent != nullptr ? static_cast<int32_t>(m_index[pParent->Name()]) : -1);
        levels.Add({pBone->Children(), 0});
    }
}

void ZBoneHierarchy::CheckUids() const
{
    TMap<uint32_t, ZString> names;
    for (const TSharedPtr<ZBone>& pBone : m_bones)
    {
        if (!names.Insert(pBone->Uid(), pBone->Name()))
            throw ZAnimationPackerException(ZString::Format(
                "ZBoneHierarchy: Uid clash detected in bone hierarchy. \n\tClashing names are: '{0}' and "
                "'{1}'\n\twith Uid: {2}",
                *names.Find(pBone->Uid()), pBone->Name(), pBone->Uid()));
    }
}

SBoneId ZBoneHierarchy::GetBoneId(const ZString& name) const
{
    const uint32_t* pIndex = m_index.Find(name);
    return SBoneId(pIndex != nullptr ? *pIndex : SBoneId::INVALID_ID32);
}

bool ZBoneHierarchy::MakeSiblingOf(const ZString& name, const ZString& siblingName)
{
    const SBoneId boneId = GetBoneId(name);
    const SBoneId newSliblingBoneId = GetBoneId(siblingName);
    ZASSERT(!boneId.IsValid() || (boneId.IsValid() && newSliblingBoneId.IsValid()));
    if (!boneId.IsValid() || !newSliblingBoneId.IsValid())
        return true;
    const TSharedPtr<ZBone>& pBone = m_bones[boneId];
    const TSharedPtr<ZBone>& pSibling = m_bones[newSliblingBoneId];
    for (TSharedPtr<ZBone> pAbove = pSibling; pAbove; pAbove = pAbove->Parent())
        if (pAbove == pBone)
            return false;
    if (const TSharedPtr<ZBone> pParent = pBone->Parent())
        pParent->RemoveChild(pBone);
    const TSharedPtr<ZBone> pNewParent = pSibling->Parent();
    pBone->SetParent(pNewParent);
    if (pNewParent)
        pNewParent->AddChild(pBone);
    m_parentIndices[boneId] = m_parentIndices[newSliblingBoneId];
    pBone->SetTransform(pSibling->Translation(), pSibling->Rotation());
    return true;
}

TSharedPtr<ZBoneHierarchy> ZBoneHierarchy::ToSpace(EBoneSpace eTarget, bool bClearTrajectory) const
{
    if (eTarget == m_eSpace)
        return nullptr;
    const uint32_t nBones = m_bones.Size();
    TArray<TSharedPtr<ZBone>> result;
    result.Resize(nBones);
    const auto makeBone = [&](uint32_t i, const SBoneTransform& transform)
    {
        result[i] = TSharedPtr<ZBone>::Create(m_bones[i]->Name(), transform.t, transform.q, TSharedPtr<ZBone>(),
                                              TArrayRef<const TSharedPtr<ZBone>>());
    };
    const auto transformOf = [](const TSharedPtr<ZBone>& pBone) {
        return SBoneTransform{pBone->Translation(), pBone->Rotation()};
    };
    if (eTarget == eSpace_Parent)
    {
        for (uint32_t i = nBones; i-- > 0;)
        {
            SBoneTransform transform = transformOf(m_bones[i]);
            if (m_parentIndices[i] != -1)
            {
                const SBoneTransform parent = transformOf(m_bones[static_cast<size_t>(m_parentIndices[i])]);
                transform.t = Rotate(parent.q.GetConjugate(), transform.t - parent.t);
                transform.q = Normalize(Normalize(parent.q).GetConjugate() * Normalize(transform.q));
            }
            makeBone(i, transform);
        }
    }
    if (bClearTrajectory)
        result[m_index.At(m_trajectoryName)]->SetTransform(SVector3(), SQuaternion());
    if (eTarget == eSpace_Character)
    {
        for (uint32_t i = 0; i < nBones; ++i)
        {
            SBoneTransform transform = transformOf(m_bones[i]);
            if (m_parentIndices[i] != -1)
            {
                const SBoneTransform parent = transformOf(result[static_cast<size_t>(m_parentIndices[i])]);
                transform.t = Rotate(parent.q, transform.t) + parent.t;
                transform.q = Normalize(Normalize(parent.q) * Normalize(transform.q));
            }
            makeBone(i, transform);
        }
    }
    for (uint32_t i = 0; i < nBones; ++i)
    {
        if (m_parentIndices[i] == -1)
            continue;
        const TSharedPtr<ZBone>& pParent = result[static_cast<size_t>(m_parentIndices[i])];
        result[i]->SetParent(pParent);
        pParent->AddChild(result[i]);
    }
    TArray<TSharedPtr<ZBone>> roots;
    for (const uint32_t nRoot : m_rootIndices)
        roots.Add(result[nRoot]);
    return TSharedPtr<ZBoneHierarchy>::Create(m_name, m_trajectoryName, roots.Ref(), eTarget, nullptr);
}

void WriteHierarchyXml(const TSharedPtr<ZBoneHierarchy>& pHierarchy, const char* filename)
{
    ZASSERT_OR_HALT(filename != nullptr);
    std::ofstream file(filename);
    if (!file)
        return;
    file << "<Hierarchy name=\"" << pHierarchy->Name().ToCString() << "\">\n";
    for (uint32_t i = 0; i < pHierarchy->Bones().Size(); ++i)
    {
        const ZBone& bone = *pHierarchy->Bones()[i];
        char translation[200];
        std::snprintf(translation, sizeof translation, "%g, %g, %g", static_cast<double>(bone.Translation().x),
                      static_cast<double>(bone.Translation().y), static_cast<double>(bone.Translation().z));
        file << "    <Bone name=\"" << bone.Name().ToCString() << "\" Uid=\"" << bone.Uid() << "\" Index=\"" << i
             << "\" ParentIndex=\"" << pHierarchy->ParentIndices()[i] << "\">\n"
             << "        <Translation>" << translation << "</Translation>\n"
             << "        <Rotation>" << bone.Rotation().ToString().ToCString() << "</Rotation>\n"
             << "    </Bone>\n";
    }
    file << "    <Trajectory name=\"" << pHierarchy->TrajectoryName().ToCString() << "\"/>\n</Hierarchy>\n";
}

} // namespace ResourceAnimation::Import
