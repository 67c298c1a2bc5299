#pragma once

#include "base/collections/tarray.h"
#include "base/component/componentbase.h"
#include "base/component/componentcreateinfo.h"
#include "system/serializer/binaryserializer.h"
#include "system/serializer/serializedformat.h"

class ZBinaryDeserializerImpl final : public TCountedComponent<ZBinaryDeserializerImpl, ZBinaryDeserializer>
{
public:
    explicit ZBinaryDeserializerImpl(ZComponentCreateInfo&) {}

    bool SetInputStream(IInputStream* pStream) override;
    size_t BytesNeededForDeserialization() const override { return m_head.nBlockSize; }
    size_t RequiredAlignment() const override { return m_head.nAlignment; }
    STypeID* RootType() const override { return m_pRootType; }
    bool DeserializeInto(void* pBlock) override;
    void RegisterCustomDeserializer(ICustomDeserializer* pCustom) override { m_customs.Add(pCustom); }
    const ZString& LastError() const override { return m_sLastError; }

private:
    bool Fail(const char* szWhy);

    // The walk through the block: swaps, checks and relocates in one pass.
    bool FixElements(const IType& type, size_t nOffset, size_t nCount, int nDepth);
    bool FixOne(const IType& type, size_t nOffset, int nDepth);
    bool FixString(size_t nOffset);
    bool FixArray(const IType& type, size_t nOffset, int nDepth);
    bool FixVariant(size_t nOffset, int nDepth);
    bool FixType(size_t nOffset);
    /// Takes nSize bytes at the offset that a pointer field holds, and turns the field into an address.
    bool ClaimTarget(size_t nField, uint64_t nSize, size_t nAlignment, size_t& nTarget);
    template <class T>
    T SwapInPlace(size_t nOffset);

    IInputStream* m_pStream = nullptr;
    SSerializedHead m_head{};
    EEndian m_eEndian = NATIVE_ENDIAN;
    STypeID* m_pRootType = nullptr;
    TArray<ICustomDeserializer*> m_customs;
    uint8_t* m_pBlock = nullptr;
    size_t m_nClaimed = 0; ///< what lies below has an owner already
    ZString m_sLastError;
};
