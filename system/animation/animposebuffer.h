#pragma once

#include "base/collections/tarray.h"
#include "base/math/quaternion.h"
#include "base/pointers/tsharedptr.h"
#include "system/animation/animationrig.h"

/// `local`, seen from `parent`, as that is seen from where `parent` is. In the runtime's sense: the rotation is child
/// times parent, and the translation turns by conj(r) v r with the parent's r. The fourth float is the child's.
Z_EXPORT SQV ToParentsSpace(const SQV& local, const SQV& parent);

/// What poses of one rig have in common: its bind pose and the order in which bones follow from their parents. Does not
/// refer to the rig. Read-only, so any number of buffers and threads may share it.
class ZAnimPoseDescriptor
{
public:
    /// One bone and the parent it hangs on; parents come first, whatever the rig's order.
    struct SStep
    {
        uint16_t m_uiBone;
        uint16_t m_uiParent; ///< SBoneId::INVALID_ID for a root
    };

    /// A rig that is not consistent fails an assertion and raises zhalt_exception: check one from a file before.
    static TSharedPtr<ZAnimPoseDescriptor> Create(const ZAnimationRig& rig)
    {
        return TSharedPtr<ZAnimPoseDescriptor>::Create(rig);
    }
    Z_EXPORT explicit ZAnimPoseDescriptor(const ZAnimationRig& rig);

    uint32_t BoneCount() const { return m_bindPose.Size(); }
    TArrayRef<const SQV> BindPose() const { return m_bindPose; }
    TArrayRef<const SStep> Steps() const { return m_steps; }

private:
    TArray<SQV> m_bindPose;
    TArray<SStep> m_steps;
};

/// One pose of a rig: a transform for each bone, seen from its parent and, once asked for, from the character.
///
/// Threads    none of its own; one thread at a time.
class ZAnimPoseBuffer
{
public:
    /// No bone is set; unset bones read as the identity.
    static TSharedPtr<ZAnimPoseBuffer> Create(const TSharedPtr<ZAnimPoseDescriptor>& descriptor)
    {
        return TSharedPtr<ZAnimPoseBuffer>::Create(descriptor);
    }
    Z_EXPORT explicit ZAnimPoseBuffer(const TSharedPtr<ZAnimPoseDescriptor>& descriptor);

    const ZAnimPoseDescriptor& Descriptor() const { return *m_descriptor; }
    uint32_t BoneCount() const { return m_local.Size(); }

    /// Sets one bone's transform as its parent sees it. The buffer is in local space from here on.
    Z_EXPORT void SetLocal(size_t nBone, const SQV& transform);
    /// Gives every bone that has not been set its bind pose.
    Z_EXPORT void CompleteWithBindPose();
    /// Forgets all bones.
    Z_EXPORT void Clear();

    /// Works out Character() from Local(), which stays. Calling it again changes nothing.
    Z_EXPORT void ToCharacterSpace();
    bool IsInCharacterSpace() const { return m_bCharacter; }

    /// In the rig's order: Character() after ToCharacterSpace(), Local() before.
    TArrayRef<const SQV> Transforms() const { return m_bCharacter ? Character() : Local(); }
    TArrayRef<const SQV> Local() const { return m_local; }
    /// Of the last ToCharacterSpace(); identities before the first.
    TArrayRef<const SQV> Character() const { return m_character; }

private:
    friend class ZAnimationSampler;

    TSharedPtr<ZAnimPoseDescriptor> m_descriptor;
    TArray<SQV> m_local;
    TArray<SQV> m_character;
    TArray<uint8_t> m_isSet;
    bool m_bComplete = false; ///< all are set, whatever m_isSet says
    bool m_bCharacter = false;
};
