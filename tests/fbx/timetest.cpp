#include "tests/fbx/loadscene.h"

#include <limits>

namespace
{

TEST(Time, FrameRates)
{
    const double rates[] = {30, 120, 100, 60,          50,   48, 30, 30,          30e3 / 1001, 30e3 / 1001,
                            25, 24,  1e3, 24e3 / 1001, 17.5, 96, 72, 60e3 / 1001, 30};
    for (int n = 0; n < 19; ++n)
        EXPECT_EQ(FbxTime::GetFrameRate(n, 17.5), rates[n]) << n;
    EXPECT_EQ(FbxTime::GetFrameRate(-1, 17.5), 30.0);
    EXPECT_EQ(FbxTime::GetFrameRate(14, -1.0), 30.0);
    EXPECT_EQ(FbxTime::GetFrameRate(14, std::numeric_limits<double>::quiet_NaN()), 30.0);
}

TEST(Time, SecondsAndFrames)
{
    EXPECT_EQ(FbxTime::FromSeconds(0.5).Get(), 23093079000);
    EXPECT_EQ(FbxTime::FromSeconds(-1.0).Get(), -46186158000);
    EXPECT_EQ(FbxTime::FromSeconds(std::numeric_limits<double>::quiet_NaN()).Get(), 0);
    EXPECT_FALSE(FbxTime::FromSeconds(1e300).IsInfinite());
    EXPECT_GT(FbxTime::FromSeconds(1e300).Get(), FbxTime::FromSeconds(1e8).Get());
    EXPECT_LT(FbxTime::FromSeconds(-1e300).Get(), FbxTime::FromSeconds(-1e8).Get());

    EXPECT_EQ(FbxTime::FromSeconds(1.0).GetFrameCount(30.0), 30);
    EXPECT_EQ(FbxTime::FromSeconds(-0.5).GetFrameCount(30.0), -15);
    EXPECT_EQ(FbxTime::FromSeconds(0.99).GetFrameCount(30.0), 29);
    EXPECT_EQ(FbxTime::FromSeconds(1.0).GetFrameCount(0.0), 0);
    // A frame's own time, narrowed on the way, is that frame.
    for (int nFrame = 0; nFrame < 100000; nFrame += 7)
        for (const float fRate : {24.0f, 29.97003f, 60.0f})
            ASSERT_EQ(FbxTime::FromSeconds(static_cast<double>(static_cast<float>(nFrame) / fRate))
                          .GetFrameCount(static_cast<double>(fRate)),
                      nFrame);
}

TEST(Time, OfAFrame)
{
    for (const double fRate : {24.0, 25.0, 30.0, 60.0, 120.0, 30000.0 / 1001.0, 12.5})
        for (const int64_t n : {-1000000, -1, 0, 1, 29, 123456})
            EXPECT_EQ(FbxTime::FromFrame(n, fRate).GetFrameCount(fRate), n) << fRate;
    EXPECT_EQ(FbxTime::FromFrame(INT32_MAX, 30.0).Get(), INT32_MAX * (fbxfile::kSecond / 30));
    EXPECT_FALSE(FbxTime::FromFrame(INT64_MAX, 30.0).IsInfinite()) << "no frame is without animation";
    EXPECT_EQ(FbxTime::FromFrame(5, 0.0).Get(), 0);
}

} // namespace
