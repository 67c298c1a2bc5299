#include "system/animation/animationrig.h"

SBoneId ZAnimationRig::BoneIdByUid(uint32_t uid) const
{
    for (uint32_t nBone = 0; nBone < m_uniqueIds.Size() && nBone < SBoneId::INVALID_ID; ++nBone)
        if (m_uniqueIds.GetStart()[nBone] == uid)
            return SBoneId(nBone);
    return SBoneId();
}

bool ZAnimationRig::IsConsistent(ZString& why) const
{
    const uint32_t nBones = m_uniqueIds.Size();
    const struct
    {
        const char* szWhat;
        uint32_t nSize;
    } arrays[] = {{"parents", m_parents.Size()}, {"bind poses", m_bindPose.Size()}, {"names", m_names.Size()}};
    for (const auto& array : arrays)
    {
        if (array.nSize != nBones)
        {
            why = ZString::Format("the rig has {0} unique ids, but {1} {2}", nBones, array.nSize, array.szWhat);
            return false;
        }
    }
    if (nBones > SBoneId::INVALID_ID)
    {
        why = ZString::Format("the rig has {0} bones, more than a bone index can count", nBones);
        return false;
    }
    if (m_trajectoryIndex.IsValid() && m_trajectoryIndex >= nBones)
    {
        why = ZString::Format("the trajectory bone is bone {0} of {1}", m_trajectoryIndex.m_uiId, nBones);
        return false;
    }
    for (const SBoneId root : m_rootIndices)
    {
        if (root >= nBones)
        {
            why = ZString::Format("a root is bone {0} of {1}", root.m_uiId, nBones);
            return false;
        }
    }
    for (uint32_t nBone = 0; nBone < nBones; ++nBone)
    {
        const SBoneId parent = m_parents[nBone];
        if (parent.IsValid() && parent >= nBones)
        {
            why = ZString::Format("the parent of bone {0} is bone {1} of {2}", nBone, parent.m_uiId, nBones);
            return false;
        }
    }
    // Walk up from every bone until a bone that an earlier walk has met; meeting one of this walk closes a ring.
    TArray<uint32_t> walkOf;
    walkOf.Resize(nBones);
    for (uint32_t nBone = 0; nBone < nBones; ++nBone)
    {
        uint32_t nAt = nBone;
        while (nAt != SBoneId::INVALID_ID && walkOf[nAt] == 0)
        {
            walkOf[nAt] = nBone + 1;
            nAt = m_parents[nAt];
        }
        if (nAt != SBoneId::INVALID_ID && walkOf[nAt] == nBone + 1)
        {
            why = ZString::Format("bone {0} is its own ancestor", nAt);
            return false;
        }
    }
    return true;
}
