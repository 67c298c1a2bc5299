#pragma once

#include "resource/animation/import/hierarchy.h"
#include "resource/animation/packer/packedoutput.h"
#include "system/animation/animationmodule.h"
#include "system/animation/animationrig.h"
#include "tests/support/packerhost.h"

#include <initializer_list>

/// One bone of a small rig: name, parent (-1: a root), x of its translation.
struct STestBone
{
    const char* szName;
    int nParent;
    float x = 0.0f;
};

inline ZAnimationRig MakeRig(std::initializer_list<STestBone> bones, int nTrajectory = -1)
{
    TArray<SBoneId> roots, parents;
    TArray<uint32_t> uids;
    TArray<SQV> bind;
    TArray<ZString> names;
    for (const STestBone& bone : bones)
    {
        if (bone.nParent < 0)
            roots.Add(SBoneId(names.Size()));
        parents.Add(SBoneId(bone.nParent));
        names.Add(ZString::ReferenceCString(bone.szName));
        uids.Add(ResourceAnimation::Import::BoneUid(names.Last()));
        SQV transform;
        transform.translation.x = bone.x;
        bind.Add(transform);
    }
    return {SBoneId(nTrajectory), roots.Ref(), parents.Ref(), uids.Ref(), bind.Ref(), names.Ref()};
}

/// Puts a packed rig where LoadRig finds it.
inline void AddPackedRig(ZPackerHost& host, const ZResourceID& id, const ZAnimationRig& rig)
{
    TArray<uint8_t> bytes;
    TArray<uint8_t>* pBytes = &bytes;
    const TComponentScope<IOutputStream> stream(CreateComponent<IOutputStream>(MEMORY_OUTPUT_STREAM, pBytes));
    ResourceAnimation::WriteResource(stream.Get(), RESOURCE_CODE_RIG, "pc", eEndian_Little, {},
                                     SerializeObject(rig, eEndian_Little).Ref());
    host.Database().AddSource(id, bytes);
}

/// The rig in a packed resource; false when there is none.
inline bool ReadPackedRig(ZPackerHost& host, const ZResourceID& id, EEndian eEndian, ZAnimationRig& rig)
{
    const TArray<uint8_t> bytes = host.Database().Output(id);
    const TArrayRef<const uint8_t> ref = bytes.Ref();
    const TComponentScope<IInputStream> stream(CreateComponent<IInputStream>(MEMORY_INPUT_STREAM, ref));
    ZResourceHeader header;
    TDeserializedBlock<ZAnimationRig> block;
    if (!header.Read(stream.Get(), eEndian) || !(header.Type() == "RRTY") || !header.References().IsEmpty() ||
        header.SecondSize() != header.DataSize() || !block.Read(stream.Get(), false))
        return false;
    rig = *block.Get();
    return true;
}
