#include "resource/animation/import/resample.h"

#include "resource/animation/frame/animationexception.h"
#include "tests/resource/animation/testtake.h"
#include "tests/support/testing.h"

namespace
{

using namespace ResourceAnimation;
using namespace ResourceAnimation::Import;

TArray<float> Ramp(int nCount)
{
    TArray<float> values;
    for (int i = 0; i < nCount; ++i)
        values.Add(static_cast<float>(i));
    return values;
}

TEST(Resample, StepsByThePlainRatioAndKeepsBothEnds)
{
    const std::tuple<const char*, int, int, TArray<float>> cases[] = {
        {"one frame is the first", 10, 1, {0}},
        {"two are the ends", 10, 2, {0, 9}},
        {"the gap at the end is larger", 10, 5, {0, 2, 4, 6, 9}},
        {"between frames it is linear", 10, 4, {0, 2.5f, 5, 9}},
    };
    for (const auto& [szLabel, nFrom, nTo, expected] : cases)
    {
        SCOPED_TRACE(szLabel);
        EXPECT_TRUE(ResampleArray<float>(Ramp(nFrom), nTo) == expected);
    }
}

TEST(Resample, EachTypeHasItsRule)
{
    const TArray<int32_t> ints{0, 0, 10, -7, 5};
    EXPECT_TRUE(ResampleArray<int32_t>(ints, 4) == (TArray<int32_t>{0, 2, 1, 5})) << "cut towards zero";
    EXPECT_EQ(Interpolate(INT32_MAX, INT32_MAX - 1, 0.5f), INT32_MAX);
    EXPECT_EQ(Interpolate(INT32_MIN, INT32_MIN, 0.5f), INT32_MIN);
    const TArray<uint32_t> codes{1, 2, 3, 4, 9};
    EXPECT_TRUE(ResampleArray<uint32_t>(codes, 4) == (TArray<uint32_t>{1, 2, 3, 9}));
    const TArray<bool> flags{false, true, false, true, false};
    EXPECT_TRUE(ResampleArray<bool>(flags, 4) == (TArray<bool>{false, true, false, false}));
    const TArray<SVector2> vectors{{0, 0}, {1, 10}, {2, 20}, {3, 30}, {4, 40}};
    EXPECT_EQ(ResampleArray<SVector2>(vectors, 4)[1], (SVector2{1.25f, 12.5f}));
    EXPECT_EQ(Interpolate(SVector3{0, 4, 8}, SVector3{4, 4, 0}, 0.25f), (SVector3{1, 4, 6}));
    EXPECT_EQ(Interpolate(SVector4{0, 4, 8, -4}, SVector4{4, 4, 0, 4}, 0.25f), (SVector4{1, 4, 6, -2}));
}

TEST(Resample, RefusesToDoubleATrack)
{
    ZAssertTrap trap;
    EXPECT_THROW(ResampleArray<float>(Ramp(4), 8), zhalt_exception);
    EXPECT_STREQ(trap.FirstExpression().ToCString(), "m_pStart + nIndex < GetEnd()");
    trap.Clear();
    EXPECT_THROW(ResampleArray<float>(Ramp(4), 0), zhalt_exception);
    EXPECT_STREQ(trap.FirstExpression().ToCString(), "newFrameCount > 0");
}

TEST(AnimatedProperty, HoldsOneTypeAndResamplesIt)
{
    auto pProperty = ZAnimatedProperty::Create<float>("export_blink", Ramp(10).Ref());
    const auto pResampled = ZAnimatedProperty::Resample(pProperty, 5);
    EXPECT_TRUE(pResampled->Name() == "export_blink");
    EXPECT_TRUE(pResampled->GetValues<float>() == (TArray<float>{0, 2, 4, 6, 9}));

    ZAssertTrap trap;
    pProperty->AddValue(ZVariant(true));
    EXPECT_STREQ(trap.FirstExpression().ToCString(), "value.GetTypeID() == m_typeID");
    trap.Clear();
    pProperty->GetValues<int32_t>();
    EXPECT_STREQ(trap.FirstExpression().ToCString(), "m_typeID == ::GetTypeID<T>()");
    EXPECT_THROW(ZAnimatedProperty::Resample(TSharedPtr<ZAnimatedProperty>::Create("q", GetTypeID<SQuaternion>()), 5),
                 ZAnimationException);
}

} // namespace
