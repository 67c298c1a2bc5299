#include "system/serializer/binaryserializerimpl.h"

#include "base/collections/tarray.h"
#include "base/typeinfo/zvariant.h"
#include "system/serializer/serializedformat.h"

#include <algorithm>

namespace
{

/// One object on its way into a block. Offsets are in the block; memory is the live object's.
class ZBlockBuilder
{
public:
    explicit ZBlockBuilder(EEndian eEndian) : m_eEndian(eEndian) {}

    bool Build(const ZObjectRef& object)
    {
        const IType* pType = ZTypeRegistry::GetType(object.GetTypeID());
        return pType != nullptr && object.Get() != nullptr && Append(*pType, object.Get(), 1) != nullptr &&
               WriteElements(*pType, 0, object.Get(), 1, 0);
    }

    const TArray<uint8_t>& Block() const { return m_block; }
    const TArray<uint32_t>& PointerFields() const { return m_pointerFields; }
    const TArray<uint32_t>& TypeFields() const { return m_typeFields; }
    uint32_t Alignment() const { return m_nAlignment; }

private:
    /// Room for nCount values, zeroed; null when the block would not fit 32 bits.
    uint8_t* Append(const IType& type, const void*, size_t nCount)
    {
        return AppendBytes(static_cast<uint64_t>(type.Size()) * nCount, type.Alignment());
    }
    uint8_t* AppendBytes(uint64_t nSize, uint32_t nAlignment)
    {
        const uint64_t nStart = (static_cast<uint64_t>(m_block.Size()) + nAlignment - 1) & ~uint64_t(nAlignment - 1);
        if (nStart + nSize >= TArray<uint8_t>::INLINE_BIT)
            return nullptr;
        m_nAlignment = std::max(m_nAlignment, nAlignment);
        const size_t nEnd = nStart + nSize;
        if (nEnd > m_block.Capacity())
            m_block.Reserve(std::max<size_t>(nEnd, size_t(m_block.Capacity()) * 3 / 2));
        m_block.Resize(nEnd);
        m_nLastStart = static_cast<uint32_t>(nStart);
        return m_block.GetStart() + nStart;
    }

    template <class T>
    void Store(uint32_t nOffset, T nValue)
    {
        StoreEndian(m_block.GetStart() + nOffset, nValue, m_eEndian);
    }
    void StorePointer(uint32_t nField, uint32_t nTarget)
    {
        Store<uint64_t>(nField, nTarget);
        m_pointerFields.Add(nField);
    }
    void StoreType(uint32_t nField, const STypeID* pTypeID)
    {
        Store<uint64_t>(nField, pTypeID != nullptr ? pTypeID->m_nHash : 0);
        m_typeFields.Add(nField);
    }

    bool WriteElements(const IType& type, uint32_t nOffset, const void* pFrom, size_t nCount, int nDepth)
    {
        if (type.Kind() == ETypeKind::eScalar)
        {
            std::memcpy(m_block.GetStart() + nOffset, pFrom, nCount * type.Size());
            if (m_eEndian != NATIVE_ENDIAN)
                SwapNumbers(m_block.GetStart() + nOffset, type.ScalarWidth(),
                            nCount * type.Size() / type.ScalarWidth());
            return true;
        }
        const auto* p = static_cast<const uint8_t*>(pFrom);
        for (size_t i = 0; i < nCount; ++i, p += type.Size(), nOffset += type.Size())
            if (!WriteOne(type, nOffset, p, nDepth))
                return false;
        return true;
    }

    bool WriteOne(const IType& type, uint32_t nOffset, const void* pFrom, int nDepth)
    {
        if (nDepth >= SERIALIZED_MAX_DEPTH)
            return false;
        switch (type.Kind())
        {
        case ETypeKind::eString:
            return WriteString(nOffset, *static_cast<const ZString*>(pFrom));
        case ETypeKind::eArray:
            return WriteArray(type, nOffset, *static_cast<const SArrayLayout*>(pFrom), pFrom, nDepth);
        case ETypeKind::eVariant:
            return WriteVariant(nOffset, *static_cast<const ZVariant*>(pFrom), nDepth);
        case ETypeKind::eTypeRef:
            StoreType(nOffset, *static_cast<STypeID* const*>(pFrom));
            return true;
        case ETypeKind::eRecord:
            for (const STypeField* pField = type.FieldsBegin(); pField != type.FieldsEnd(); ++pField)
            {
                const IType* pFieldType = ZTypeRegistry::GetType(pField->m_pTypeID);
                if (pFieldType == nullptr ||
                    !WriteElements(*pFieldType, nOffset + pField->m_nOffset,
                                   static_cast<const uint8_t*>(pFrom) + pField->m_nOffset, 1, nDepth + 1))
                    return false;
            }
            return true;
        default:
            return false;
        }
    }

