#include "resource/animation/packer/rigoutput.h"

#include "resource/animation/frame/platform.h"
#include "resource/animation/packer/packedoutput.h"
#include "resource/core/iresourcedatabase.h"

namespace ResourceAnimation
{

void WriteRigResource(const ZAnimationRig& rig, const ZString& platform, const ZResourceID& target, EReadBack eReadBack)
{
    const EEndian eEndian = GetPlatformClass(platform);
    if (ZString why; !rig.IsConsistent(why)) // no reader would take it
        throw ZRigPackerException(ZString::Format("The rig contradicts itself: {0}.", why));
    const TArray<uint8_t> bytes =
        eReadBack == EReadBack::eCompare ? SerializeAndReadBack(rig, eEndian, false) : SerializeObject(rig, eEndian);
    const TComponentScope<IOutputStream> stream(GetResourceDatabase()->OpenOutputStream(target));
    if (!stream || !stream->IsOpen())
        throw ZRigPackerException(ZString::Format("ERROR: Failed to create output resource: {0}", target));
    WriteResource(stream.Get(), RESOURCE_CODE_RIG, platform, eEndian, {}, bytes.Ref());
}

} // namespace ResourceAnimation
