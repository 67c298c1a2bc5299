#include "base/typeinfo/mathtypes.h"
#include "base/typeinfo/ttype.h"
#include "base/typeinfo/zvariant.h"
#include "system/serializer/deserializedblock.h"
#include "system/serializer/serializedformat.h"

#include <gtest/gtest.h>

namespace
{

struct SInner
{
    uint8_t nSmall = 0;
    ZString text;
    TArray<uint16_t> indices;
    friend bool operator==(const SInner&, const SInner&) = default;
};

struct SOuter
{
    int32_t nNumber = 0;
    bool bFlag = false;
    SQV place;
    TArray<SInner> inners;
    STypeID* typeId = nullptr;
    ZVariant small;
    ZVariant large;
    TArray<ZString> names;
};

} // namespace

Z_TYPE_NAME(SInner, "test.SInner");
Z_TYPE_NAME(SOuter, "test.SOuter");

namespace
{

SOuter MakeOuter()
{
    SOuter outer;
    outer.nNumber = -7;
    outer.bFlag = true;
    outer.place.rotation = {0.1f, 0.2f, 0.3f, 0.4f};
    for (uint32_t i = 0; i < 3; ++i)
    {
        SInner& inner = outer.inners.Add(SInner());
        inner.nSmall = static_cast<uint8_t>(i);
        inner.text = ZString::Format("inner {0}", i);
        for (uint32_t n = 0; n < 3 + i; ++n) // three and four stand in the slot, five do not
            inner.indices.Add(static_cast<uint16_t>(n * 1000));
    }
    outer.typeId = GetTypeID<SVector3>();
    outer.small = ZVariant(2.5f);
    outer.large = ZVariant(TArray<SVector3>{{1, 2, 3}, {4, 5, 6}});
    outer.names = {"", "a", "bone"};
    return outer;
}

class Serializer : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        ImportSystemIOModule();
        ImportSystemSerializerModule();
        static const STypeField innerFields[] = {Z_FIELD(SInner, nSmall), Z_FIELD(SInner, text),
                                                 Z_FIELD(SInner, indices)};
        static const STypeField outerFields[] = {
            Z_FIELD(SOuter, nNumber), Z_FIELD(SOuter, bFlag), Z_FIELD(SOuter, place), Z_FIELD(SOuter, inners),
            Z_FIELD(SOuter, typeId),  Z_FIELD(SOuter, small), Z_FIELD(SOuter, large), Z_FIELD(SOuter, names)};
        static const TRecordType<SInner> s_inner(innerFields);
        static const TRecordType<SOuter> s_outer(outerFields);
        static const TArrayType<SInner> s_inners;
        static const TArrayType<uint16_t> s_indices;
        static const TArrayType<SVector3> s_vectors;
        static const TArrayType<ZString> s_names;
        for (const IType* pType : {static_cast<const IType*>(&s_inner), static_cast<const IType*>(&s_outer),
                                   static_cast<const IType*>(&s_inners), static_cast<const IType*>(&s_indices),
                                   static_cast<const IType*>(&s_vectors), static_cast<const IType*>(&s_names)})
            RegisterType(pType);
    }

    static void ExpectEqual(const SOuter& a, const SOuter& b)
    {
        EXPECT_EQ(a.nNumber, b.nNumber);
        EXPECT_EQ(a.bFlag, b.bFlag);
        EXPECT_TRUE(a.place == b.place);
        EXPECT_TRUE(a.inners == b.inners);
        EXPECT_EQ(a.typeId, b.typeId);
        EXPECT_EQ(a.small.GetValue<float>(), b.small.GetValue<float>());
        EXPECT_TRUE(a.large.GetValue<TArray<SVector3>>() == b.large.GetValue<TArray<SVector3>>());
        EXPECT_TRUE(a.names == b.names);
    }
};

