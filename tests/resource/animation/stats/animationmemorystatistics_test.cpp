#include "resource/animation/stats/animationmemorystatistics.h"

#include "tests/support/packerhost.h"
#include "tests/support/testing.h"

namespace
{

using namespace ResourceAnimation;

const ZResourceID REPORT("assembly:/report.txt");

ZString TextOf(ZPackerHost& host)
{
    const TArray<uint8_t> bytes = host.Database().Output(REPORT);
    return ZString::FromView({reinterpret_cast<const char*>(bytes.GetStart()), bytes.Size()});
}

TEST(AnimationMemoryStatistics, WritesAReport)
{
    ZPackerHost host;
    ZAnimationMemoryStatistics statistics;
    statistics.m_records = {{ZResourceID("assembly:/a\tb"), 80, 2.5f, 200.0f, 24000, 1000},
                            {ZResourceID("assembly:/c"), 1, 3659.0f, 3659.0f, 1024576, 48}};
    EXPECT_TRUE(statistics.Write(REPORT));
    EXPECT_EQ(TextOf(host), "-- TOTAL --\n"
                            "  Number of animations: 2\n"
                            "  Seconds of animation: 3661.50 seconds  (1 hours 1 minutes 1 seconds)\n"
                            "  Bone-seconds of animation: 3859.00\n"
                            "  Average animation length: 1830.75 seconds\n"
                            "  Average number of bones: 40.50\n"
                            "\n"
                            "  Total: 1049624 bytes  (1.00 MBs)\n"
                            "    BoneData: 1048576 bytes  (1.00 MBs)\n"
                            "      Average compression level: 22.64%  (compared to 30 FPS raw QVS data)\n"
                            "    Other: 1048 bytes  (0.00 MBs)\n"
                            "\n"
                            "-- RAW DATA --\n"
                            "!FILEVERSION 1\n"
                            "!PACKEDANIMDATAassembly:/a_b\t80\t2.5|200|24000|1000\n"
                            "!PACKEDANIMDATAassembly:/c\t1\t3659|3659|1024576|48\n");
    // None at all divides by zero and prints as no number, the same on every machine.
    EXPECT_NE(ZAnimationMemoryStatistics().Report().IndexOf("Average animation length: nan seconds\n"),
              ZString::NOT_FOUND);
}

TEST(AnimationMemoryStatistics, ReadsItsReportBackPastTheReadersOwnTest)
{
    ZPackerHost host;
    ZAnimationMemoryStatistics written, read;
    written.m_records = {{ZResourceID("assembly:/b"), 3, 0.1f, 0.3f, 7, 8},
                         {ZResourceID("assembly:/a"), -1, 1e10f, 2.0f, 2147483647, 3000000000u}};
    written.Write(REPORT);
    read.m_records.Resize(5);
    ZAssertTrap trap;
    EXPECT_TRUE(read.Read(REPORT));
    // Each line has the four values that are written, and is held to have nine.
    ASSERT_EQ(trap.Count(), 2u);
    EXPECT_EQ(trap.FirstExpression(), "aStringData.Size() == 9");
    ASSERT_EQ(read.m_records.Size(), 2u);
    EXPECT_EQ(read.m_records[1].resourceID, ZResourceID("assembly:/a"));
    EXPECT_EQ(read.m_records[1].boneCount, -1);
    EXPECT_EQ(read.m_records[1].seconds, 1e10f);
    EXPECT_EQ(read.m_records[1].boneSeconds, 2.0f);
    EXPECT_EQ(read.m_records[1].boneDataBytes, 2147483647u);
    EXPECT_EQ(read.m_records[0].otherDataBytes, 8u);
    EXPECT_EQ(read.m_records[1].otherDataBytes, static_cast<uint64_t>(int64_t{3000000000} - (int64_t{1} << 32)))
        << "beyond 31 bits byte counts come back wrong: that belongs to the format";
}

TEST(AnimationMemoryStatistics, ReadsLinesOfNineValuesAndNoOthers)
{
    ZPackerHost host;
    ZAssertTrap trap;
    ZAnimationMemoryStatistics statistics;
    host.Database().AddSource(REPORT, ZString("head\n !PACKEDANIMDATA no\n!PACKEDANIMDATA \tid x \t 12 bones\t "
                                              "1.5|2|+3|4x|5|6|7|8|9 \r\n!PACKEDANIMDAT\n"));
    EXPECT_TRUE(statistics.Read(REPORT));
    EXPECT_EQ(trap.Count(), 0u);
    ASSERT_EQ(statistics.m_records.Size(), 1u);
    const SPackedAnimationMemoryStats& record = statistics.m_records[0];
    EXPECT_EQ(record.resourceID, ZResourceID("id x "));
    EXPECT_EQ(record.boneCount, 12);
    EXPECT_EQ(record.seconds, 1.5f);
    EXPECT_EQ(record.boneDataBytes, 3u);
    EXPECT_EQ(record.otherDataBytes, 4u);

    host.Database().AddSource(REPORT, ZString("nothing here\n"));
    EXPECT_TRUE(statistics.Read(REPORT));
    EXPECT_TRUE(statistics.m_records.IsEmpty());
    EXPECT_FALSE(statistics.Read(ZResourceID("assembly:/none")));

    for (const char* szLine : {"!PACKEDANIMDATA", "!PACKEDANIMDATAid\t1", "!PACKEDANIMDATAid\t1\t1|2|3"})
    {
        trap.Clear();
        EXPECT_THROW(ParseDataLine(ZString::ReferenceCString(szLine)), zhalt_exception) << szLine;
        EXPECT_GT(trap.Count(), 0u);
    }
    host.Database().SetOutputFault(ZMemoryResourceDatabase::EOutputFault::eNull);
    EXPECT_THROW(ZAnimationMemoryStatistics().Write(REPORT), zhalt_exception);
}

TEST(AnimationMemoryStatistics, Durations)
{
    const std::pair<float, const char*> cases[] = {{7384.5f, "7384.50 seconds  (2 hours 3 minutes 4 seconds)"},
                                                   {7200.0f, "7200.00 seconds  (2 hours 0 minutes 0 seconds)"},
                                                   {0.0f, "0.00 seconds  (0 hours 0 minutes 0 seconds)"},
                                                   {-61.5f, "-61.50 seconds  (0 hours -1 minutes -1 seconds)"},
                                                   {1e10f, "10000000000.00 seconds  (0 hours 0 minutes 0 seconds)"}};
    for (const auto& [fSeconds, szText] : cases)
        EXPECT_EQ(FormatDuration(fSeconds), szText);
    EXPECT_EQ(FormatBytes(1048576), "1048576 bytes  (1.00 MBs)");
    EXPECT_EQ(FormatBytes(UINT64_MAX), "18446744073709551615 bytes  (17592186044416.00 MBs)");
}

} // namespace
