#pragma once

#include "resource/_shared/resourceheader.h"
#include "resource/animation/frame/animationexception.h"
#include "system/serializer/deserializedblock.h"

namespace ResourceAnimation
{

/// The last steps of every pack: the record becomes bytes for its target, the bytes are read back and compared, and
/// only then header and body are written, with one call each.

/// ZAnimationPackerException when what a reader will get differs from the record.
template <class T>
TArray<uint8_t> SerializeAndReadBack(const T& record, EEndian eEndian, bool bHoldsTypes)
{
    TArray<uint8_t> bytes = SerializeObject(record, eEndian);
    TDeserializedBlock<T> block;
    if (!DeserializeObject(bytes.Ref(), bHoldsTypes, block) || *block.Get() != record)
        throw ZAnimationPackerException("Inconsistency detected in serialized data.");
    return bytes;
}

/// False when the header can't hold the references or the stream takes less than it is given.
bool WriteHeaderAndBody(IOutputStream* pStream, const ZResourceHeader& header, EEndian eEndian,
                        TArrayRef<const uint8_t> bytes);

/// The same behind a header of these references. First and second size are the length of the bytes, the third is 0.
/// ZAnimationPackerException instead of false.
void WriteResource(IOutputStream* pStream, uint32_t nCode, const ZString& platform, EEndian eEndian,
                   TArrayRef<const ZResourceID> references, TArrayRef<const uint8_t> bytes);

} // namespace ResourceAnimation
