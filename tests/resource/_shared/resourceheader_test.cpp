#include "resource/_shared/resourceheader.h"

#include "tests/support/testing.h"

#include <initializer_list>

namespace
{

TArray<uint8_t> Written(const ZResourceHeader& header, EEndian eEndian)
{
    return BytesOf([&](IOutputStream* pStream) { EXPECT_TRUE(header.Write(pStream, eEndian)); });
}

bool Read(TArrayRef<const uint8_t> bytes, EEndian eEndian, ZResourceHeader& header)
{
    return header.Read(OpenBytes(bytes).Get(), eEndian);
}

void ExpectBytes(const TArray<uint8_t>& bytes, std::initializer_list<uint8_t> expected)
{
    ASSERT_EQ(bytes.Size(), expected.size());
    EXPECT_EQ(std::memcmp(bytes.GetStart(), expected.begin(), bytes.Size()), 0);
}

const ZResourceID REFERENCE("<assembly:/A>.pc.b");

TEST(ResourceHeader, WithoutReferencesIsTwentyFourBytes)
{
    ZResourceHeader header(RESOURCE_CODE_ANIMATION, "pc");
    header.SetSizes(0x01020304, 0x01020304, 0);
    ExpectBytes(Written(header, eEndian_Little),
                {'Y', 'T', 'R', 'A', 0, 0, 0, 0, 0, 0, 0, 0, 4, 3, 2, 1, 4, 3, 2, 1, 0, 0, 0, 0});
    ExpectBytes(Written(header, eEndian_Big),
                {'A', 'R', 'T', 'Y', 0, 0, 0, 0, 0, 0, 0, 0, 1, 2, 3, 4, 1, 2, 3, 4, 0, 0, 0, 0});
}

TEST(ResourceHeader, SpellsOutItsReferences)
{
    ZResourceHeader header(RESOURCE_CODE_RIG, "ps3");
    EXPECT_EQ(header.AddReference(REFERENCE, REFERENCE_FLAGS), 0u);
    EXPECT_EQ(header.AddReference(ZResourceID("<assembly:/a>.ps3.c"), REFERENCE_FLAGS), 1u);
    header.SetSizes(1, 2, 3);
    // The platform is the header's, the text lower case. Names are 19 bytes long, 20 with their end.
    const TArray<uint8_t> bytes = Written(header, eEndian_Big);
    ExpectBytes(bytes, {'R', 'R', 'T', 'Y', 0,   0,   0,    68,  0,   0,   0,    0,   0,   0,   0,   1,   0,   0,   0,
                        2,   0,   0,   0,   3,   0,   0,    0,   2,   0,   0,    0,   0,   0,   0,   0,   0,   0,   0,
                        0,   20,  0,   0,   0,   28,  0x80, 0,   0,   0,   0x80, 0,   0,   20,  '<', 'a', 's', 's', 'e',
                        'm', 'b', 'l', 'y', ':', '/', 'a',  '>', '.', 'p', 's',  '3', '.', 'b', 0,   '<', 'a', 's', 's',
                        'e', 'm', 'b', 'l', 'y', ':', '/',  'a', '>', '.', 'p',  's', '3', '.', 'c', 0});
    ZResourceHeader back;
    ASSERT_TRUE(Read(bytes.Ref(), eEndian_Big, back));
    EXPECT_TRUE(back.Type() == "RRTY");
    EXPECT_EQ(back.References().Size(), 2u);
    EXPECT_EQ(back.References().Find(ZResourceID("<assembly:/a>.ps3.c"))->nPosition, 1u);
    EXPECT_EQ(back.References().Find(ZResourceID("<assembly:/a>.ps3.c"))->nFlags, REFERENCE_FLAGS);
    EXPECT_EQ(back.DataSize(), 1u);
    EXPECT_EQ(back.ThirdSize(), 3u);
}

TEST(ResourceHeader, MergesFlagsOfAReferenceThatComesAgain)
{
    const std::tuple<uint32_t, uint32_t, uint32_t> cases[] = {
        {0x80000000, 0x80000000, 0x80000000}, {0x80000000, 0x00000000, 0x80000000},
        {0x00000000, 0x80000000, 0x80000000}, {0xE8300000, 0x08300000, 0x88300000},
        {0x10000000, 0x20000000, 0x10000000}, {0x20000000, 0x20000000, 0x20000000},
        {0x10000000, 0x00000000, 0x00000000},
    };
    for (const auto& [nOld, nNew, nMerged] : cases)
    {
        ZResourceHeader header(RESOURCE_CODE_RIG, "");
        header.AddReference(REFERENCE, nOld);
        EXPECT_EQ(header.AddReference(REFERENCE, nNew), 0u);
        EXPECT_EQ(header.References().Find(REFERENCE)->nFlags, nMerged) << std::hex << nOld << " " << nNew;
    }
    ZAssertTrap trap;
    ZResourceHeader header(RESOURCE_CODE_RIG, "pc");
    header.AddReference(ZResourceID("assembly:/a"), 0);
    EXPECT_EQ(trap.FirstExpression(), "id.IsDerived()");
}

TEST(ResourceHeader, RefusesNamesBeyondTheFlagBits)
{
    ZResourceHeader header(RESOURCE_CODE_RIG, "");
    ZString longName("assembly:/");
    for (int i = 0; i < 1 << 16; ++i)
        longName.Append("0123456789abcdef");
    header.AddReference(ZResourceID(longName).CreateDerivedResourceID("b", "", "pc"), 0);
    EXPECT_TRUE(
        BytesOf([&](IOutputStream* pStream) { EXPECT_FALSE(header.Write(pStream, eEndian_Little)); }).IsEmpty());
}

TEST(ResourceHeader, IsReadWholeOrNotAtAll)
{
    ZResourceHeader header(RESOURCE_CODE_RIG, "pc");
    header.AddReference(REFERENCE, REFERENCE_FLAGS);
    const TArray<uint8_t> good = Written(header, eEndian_Little);
    for (uint32_t n = 0; n <= good.Size(); ++n)
    {
        TArray<uint8_t> cut;
        cut.Append(good.GetStart(), n);
        ZResourceHeader back;
        EXPECT_EQ(Read(cut.Ref(), eEndian_Little, back), n == good.Size());
    }
}

} // namespace