TEST_F(Serializer, ReadsBackInPlaceInEitherOrder)
{
    const SOuter outer = MakeOuter();
    for (const EEndian eEndian : {eEndian_Little, eEndian_Big})
    {
        const TArray<uint8_t> bytes = SerializeObject(outer, eEndian);
        ASSERT_FALSE(bytes.IsEmpty());
        TDeserializedBlock<SOuter> block;
        ASSERT_TRUE(DeserializeObject(bytes.Ref(), true, block)) << block.Error().ToCString();
        ExpectEqual(outer, *block.Get());
        EXPECT_TRUE(block.Get()->inners[1].indices.IsInline());
        EXPECT_FALSE(block.Get()->inners[2].indices.IsInline());
        // Everything lies inside the block, which one free ends.
        const auto* pStart = reinterpret_cast<const char*>(block.Get());
        EXPECT_GT(block.Get()->inners[0].text.ToCString(), pStart);
        EXPECT_LT(block.Get()->inners[0].text.ToCString(), pStart + bytes.Size());
        EXPECT_TRUE(block.Get()->inners[0].text.IsBorrowed());
    }
}

TEST_F(Serializer, BytesDependOnTheValuesAlone)
{
    const SOuter outer = MakeOuter();
    SOuter other = MakeOuter();
    other.inners[0].indices.Reserve(100); // on the heap now, with the same three numbers
    other.names.Reserve(50);
    EXPECT_TRUE(SerializeObject(outer, eEndian_Little) == SerializeObject(other, eEndian_Little));
}

TEST_F(Serializer, PointerTableNamesEveryPointer)
{
    // What a runtime without reflection relocates by.
    const TArray<uint8_t> bytes = SerializeObject(MakeOuter(), eEndian_Little);
    SSerializedHead head;
    std::memcpy(&head, bytes.GetStart(), sizeof head);
    EXPECT_EQ(head.nAlignment, 16u);
    const uint8_t* pBlock = bytes.GetStart() + sizeof head;
    const uint8_t* pTable = pBlock + (head.nBlockSize + 3) / 4 * 4;
    ASSERT_EQ(bytes.Size(),
              static_cast<size_t>(pTable - bytes.GetStart()) + 4u * (head.nPointerFields + head.nTypeFields));
    // inners, three texts, one array of five; the large variant and its array; names and the two that are not empty.
    EXPECT_EQ(head.nPointerFields, 1u + 3u + 1u + 2u + 3u);
    EXPECT_EQ(head.nTypeFields, 3u);
    uint64_t nLast = 0;
    for (uint32_t i = 0; i < head.nPointerFields; ++i)
    {
        const auto nField = LoadEndian<uint32_t>(pTable + 4 * i, eEndian_Little);
        const auto nTarget = LoadEndian<uint64_t>(pBlock + nField, eEndian_Little);
        EXPECT_GT(nTarget, nLast);
        EXPECT_LT(nTarget, head.nBlockSize);
        nLast = nTarget;
    }
}

TEST_F(Serializer, TypesNeedTheirDeserializer)
{
    const TArray<uint8_t> bytes = SerializeObject(MakeOuter(), eEndian_Little);
    TDeserializedBlock<SOuter> block;
    EXPECT_FALSE(DeserializeObject(bytes.Ref(), false, block));
    EXPECT_NE(block.Error().IndexOf("no deserializer for types"), ZString::NOT_FOUND);
    TDeserializedBlock<SInner> other;
    EXPECT_FALSE(DeserializeObject(bytes.Ref(), true, other));
    EXPECT_STREQ(other.Error().ToCString(), "the data are of another type");
}

TEST_F(Serializer, IsReadWholeOrNotAtAll)
{
    for (const EEndian eEndian : {eEndian_Little, eEndian_Big})
    {
        const TArray<uint8_t> good = SerializeObject(MakeOuter(), eEndian);
        SSerializedHead head;
        std::memcpy(&head, good.GetStart(), sizeof head);
        if (eEndian != NATIVE_ENDIAN)
            SwapNumbers(&head, 4, sizeof head / 4);
        for (uint32_t n = 0; n < good.Size(); ++n)
        {
            // A block of exactly n bytes, so that the address sanitizer sees a read past it.
            TArray<uint8_t> cut;
            cut.Reserve(n);
            cut.Append(good.GetStart(), n);
            TDeserializedBlock<SOuter> block;
            EXPECT_EQ(DeserializeObject(cut.Ref(), true, block), n >= sizeof head + head.nBlockSize);
        }
    }
}

} // namespace
