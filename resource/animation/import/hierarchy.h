#pragma once

#include "base/collections/tmap.h"
#include "base/pointers/tsharedptr.h"
#include "resource/animation/frame/messagedelegate.h"
#include "resource/animation/import/bonetransform.h"
#include "system/animation/boneid.h"

namespace ResourceAnimation::Import
{

/// The runtime's key of a bone: hash of the name with case folded, so names that differ in case only share it.
uint32_t BoneUid(const ZString& name);

/// One named transform in a tree. Held by TSharedPtr; children are owned, the way to the parent is a weak link.
class ZBone
{
public:
    ZBone(const ZString& name, const SVector3& translation, const SQuaternion& rotation,
          const TSharedPtr<ZBone>& pParent, TArrayRef<const TSharedPtr<ZBone>> children)
        : m_name(name),
          m_translation(translation),
          m_rotation(rotation),
          m_pParent(pParent),
          m_children(children),
          m_uid(BoneUid(name))
    {
    }

    ZBone(const ZBone&) = delete;
    ZBone& operator=(const ZBone&) = delete;
    /// Takes a whole subtree down without recursion, however deep it is.
    ~ZBone();

    const ZString& Name() const { return m_name; }
    const SVector3& Translation() const { return m_translation; }
    const SQuaternion& Rotation() const { return m_rotation; }
    TSharedPtr<ZBone> Parent() const { return m_pParent.Lock(); }
    const TArray<TSharedPtr<ZBone>>& Children() const { return m_children; }
    uint32_t Uid() const { return m_uid; }

    void SetTransform(const SVector3& translation, const SQuaternion& rotation)
    {
        m_translation = translation;
        m_rotation = rotation;
    }
    void AddChild(const TSharedPtr<ZBone>& pBone) { m_children.Add(pBone); }
    void RemoveChild(const TSharedPtr<ZBone>& pBone);
    void SetParent(const TSharedPtr<ZBone>& pBone) { m_pParent = pBone; }
    void SetChildren(const TArray<TSharedPtr<ZBone>>& children) { m_children = children; }

private:
    ZString m_name;
    SVector3 m_translation;
    SQuaternion m_rotation;
    TWeakPtr<ZBone> m_pParent;
    TArray<TSharedPtr<ZBone>> m_children;
    uint32_t m_uid;
};

/// A skeleton flattened once into arrays, depth first.
///
/// Shapes     Bones() and ParentIndices() have one length; a root's parent index is -1. A parent stands before its
///            children until MakeSiblingOf() moves a bone. Subtrees are contiguous.
/// Units      translations as the tree brought them; rotations x, y, z, w, unit length, the import model's sense.
/// Ownership  bones are shared with whoever built the tree, not copied. Held by TSharedPtr.
/// Threads    built and read on one thread.
class ZBoneHierarchy
{
public:
    /// A bone whose name was met before is left out with its whole subtree: a warning through pMessages, or
    /// ZAnimationPackerException when pMessages is null. Two names with one uid always throw, because the runtime finds
    /// bones by uid and would animate the wrong one without a word.
    ZBoneHierarchy(const ZString& name, const ZString& trajectoryName, TArrayRef<const TSharedPtr<ZBone>> roots,
                   EBoneSpace eSpace, const ZMessageDelegate* pMessages);

    const ZString& Name() const { return m_name; }
    const ZString& TrajectoryName() const { return m_trajectoryName; }
    const TArray<TSharedPtr<ZBone>>& Bones() const { return m_bones; }
    const TArray<int32_t>& ParentIndices() const { return m_parentIndices; }
    const TArray<uint32_t>& RootIndices() const { return m_rootIndices; }
    EBoneSpace Space() const { return m_eSpace; }

    /// INVALID_ID when there is no bone of exactly this name.
    SBoneId GetBoneId(const ZString& name) const;

    /// Puts a bone beside another: under its parent, at its place. Nothing happens when either is absent; m_bones keeps
    /// its order, so a parent may stand behind its child afterwards. False, and nothing changed, when the bone is the
    /// other or stands above it: it would become its own ancestor.
    bool MakeSiblingOf(const ZString& name, const ZString& siblingName);

    /// New bones in the other space; null when the hierarchy is in it already: the caller keeps the one it has.
    /// Clearing the trajectory goes with eSpace_Parent only and raises zhalt_exception when there is no such bone.
    TSharedPtr<ZBoneHierarchy> ToSpace(EBoneSpace eTarget, bool bClearTrajectory) const;

private:
    void Flatten(TArrayRef<const TSharedPtr<ZBone>> bones, const ZMessageDelegate* pMessages);
    void CheckUids() const;

    ZString m_name;
    ZString m_trajectoryName;
    TArray<uint32_t> m_rootIndices;
    TMap<ZString, uint32_t> m_index;
    TArray<TSharedPtr<ZBone>> m_bones;
    TArray<int32_t> m_parentIndices;
    EBoneSpace m_eSpace;
};

/// A diagnostic dump, one element a bone. Names are not escaped. An unwritable path writes nothing and says nothing.
void WriteHierarchyXml(const TSharedPtr<ZBoneHierarchy>& pHierarchy, const char* filename);

} // namespace ResourceAnimation::Import
