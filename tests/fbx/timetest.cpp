#include "tests/fbx/loadscene.h"

#include <limits>

namespace
{

TEST(Time, FrameRates)
{
    const struct
    {
        int nMode;
        double fRate;
    } modes[] = {{0, 30},
                 {1, 120},
                 {2, 100},
                 {3, 60},
                 {4, 50},
                 {5, 48},
                 {6, 30},
                 {7, 30},
                 {8, 30000.0 / 1001},
                 {9, 30000.0 / 1001},
                 {10, 25},
                 {11, 24},
                 {12, 1000},
                 {13, 24000.0 / 1001},
                 {14, 17.5},
                 {15, 96},
                 {16, 72},
                 {17, 60000.0 / 1001},
                 {18, 30},
                 {-1, 30}};
    for (const auto& mode : modes)
        EXPECT_EQ(FbxTime::GetFrameRate(mode.nMode, 17.5), mode.fRate) << mode.nMode;
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

} // namespace
