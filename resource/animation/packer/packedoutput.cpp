#include "resource/animation/packer/packedoutput.h"

namespace ResourceAnimation
{

bool WriteHeaderAndBody(IOutputStream* pStream, const ZResourceHeader& header, EEndian eEndian,
                        TArrayRef<const uint8_t> bytes)
{
    return header.Write(pStream, eEndian) && pStream->Write(bytes.GetStart(), bytes.Size()) == bytes.Size();
}

void WriteResource(IOutputStream* pStream, uint32_t nCode, const ZString& platform, EEndian eEndian,
                   TArrayRef<const ZResourceID> references, TArrayRef<const uint8_t> bytes)
{
    ZResourceHeader header(nCode, platform);
    for (const ZResourceID& reference : references)
        header.AddReference(reference, REFERENCE_FLAGS);
    header.SetSizes(bytes.Size(), bytes.Size(), 0);
    if (!WriteHeaderAndBody(pStream, header, eEndian, bytes))
        throw ZAnimationPackerException("Failed to write the packed resource.");
}

} // namespace ResourceAnimation
