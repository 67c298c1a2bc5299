#include "resource/animation/packer/packedoutput.h"

namespace ResourceAnimation
{

void WriteResource(IOutputStream* pStream, uint32_t nCode, const ZString& platform, EEndian eEndian,
                   TArrayRef<const ZResourceID> references, TArrayRef<const uint8_t> bytes)
{
    ZResourceHeader header(nCode, platform);
    for (const ZResourceID& reference : references)
        header.AddReference(reference, REFERENCE_FLAGS);
    header.SetSizes(bytes.Size(), bytes.Size(), 0);
    if (!header.Write(pStream, eEndian) || pStream->Write(bytes.GetStart(), bytes.Size()) != bytes.Size())
        throw ZAnimationPackerException("Failed to write the packed resource.");
}

} // namespace ResourceAnimation
