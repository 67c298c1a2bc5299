// Any bytes behind a header: a packed animation or rig reads, or is refused with a reason; one that reads and calls
// itself consistent can be decoded frame by frame.
#include "resource/_shared/resourceheader.h"
#include "system/animation/animationmodule.h"
#include "system/animation/animationresourcedata.h"
#include "system/animation/animationsampler.h"
#include "system/serializer/deserializedblock.h"
#include "tests/support/memorystreams.h"
#include "tests/system/animation/testclip.h"

#include <algorithm>
#include <cstdlib>

namespace
{

template <class T, class TUse>
void ReadAs(TArrayRef<const uint8_t> bytes, EEndian eEndian, TUse use)
{
    const auto stream = OpenBytes(bytes);
    ZResourceHeader header;
    TDeserializedBlock<T> block;
    if (!header.Read(stream.Get(), eEndian))
        return;
    if (block.Read(stream.Get(), true))
        use(*block.Get());
    else if (block.Error().IsEmpty())
        std::abort();
}

void Decode(const SystemAnimation::SAnimationResourceData& data, EEndian eEndian)
{
    static const ZAnimationRig s_rig = MakeRig(std::vector<int>(128, -1));
    ZString why;
    const auto pDescriptor = ZAnimPoseDescriptor::Create(s_rig);
    const auto pSampler = ZAnimationSampler::Create(data, eEndian, pDescriptor, why);
    if (!pSampler)
    {
        if (why.IsEmpty())
            std::abort();
        return;
    }
    const auto pBuffer = ZAnimPoseBuffer::Create(pDescriptor);
    for (uint32_t nFrame = 0; nFrame < std::min(data.frameCount, 16u); ++nFrame)
    {
        pSampler->Sample(nFrame, *pBuffer);
        pBuffer->ToCharacterSpace();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    ImportSystemIOModule();
    ImportSystemSerializerModule();
    ImportSystemAnimationModule();
    const TArrayRef<const uint8_t> bytes(pData, nSize);
    for (const EEndian eEndian : {eEndian_Little, eEndian_Big})
    {
        ReadAs<SystemAnimation::SAnimationResourceData>(
            bytes, eEndian, [eEndian](const SystemAnimation::SAnimationResourceData& data) { Decode(data, eEndian); });
        ReadAs<ZAnimationRig>(bytes, eEndian,
                              [](const ZAnimationRig& rig)
                              {
                                  ZString why;
                                  if (rig.IsConsistent(why))
                                      ZAnimPoseBuffer::Create(ZAnimPoseDescriptor::Create(rig))->ToCharacterSpace();
                              });
    }
    return 0;
}