    bool WriteString(uint32_t nOffset, const ZString& text)
    {
        Store<uint32_t>(nOffset + 8, text.Length() | ZString::BORROWED_BIT);
        if (text.IsEmpty())
            return true;
        uint8_t* pTo = AppendBytes(uint64_t(text.Length()) + 1, 1);
        if (pTo == nullptr)
            return false;
        std::memcpy(pTo, text.ToCString(), text.Length());
        StorePointer(nOffset, m_nLastStart);
        return true;
    }

    bool WriteArray(const IType& type, uint32_t nOffset, const SArrayLayout& array, const void* pSlot, int nDepth)
    {
        const IType* pElement = ZTypeRegistry::GetType(type.ElementType());
        if (pElement == nullptr)
            return false;
        Store<uint32_t>(nOffset + 8, array.uiCount);
        if (array.uiCount == 0)
            return true;
        const bool bInsideHere = (array.uiCapacity & TArray<int>::INLINE_BIT) != 0;
        const void* pElements = bInsideHere ? pSlot : reinterpret_cast<const void*>(array.nPointerOrElements);
        // Decided by the count alone, not by how this array happened to grow.
        const size_t nBytes = static_cast<size_t>(pElement->Size()) * array.uiCount;
        if (pElement->Kind() == ETypeKind::eScalar && pElement->Alignment() <= 8 && nBytes <= 8)
        {
            Store<uint32_t>(nOffset + 12, TArray<int>::INLINE_BIT | (8 / pElement->Size()));
            return WriteElements(*pElement, nOffset, pElements, array.uiCount, nDepth + 1);
        }
        if (Append(*pElement, pElements, array.uiCount) == nullptr)
            return false;
        const uint32_t nTarget = m_nLastStart;
        StorePointer(nOffset, nTarget);
        return WriteElements(*pElement, nTarget, pElements, array.uiCount, nDepth + 1);
    }

    bool WriteVariant(uint32_t nOffset, const ZVariant& variant, int nDepth)
    {
        StoreType(nOffset + 8, variant.GetTypeID());
        if (variant.GetTypeID() == nullptr)
            return true;
        const IType* pType = ZTypeRegistry::GetType(variant.GetTypeID());
        if (pType == nullptr)
            return false;
        if (ZVariant::IsStoredInside(*pType))
            return WriteElements(*pType, nOffset, variant.Get(), 1, nDepth + 1);
        if (Append(*pType, variant.Get(), 1) == nullptr)
            return false;
        const uint32_t nTarget = m_nLastStart;
        StorePointer(nOffset, nTarget);
        return WriteElements(*pType, nTarget, variant.Get(), 1, nDepth + 1);
    }

    TArray<uint8_t> m_block;
    TArray<uint32_t> m_pointerFields;
    TArray<uint32_t> m_typeFields;
    uint32_t m_nAlignment = 8;
    uint32_t m_nLastStart = 0;
    EEndian m_eEndian;
};

} // namespace

ZBinarySerializerImpl::ZBinarySerializerImpl(ZComponentCreateInfo& info)
{
    IOutputStream* const* ppStream = info.Get<IOutputStream*>(0);
    const EEndian* pEndian = info.Get<EEndian>(1);
    ZASSERT(ppStream != nullptr && pEndian != nullptr);
    if (ppStream != nullptr && pEndian != nullptr)
    {
        m_pStream = *ppStream;
        m_eEndian = *pEndian;
    }
}

bool ZBinarySerializerImpl::Serialize(const ZObjectRef& object)
{
    ZBlockBuilder builder(m_eEndian);
    if (m_pStream == nullptr || !builder.Build(object))
        return false;

    const uint32_t head[] = {SERIALIZED_MAGIC,
                             SERIALIZED_VERSION,
                             object.GetTypeID()->m_nHash,
                             builder.Alignment(),
                             builder.Block().Size(),
                             builder.PointerFields().Size(),
                             builder.TypeFields().Size(),
                             0};
    TArray<uint32_t> tables;
    tables.Append(builder.PointerFields().GetStart(), builder.PointerFields().Size());
    tables.Append(builder.TypeFields().GetStart(), builder.TypeFields().Size());

    const auto writeWords = [this](const uint32_t* pWords, size_t nCount)
    {
        TArray<uint32_t> words;
        words.Append(pWords, nCount);
        if (m_eEndian != NATIVE_ENDIAN)
            SwapNumbers(words.GetStart(), sizeof(uint32_t), nCount);
        m_pStream->Write(words.GetStart(), nCount * sizeof(uint32_t));
    };
    writeWords(head, std::size(head));
    m_pStream->Write(builder.Block().GetStart(), builder.Block().Size());
    constexpr uint8_t padding[4] = {};
    m_pStream->Write(padding, (4 - builder.Block().Size() % 4) % 4);
    writeWords(tables.GetStart(), tables.Size());
    return true;
}
