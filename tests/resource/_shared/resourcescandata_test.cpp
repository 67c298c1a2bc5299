#include "resource/_shared/_internal/resourcescandata.h"

#include "base/typeinfo/zvariant.h"
#include "resource/_shared/resourcerecords.h"
#include "tests/support/testing.h"

#include <initializer_list>

namespace
{

using TBytes = TArray<uint8_t>;

TBytes Written(const SResourceScanData& data)
{
    return BytesOf([&data](IOutputStream* pStream) { WriteResourceScanData(pStream, data); });
}

template <class TRead>
auto ReadFrom(const TBytes& bytes, TRead read)
{
    const auto stream = OpenBytes(bytes.Ref());
    ZScanDataReader reader(stream.Get());
    return read(reader);
}

TBytes Words(std::initializer_list<int32_t> words)
{
    TBytes bytes;
    for (const int32_t nWord : words)
        bytes.Append(reinterpret_cast<const uint8_t*>(&nWord), sizeof nWord);
    return bytes;
}

SResourceScanData Sample()
{
    SResourceScanData data;
    data.fileReferencedResources = {ZResourceID("a"), ZResourceID()};
    data.fileProperties["k"] = "v";
    SSubResourceScanData entry;
    entry.resourceID = ZResourceID("s:/f?/r.take");
    entry.sourceResourceID = ZResourceID("s:/f");
    entry.referencedResources = {ZResourceID("x")};
    entry.properties["FPS"] = "30";
    entry.properties["A"] = "";
    data.subResources.Add(entry);
    data.subResources.Add(SSubResourceScanData());
    return data;
}

TEST(ResourceScanData, BytesOfABlob)
{
    EXPECT_TRUE(Written({}) == Words({0, 0, 0}));
    SResourceScanData data;
    data.fileReferencedResources = {ZResourceID("ab")};
    data.fileProperties["k"] = "";
    const uint8_t expected[] = {1, 0, 0, 0, 2, 0, 0, 0, 'a', 'b', 1, 0, 0, 0, 1, 0, 0, 0, 'k', 0, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_TRUE(Written(data) == TBytes(TArrayRef<const uint8_t>(expected)));
    // Two ids, count and id, count and two pairs; then an empty record of four words.
    const TBytes bytes = Written(Sample());
    EXPECT_EQ(bytes.Size(), 4 + 5 + 4 + 4 + 5 + 5 + 4 + (16 + 8 + 4 + 5 + 4 + 5 + 4 + 7 + 6) + 16u);
    const SResourceScanData back = ReadFrom(bytes, &ReadResourceScanData);
    EXPECT_TRUE(Written(back) == bytes);
    EXPECT_EQ(*back.subResources[0].properties.Find("FPS"), "30");
}

TEST(ResourceScanData, OddCountsAndRepeatedKeys)
{
    // A negative count reads as no elements.
    const SResourceScanData negative = ReadFrom(Words({-1, INT32_MIN, -5}), &ReadResourceScanData);
    EXPECT_TRUE(Written(negative) == Written({}));
    // Twice the empty key; the later value counts.
    const SResourceScanData repeated = ReadFrom(Words({0, 2, 0, 0, 0, 4, 0x64636261, 0}), &ReadResourceScanData);
    EXPECT_EQ(repeated.fileProperties.Size(), 1u);
    EXPECT_EQ(*repeated.fileProperties.Find(""), "abcd");
    EXPECT_EQ(ReadFrom(Words({0}), &ReadScanResourceID), ZResourceID());
    EXPECT_EQ(ReadFrom(Words({-1, 7}), &ReadScanString), "");
}

TEST(ResourceScanData, LimitsAreAssertions)
{
    const auto text = [](uint32_t nLength)
    {
        TBytes bytes = Words({static_cast<int32_t>(nLength)});
        bytes.Resize(4 + nLength);
        for (uint32_t i = 4; i < bytes.Size(); ++i)
            bytes[i] = 'x';
        return bytes;
    };
    EXPECT_EQ(ReadFrom(text(131071), &ReadScanString).Length(), 131071u);
    constexpr int32_t n = 1024 * 1024;
    const std::tuple<TBytes, const char*, bool> cases[] = {
        {Words({n}), "fileReferencedResourceCount < 1024 * 1024", false},
        {Words({0, n}), "filePropertyCount < 1024 * 1024", false},
        {Words({0, 0, INT32_MAX}), "subResourceCount < 1024 * 1024", false},
        {Words({0, 0, 1, 0, 0, n}), "referencedResourceCount < 1024 * 1024", false},
        {Words({0, 0, 1, 0, 0, 0, n}), "propertyCount < 1024 * 1024", false},
        {Words({1, n}), "nLength < 1024 * 1024", true},
        {Words({1, 131072}), "(nLength + 1) * sizeof(char) <= C_MAX_STACK_ARRAY_ALLOCATION", true},
        {Words({1, -2}), "(nLength + 1) * sizeof(char) <= C_MAX_STACK_ARRAY_ALLOCATION", true},
    };
    for (const auto& [bytes, szExpression, bHalts] : cases)
    {
        ZAssertTrap trap;
        if (bHalts)
            EXPECT_THROW(ReadFrom(bytes, &ReadResourceScanData), zhalt_exception) << szExpression;
        else
            ReadFrom(bytes, &ReadResourceScanData);
        EXPECT_EQ(trap.FirstExpression(), szExpression);
    }
    ZAssertTrap trap;
    SResourceScanData data;
    const TBytes longText = text(131072);
    data.fileReferencedResources.Add(
        ZString::FromView({reinterpret_cast<const char*>(longText.GetStart() + 4), 131072}));
    EXPECT_THROW(Written(data), zhalt_exception) << "what can't be read is not written";
}

TEST(ResourceRecords, MoveAsVariants)
{
    RegisterResourceRecords();
    SLoadResourceResultArray results;
    results.array.Resize(2);
    results.array[1].sErrorMessage = "why";
    results.array[1].aSubResourceMessages.Add({true, ZResourceID("a:/b"), "text"});
    const ZVariant copy = ZVariant(ZVariant(results));
    results.array.Clear();
    const auto back = copy.GetValue<SLoadResourceResultArray>();
    EXPECT_EQ(back.array[1].aSubResourceMessages[0].sMessage, "text");
    SResourceInfo info;
    info.lastModificationTime.m_nNanoseconds = 5;
    EXPECT_EQ(ZVariant(info).GetValue<SResourceInfo>().lastModificationTime.m_nNanoseconds, 5);
    const IType* pType = ZTypeRegistry::GetType(GetTypeID<SResourceSourceControlStatus>());
    ASSERT_NE(pType, nullptr);
    EXPECT_EQ(pType->FieldsEnd() - pType->FieldsBegin(), 21);
}

} // namespace
