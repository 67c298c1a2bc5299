#pragma once

#include "base/collections/tarray.h"
#include "base/math/quaternion.h"
#include "base/misc/zstring.h"
#include "system/animation/boneid.h"

/// Skeleton of the runtime, flattened into arrays.
///
/// Shapes     parents, unique ids, bind pose and names have one length, BoneCount(). A parent may stand behind its
///            child.
/// Space      the bind pose is local to the parent, in the runtime's sense: a vector turns by conj(r) v r, so an
///            absolute rotation is child times parent (animposebuffer.h). Translations are metres.
/// Layout     the members in this order are what a packed rig holds; a deserialised block can be read as a rig in
///            place, and copied from.
/// Untrusted  a rig from a file may contradict itself: ask IsConsistent() once, before anything walks it.
class ZAnimationRig
{
public:
    ZAnimationRig() = default;
    ZAnimationRig(SBoneId trajectoryIndex, TArrayRef<const SBoneId> rootIndices, TArrayRef<const SBoneId> parents,
                  TArrayRef<const uint32_t> uniqueIds, TArrayRef<const SQV> bindPose, TArrayRef<const ZString> names)
        : m_trajectoryIndex(trajectoryIndex),
          m_rootIndices(rootIndices),
          m_parents(parents),
          m_uniqueIds(uniqueIds),
          m_bindPose(bindPose),
          m_names(names)
    {
    }
    ZAnimationRig(const ZAnimationRig&) = default;
    ZAnimationRig& operator=(const ZAnimationRig&) = default;

    /// By the values of all six members; floats as numbers, so 0 equals -0 and a NaN nothing.
    friend bool operator==(const ZAnimationRig&, const ZAnimationRig&) = default;

    uint32_t BoneCount() const { return m_uniqueIds.Size(); }
    const ZString& Name(size_t nBone) const { return m_names[nBone]; }
    TArrayRef<const ZString> Names() const { return m_names; }
    uint32_t UniqueId(size_t nBone) const { return m_uniqueIds[nBone]; }
    TArrayRef<const uint32_t> UniqueIds() const { return m_uniqueIds; }
    const SQV& Bone(size_t nBone) const { return m_bindPose[nBone]; }
    TArrayRef<const SQV> Bones() const { return m_bindPose; }
    SBoneId ParentId(size_t nBone) const { return m_parents[nBone]; }
    TArrayRef<const SBoneId> Hierarchy() const { return m_parents; }
    TArrayRef<const SBoneId> RootIndices() const { return m_rootIndices; }
    SBoneId TrajectoryIndex() const { return m_trajectoryIndex; }

    /// The first bone with this unique id; not valid when there is none.
    Z_EXPORT SBoneId BoneIdByUid(uint32_t uid) const;

    /// Whether the arrays are of one length, parents, roots and trajectory are bones of the rig, and no bone is its own
    /// ancestor. Roots need not be complete: a merged rig lists those of its first rig. `why` says what is wrong.
    Z_EXPORT bool IsConsistent(ZString& why) const;

private:
    friend void RegisterSystemAnimationTypes();

    SBoneId m_trajectoryIndex;
    TArray<SBoneId> m_rootIndices;
    TArray<SBoneId> m_parents;
    TArray<uint32_t> m_uniqueIds;
    TArray<SQV> m_bindPose;
    TArray<ZString> m_names;
};
static_assert(sizeof(ZAnimationRig) == 88, "a packed rig is read in place");
Z_TYPE_NAME(ZAnimationRig, "ZAnimationRig");
