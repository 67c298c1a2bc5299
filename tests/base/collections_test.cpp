#include "base/collections/thashmap.h"
#include "base/collections/tmap.h"
#include "base/pointers/tsharedptr.h"
#include "tests/support/testing.h"

namespace
{

TEST(TArray, HoldsEightBytesInsideItself)
{
    TArray<uint8_t> bytes;
    for (uint8_t i = 0; i < 8; ++i)
        bytes.Add(i);
    EXPECT_TRUE(bytes.IsInline());
    EXPECT_GE(reinterpret_cast<char*>(bytes.GetStart()), reinterpret_cast<char*>(&bytes));
    EXPECT_LT(reinterpret_cast<char*>(bytes.GetStart()), reinterpret_cast<char*>(&bytes + 1));
    bytes.Add(8);
    EXPECT_FALSE(bytes.IsInline());
    EXPECT_EQ(bytes.Capacity(), 11u); // 8 + 1 + 8 / 4
    for (uint8_t i = 0; i < 9; ++i)
        EXPECT_EQ(bytes[i], i);

    TArray<uint16_t> indices{1, 2, 3, 4};
    EXPECT_TRUE(indices.IsInline());
    const TArray<uint16_t> moved = std::move(indices);
    EXPECT_EQ(moved[3], 4);
}

TEST(TArray, AddsAnElementOfItself)
{
    TArray<ZString> texts;
    texts.Add("one");
    for (int i = 0; i < 20; ++i)
        texts.Add(texts[0]);
    for (const ZString& text : texts)
        EXPECT_TRUE(text == "one");
}

TEST(TArray, FreesWhatItHolds)
{
    const size_t nBlocks = GetMemoryManager()->LiveBlockCount();
    {
        TArray<ZString> texts;
        for (int i = 0; i < 100; ++i)
            texts.Add(ZString::Format("text {0}", i));
        TArray<ZString> copy = texts;
        copy.RemoveAt(5);
        copy.Resize(50);
        texts = std::move(copy);
        EXPECT_TRUE(texts[5] == "text 6");
    }
    EXPECT_EQ(GetMemoryManager()->LiveBlockCount(), nBlocks);
}

TEST(TArray, BoundsAreAsserted)
{
    ZAssertTrap trap;
    const TArray<int> empty;
    EXPECT_THROW(empty[0], zhalt_exception); // let go on, it must not read what is not there
    EXPECT_EQ(trap.FirstExpression(), "nIndex < m_uiCount");
    trap.Clear();
    EXPECT_THROW(empty.Last(), zhalt_exception);
    EXPECT_EQ(trap.FirstExpression(), "m_uiCount > 0");
    trap.Clear();
    EXPECT_THROW(TArrayRef<const int>()[0], zhalt_exception);
    EXPECT_EQ(trap.FirstExpression(), "m_pStart + nIndex < GetEnd()");
    trap.Clear();
    TArray<uint8_t> bytes;
    EXPECT_THROW(bytes.Reserve(size_t{1} << 31), zhalt_exception);
    EXPECT_EQ(trap.FirstExpression(), "nNewcapacity < (1 << 31)");
}

/// An order that holds both ways.
struct SBadKey
{
    int nValue = 0;
    friend bool operator<(const SBadKey&, const SBadKey&) { return true; }
};

TEST(TMap, KeepsKeyOrderAndFindsABadOrder)
{
    TMap<ZString, int> map;
    for (const char* szKey : {"b", "a", "C"})
        map[ZString::ReferenceCString(szKey)] = szKey[0];
    ZString order;
    for (const auto& [key, value] : map)
        order.Append(key);
    EXPECT_TRUE(order == "Cab");
    EXPECT_FALSE(map.Insert("a", 0));
    EXPECT_EQ(*map.Find("a"), 'a');
    EXPECT_THROW(map.At("A"), zhalt_exception);

    ZAssertTrap trap;
    TMap<SBadKey, int> bad;
    bad[SBadKey{1}] = 1;
    bad.Find(SBadKey{2});
    EXPECT_EQ(trap.FirstExpression(), "!(element < pNode->m_data)");
}

TEST(TSharedPtr, EndsItsObjectWithTheLastUse)
{
    const size_t nBlocks = GetMemoryManager()->LiveBlockCount();
    TWeakPtr<ZString> weak;
    {
        const auto pFirst = TSharedPtr<ZString>::Create("text that is long enough to be somewhere");
        const TSharedPtr<ZString> pSecond = pFirst;
        weak = pFirst;
        EXPECT_EQ(pFirst.UseCount(), 2u);
        EXPECT_TRUE(weak.Lock() == pSecond);
    }
    EXPECT_TRUE(weak.Lock() == nullptr);
    weak = TWeakPtr<ZString>();
    EXPECT_EQ(GetMemoryManager()->LiveBlockCount(), nBlocks);

    ZAssertTrap trap;
    EXPECT_THROW(*TSharedPtr<int>(), zhalt_exception);
    EXPECT_EQ(trap.FirstExpression(), "this->Get() != nullptr");
}

} // namespace
