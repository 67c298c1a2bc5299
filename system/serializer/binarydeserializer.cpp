#include "system/serializer/binarydeserializerimpl.h"

#include "base/typeinfo/zvariant.h"

#include <bit>

bool ZTypeIDCustomDeserializer::Deserialize(STypeID* pFieldType, uint64_t nStored, void* pSlot)
{
    if (pFieldType != GetTypeID<STypeID*>())
        return false;
    STypeID* pTypeID = nStored <= UINT32_MAX ? FindTypeIDByHash(static_cast<uint32_t>(nStored)) : nullptr;
    if (pTypeID == nullptr)
        return false;
    std::memcpy(pSlot, &pTypeID, sizeof pTypeID);
    return true;
}

bool ZBinaryDeserializerImpl::Fail(const char* szWhy)
{
    m_sLastError.GetCStringCopy(szWhy);
    return false;
}

bool ZBinaryDeserializerImpl::SetInputStream(IInputStream* pStream)
{
    m_pStream = nullptr;
    m_head = {};
    SSerializedHead head;
    if (pStream == nullptr || pStream->Read(&head, sizeof head) != sizeof head)
        return Fail("the data end within their head");
    m_eEndian = NATIVE_ENDIAN;
    if (head.nMagic == SwapBytes(SERIALIZED_MAGIC))
    {
        m_eEndian = NATIVE_ENDIAN == eEndian_Little ? eEndian_Big : eEndian_Little;
        SwapNumbers(&head, sizeof(uint32_t), sizeof head / sizeof(uint32_t));
    }
    if (head.nMagic != SERIALIZED_MAGIC)
        return Fail("these are no serialised data");
    if (head.nVersion != SERIALIZED_VERSION)
        return Fail("the data are of another version");
    if (!std::has_single_bit(head.nAlignment) || head.nAlignment > SERIALIZED_MAX_ALIGNMENT)
        return Fail("the alignment is no power of two within bounds");
    if (head.nBlockSize > pStream->GetSize())
        return Fail("the block is longer than the file");
    m_pRootType = FindTypeIDByHash(head.nRootTypeHash);
    const IType* pType = ZTypeRegistry::GetType(m_pRootType);
    if (pType == nullptr)
        return Fail("the data are of a type that is not known here");
    if (head.nBlockSize < pType->Size() || head.nAlignment < pType->Alignment())
        return Fail("the block is too small for its type");
    m_head = head;
    m_pStream = pStream;
    return true;
}

bool ZBinaryDeserializerImpl::DeserializeInto(void* pBlock)
{
    if (m_pStream == nullptr)
        return Fail("there is no stream to read from");
    m_pBlock = static_cast<uint8_t*>(pBlock);
    if (m_pStream->Read(m_pBlock, m_head.nBlockSize) != m_head.nBlockSize)
        return Fail("the data end within their block");
    const IType& type = *ZTypeRegistry::GetType(m_pRootType);
    m_nClaimed = type.Size();
    return FixElements(type, 0, 1, 0);
}

template <class T>
T ZBinaryDeserializerImpl::SwapInPlace(size_t nOffset)
{
    const T nValue = LoadEndian<T>(m_pBlock + nOffset, m_eEndian);
    std::memcpy(m_pBlock + nOffset, &nValue, sizeof nValue);
    return nValue;
}

bool ZBinaryDeserializerImpl::ClaimTarget(size_t nField, uint64_t nSize, size_t nAlignment, size_t& nTarget)
{
    const uint64_t nOffset = LoadEndian<uint64_t>(m_pBlock + nField, m_eEndian);
    if (nOffset < m_nClaimed || nOffset > m_head.nBlockSize || nSize > m_head.nBlockSize - nOffset)
        return Fail("a pointer leads outside the block or into another's data");
    if (nAlignment > m_head.nAlignment || nOffset % nAlignment != 0)
        return Fail("a pointer leads to an address that its type does not allow");
    nTarget = nOffset;
    m_nClaimed = nOffset + nSize;
    uint8_t* const pTarget = m_pBlock + nTarget;
    static_assert(sizeof pTarget == sizeof(uint64_t));
    std::memcpy(m_pBlock + nField, &pTarget, sizeof pTarget);
    return true;
}

bool ZBinaryDeserializerImpl::FixElements(const IType& type, size_t nOffset, size_t nCount, int nDepth)
{
    if (type.Kind() == ETypeKind::eScalar)
    {
        if (m_eEndian != NATIVE_ENDIAN)
            SwapNumbers(m_pBlock + nOffset, type.ScalarWidth(), nCount * type.Size() / type.ScalarWidth());
        // A bool that is neither 0 nor 1 is undefined to every later reader.
        if (type.GetID() == GetTypeID<bool>())
            for (size_t i = 0; i < nCount; ++i)
                if (m_pBlock[nOffset + i] > 1)
                    return Fail("a boolean is neither true nor false");
        return true;
    }
    for (size_t i = 0; i < nCount; ++i, nOffset += type.Size())
        if (!FixOne(type, nOffset, nDepth))
            return false;
    return true;
}

