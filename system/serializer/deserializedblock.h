#pragma once

#include "base/component/componentmanager.h"
#include "base/pointers/tcomponentsharedptr.h"
#include "system/serializer/binaryserializer.h"

/// An object read in place: one block of the normal allocator that holds it with all that it points to. Ends with one
/// free; the object is never destroyed.
template <class T>
class TDeserializedBlock
{
public:
    TDeserializedBlock() = default;
    TDeserializedBlock(const TDeserializedBlock&) = delete;
    TDeserializedBlock& operator=(const TDeserializedBlock&) = delete;
    ~TDeserializedBlock() { GetNormalAllocator()->Free(m_pBlock); }

    /// From the bytes that follow on the stream. False, with Error() told, when they are no `T`.
    bool Read(IInputStream* pStream, bool bHoldsTypes)
    {
        const TComponentScope<ZBinaryDeserializer> deserializer(
            CreateComponent<ZBinaryDeserializer>(BINARY_DESERIALIZER));
        ZTypeIDCustomDeserializer types;
        if (bHoldsTypes)
            deserializer->RegisterCustomDeserializer(&types);
        if (!deserializer->SetInputStream(pStream))
            return Fail(deserializer->LastError());
        if (deserializer->RootType() != GetTypeID<T>())
            return Fail("the data are of another type");
        void* destination = GetNormalAllocator()->Allocate(deserializer->BytesNeededForDeserialization(),
                                                           deserializer->RequiredAlignment());
        if (destination == nullptr)
            return Fail("there is no memory for them");
        GetNormalAllocator()->Free(std::exchange(m_pBlock, destination));
        ZASSERT_OR_HALT_TEXT((reinterpret_cast<ptrdiff_t>(destination) &
                              static_cast<ptrdiff_t>(deserializer->RequiredAlignment() - 1)) == 0,
                             "((ptrdiff_t)destination & (binaryDeserializer->RequiredAlignment()-1)) == 0");
        m_bValid = deserializer->DeserializeInto(m_pBlock);
        return m_bValid || Fail(deserializer->LastError());
    }

    const T* Get() const { return m_bValid ? static_cast<const T*>(m_pBlock) : nullptr; }
    const ZString& Error() const { return m_sError; }

private:
    bool Fail(const ZString& why)
    {
        m_bValid = false;
        m_sError = why;
        return false;
    }

    void* m_pBlock = nullptr;
    bool m_bValid = false;
    ZString m_sError;
};

/// The serialised bytes of one object for a target; empty when it can't be serialised.
template <class T>
TArray<uint8_t> SerializeObject(const T& object, EEndian eEndian)
{
    TArray<uint8_t> bytes;
    TArray<uint8_t>* pBytes = &bytes;
    const TComponentScope<IOutputStream> stream(CreateComponent<IOutputStream>("System.IO.MemoryOutputStream", pBytes));
    const TComponentScope<IBinarySerializer> serializer(
        CreateComponent<IBinarySerializer>(BINARY_SERIALIZER, stream.Get(), eEndian));
    if (!serializer->Serialize(ZObjectRef::Of(object)))
        bytes.Clear();
    return bytes;
}

/// The reverse, from bytes in memory.
template <class T>
bool DeserializeObject(TArrayRef<const uint8_t> bytes, bool bHoldsTypes, TDeserializedBlock<T>& block)
{
    const TComponentScope<IInputStream> stream(CreateComponent<IInputStream>("System.IO.MemoryInputStream", bytes));
    return block.Read(stream.Get(), bHoldsTypes);
}
