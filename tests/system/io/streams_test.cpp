
#include "tests/support/testing.h"

namespace
{

TEST(Streams, ReadWhatIsThereAndNoMore)
{
    const uint8_t bytes[] = {1, 2, 3, 4, 5};
    const auto stream = OpenBytes(bytes);
    uint8_t buffer[8] = {};
    EXPECT_TRUE(stream->IsOpen());
    EXPECT_EQ(stream->GetSize(), 5u);
    EXPECT_EQ(stream->Read(buffer, 2), 2u);
    EXPECT_EQ(stream->Read(buffer, 8), 3u);
    EXPECT_EQ(buffer[2], 5);
    EXPECT_EQ(stream->Read(buffer, 1), 0u);
    EXPECT_EQ(stream->GetSize(), 5u);
}

TEST(Streams, WriterPutsEveryWidthInTheTargetsOrder)
{
    for (const bool bSwap : {false, true})
    {
        const TArray<uint8_t> bytes = BytesOf(
            [bSwap](IOutputStream* pStream)
            {
                const TComponentScope<IBinaryWriter> writer(
                    CreateComponent<IBinaryWriter>(BINARY_WRITER, pStream, bSwap));
                const uint8_t n8 = 0x01;
                const uint16_t n16 = 0x0203;
                const uint32_t n32 = 0x04050607;
                const uint64_t n64 = 0x08090a0b0c0d0e0f;
                const float f = 1.0f; // 3f800000
                writer->WriteUInt8(&n8, 1);
                writer->WriteUInt16(&n16, 1);
                writer->WriteUInt32(&n32, 1);
                writer->WriteUInt64(&n64, 1);
                writer->WriteFloat32(&f, 1);
            });
        const uint8_t little[] = {1, 3, 2, 7, 6, 5, 4, 15, 14, 13, 12, 11, 10, 9, 8, 0, 0, 0x80, 0x3f};
        const uint8_t big[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 0x3f, 0x80, 0, 0};
        ASSERT_EQ(bytes.Size(), sizeof little);
        EXPECT_EQ(std::memcmp(bytes.GetStart(), bSwap ? big : little, sizeof little), 0);
    }
}

TEST(Streams, WriterSwapsMoreThanItsBufferHolds)
{
    TArray<uint16_t> values;
    for (uint32_t i = 0; i < 5000; ++i)
        values.Add(static_cast<uint16_t>(i));
    const TArray<uint8_t> bytes = BytesOf(
        [&values](IOutputStream* pStream)
        {
            const TComponentScope<IBinaryWriter> writer(CreateComponent<IBinaryWriter>(BINARY_WRITER, pStream, true));
            writer->WriteUInt16(values.GetStart(), values.Size());
        });
    ASSERT_EQ(bytes.Size(), 10000u);
    for (uint32_t i = 0; i < 5000; ++i)
        ASSERT_EQ(bytes[2 * i] << 8 | bytes[2 * i + 1], static_cast<int>(i));
    EXPECT_EQ(values[4999], 4999) << "the caller's values stay as they are";
}

} // namespace
