#pragma once

#include "resource/animation/packer/packedoutput.h"
#include "system/animation/animationmodule.h"
#include "tests/resource/animation/testtake.h"
#include "tests/support/memorystreams.h"
#include "tests/support/packerhost.h"

/// Puts a packed rig where LoadRig finds it.
inline void AddPackedRig(ZPackerHost& host, const ZResourceID& id, const ZAnimationRig& rig)
{
    host.Database().AddSource(id, BytesOf(
                                      [&rig](IOutputStream* pStream)
                                      {
                                          ResourceAnimation::WriteResource(pStream, RESOURCE_CODE_RIG, "pc",
                                                                           eEndian_Little, {},
                                                                           SerializeObject(rig, eEndian_Little).Ref());
                                      }));
}

/// The rig in a packed resource; false when there is none.
inline bool ReadPackedRig(ZPackerHost& host, const ZResourceID& id, EEndian eEndian, ZAnimationRig& rig)
{
    const TArray<uint8_t> bytes = host.Database().Output(id);
    const auto stream = OpenBytes(bytes.Ref());
    ZResourceHeader header;
    TDeserializedBlock<ZAnimationRig> block;
    if (!header.Read(stream.Get(), eEndian) || !(header.Type() == "RRTY") || !header.References().IsEmpty() ||
        header.SecondSize() != header.DataSize() || !block.Read(stream.Get(), false))
        return false;
    rig = *block.Get();
    return true;
}