bool ZBinaryDeserializerImpl::FixOne(const IType& type, size_t nOffset, int nDepth)
{
    if (nDepth >= SERIALIZED_MAX_DEPTH)
        return Fail("values are nested too deep");
    switch (type.Kind())
    {
    case ETypeKind::eString:
        return FixString(nOffset);
    case ETypeKind::eArray:
        return FixArray(type, nOffset, nDepth);
    case ETypeKind::eVariant:
        return FixVariant(nOffset, nDepth);
    case ETypeKind::eTypeRef:
        return FixType(nOffset);
    case ETypeKind::eRecord:
        for (const STypeField* pField = type.FieldsBegin(); pField != type.FieldsEnd(); ++pField)
        {
            const IType* pFieldType = ZTypeRegistry::GetType(pField->m_pTypeID);
            if (pFieldType == nullptr)
                return Fail("a field is of a type that is not known here");
            if (!FixElements(*pFieldType, nOffset + pField->m_nOffset, 1, nDepth + 1))
                return false;
        }
        return true;
    default:
        return Fail("a field is of a type that can't be serialised");
    }
}

bool ZBinaryDeserializerImpl::FixString(size_t nOffset)
{
    const auto nWord = SwapInPlace<uint32_t>(nOffset + 8);
    const uint32_t nLength = nWord & ~ZString::BORROWED_BIT;
    if (nWord == nLength || SwapInPlace<uint32_t>(nOffset + 12) != 0)
        return Fail("a text claims to own its memory");
    if (nLength == 0)
    {
        std::memset(m_pBlock + nOffset, 0, sizeof(uint64_t));
        return true;
    }
    size_t nTarget;
    if (!ClaimTarget(nOffset, static_cast<uint64_t>(nLength) + 1, 1, nTarget))
        return false;
    if (m_pBlock[nTarget + nLength] != 0)
        return Fail("a text has no end");
    return true;
}

bool ZBinaryDeserializerImpl::FixArray(const IType& type, size_t nOffset, int nDepth)
{
    const IType* pElement = ZTypeRegistry::GetType(type.ElementType());
    if (pElement == nullptr)
        return Fail("an array is of a type that is not known here");
    const auto nCount = SwapInPlace<uint32_t>(nOffset + 8);
    const auto nCapacity = SwapInPlace<uint32_t>(nOffset + 12);
    const uint64_t nBytes = static_cast<uint64_t>(nCount) * pElement->Size();
    if ((nCapacity & TArray<int>::INLINE_BIT) != 0)
    {
        if (pElement->Kind() != ETypeKind::eScalar || nBytes > sizeof(uint64_t))
            return Fail("an array claims to hold more than its slot does");
        return FixElements(*pElement, nOffset, nCount, nDepth + 1);
    }
    if (nCapacity != 0)
        return Fail("an array claims to own its memory");
    if (nCount == 0)
    {
        std::memset(m_pBlock + nOffset, 0, sizeof(uint64_t));
        return true;
    }
    size_t nTarget;
    return ClaimTarget(nOffset, nBytes, pElement->Alignment(), nTarget) &&
           FixElements(*pElement, nTarget, nCount, nDepth + 1);
}

bool ZBinaryDeserializerImpl::FixVariant(size_t nOffset, int nDepth)
{
    if (!FixType(nOffset + 8))
        return false;
    STypeID* pTypeID;
    std::memcpy(&pTypeID, m_pBlock + nOffset + 8, sizeof pTypeID);
    if (pTypeID == nullptr)
    {
        std::memset(m_pBlock + nOffset, 0, sizeof(uint64_t));
        return true;
    }
    const IType* pType = ZTypeRegistry::GetType(pTypeID);
    if (pType == nullptr)
        return Fail("a variant is of a type that is not known here");
    if (ZVariant::IsStoredInside(*pType))
        return FixElements(*pType, nOffset, 1, nDepth + 1);
    size_t nTarget;
    return ClaimTarget(nOffset, pType->Size(), pType->Alignment(), nTarget) &&
           FixElements(*pType, nTarget, 1, nDepth + 1);
}

bool ZBinaryDeserializerImpl::FixType(size_t nOffset)
{
    const uint64_t nStored = LoadEndian<uint64_t>(m_pBlock + nOffset, m_eEndian);
    std::memset(m_pBlock + nOffset, 0, sizeof nStored);
    if (nStored == 0)
        return true;
    for (ICustomDeserializer* pCustom : m_customs)
        if (pCustom->Deserialize(GetTypeID<STypeID*>(), nStored, m_pBlock + nOffset))
            return true;
    return Fail(m_customs.IsEmpty() ? "the data name types, and no deserializer for types is registered"
                                    : "the data name a type that is not known here");
}
