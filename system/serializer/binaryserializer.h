#pragma once

#include "base/misc/endian.h"
#include "system/io/streams.h"

/// Writes reflected objects for a target's byte order. The same object gives the same bytes, whatever its history.
class Z_EXPORT IBinarySerializer : public IComponentInterface
{
public:
    /// False, and nothing written, when the object holds what can't be serialised: a type without a descriptor, nesting
    /// beyond SERIALIZED_MAX_DEPTH, or 4 GB and more.
    virtual bool Serialize(const ZObjectRef& object) = 0;
};
Z_TYPE_NAME(IBinarySerializer, "IBinarySerializer");
Z_TYPE_NAME(EEndian, "EEndian");

/// Resolves fields whose stored form is not their value.
class Z_EXPORT ICustomDeserializer
{
public:
    /// True when the field is of a type handled here; fills the slot from what the file holds.
    virtual bool Deserialize(STypeID* pFieldType, uint64_t nStored, void* pSlot) = 0;

protected:
    ~ICustomDeserializer() = default;
};

/// Turns stored type names into identities. Needed when the data hold types or variants.
class Z_EXPORT ZTypeIDCustomDeserializer final : public ICustomDeserializer
{
public:
    bool Deserialize(STypeID* pFieldType, uint64_t nStored, void* pSlot) override;
};

/// Reads back what IBinarySerializer wrote, in either byte order. Input is not trusted: every offset, count and nesting
/// is checked against the block before it is used.
class Z_EXPORT ZBinaryDeserializer : public IComponentInterface
{
public:
    /// Reads the head. The stream must outlive the calls below and stand on the first serialised byte.
    virtual bool SetInputStream(IInputStream* pStream) = 0;
    virtual size_t BytesNeededForDeserialization() const = 0;
    virtual size_t RequiredAlignment() const = 0;
    /// What the block will be; null when this process knows no such type.
    virtual STypeID* RootType() const = 0;
    /// Builds the object inside the block, with pointers into the block. It is used in place and never destroyed: one
    /// free of the block ends it.
    virtual bool DeserializeInto(void* pBlock) = 0;
    /// Not owned.
    virtual void RegisterCustomDeserializer(ICustomDeserializer* pCustom) = 0;
    /// Why the last call failed.
    virtual const ZString& LastError() const = 0;
};
Z_TYPE_NAME(ZBinaryDeserializer, "ZBinaryDeserializer");

constexpr const char BINARY_SERIALIZER[] = "System.Serializer.BinarySerializer";     ///< IOutputStream*, EEndian
constexpr const char BINARY_DESERIALIZER[] = "System.Serializer.BinaryDeserializer"; ///< no arguments

/// Registers this library's module with the component manager; the first call alone does.
Z_EXPORT void ImportSystemSerializerModule();
