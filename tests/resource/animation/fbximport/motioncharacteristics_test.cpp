#include "resource/animation/fbximport/motioncharacteristics.h"

#include <gtest/gtest.h>

namespace
{

using namespace ResourceAnimation;

/// A walk along x at one metre a second, at 30 frames a second.
TArray<STrajectorySample> Walk(uint32_t nFrames)
{
    TArray<STrajectorySample> samples;
    for (uint32_t i = 0; i < nFrames; ++i)
    {
        samples.Add(STrajectorySample());
        samples[i].fTime = static_cast<float>(i) / 30.0f;
        samples[i].vPosition.x = static_cast<float>(i) * 100.0f / 30.0f; // centimetres
    }
    return samples;
}

SAnimationCharacteristics Computed(const TArray<STrajectorySample>& samples)
{
    SAnimationCharacteristics result;
    ComputeAnimationCharacteristics(samples, 30.0f, result);
    return result;
}

TEST(MotionCharacteristics, SpansAreATwentiethOfTheTake)
{
    // Slow in the first two segments, fast after them.
    TArray<STrajectorySample> samples = Walk(40);
    for (uint32_t i = 0; i < 40; ++i)
        samples[i].vPosition.x = i <= 2 ? static_cast<float>(i) : static_cast<float>(10 * i);
    const SAnimationCharacteristics c = Computed(samples);
    EXPECT_NEAR(c.fLinearStartVelocity, 0.3f, 1e-4f) << "at 40 frames the span is 2";
    EXPECT_NEAR(c.fLinearEndVelocity, 3.0f, 1e-3f);
    samples.Resize(39);
    samples[1].vPosition.x = 5.0f;
    EXPECT_NEAR(Computed(samples).fLinearStartVelocity, 1.5f, 1e-4f) << "below that it is one segment";
}

TEST(MotionCharacteristics, OfLittleMotionAreZeroWhereTheyMustBe)
{
    const SAnimationCharacteristics one = Computed(Walk(1));
    EXPECT_EQ(one.fTotalLinearDelta, 0.0f);
    EXPECT_EQ(one.fAverageLinearVelocity, 0.0f);
    EXPECT_EQ(one.fStartDirectionAngle, 0.0f);
    EXPECT_EQ(Computed({}).fTotalLinearDelta, 0.0f);

    TArray<STrajectorySample> up = Walk(10);
    for (uint32_t i = 0; i < 10; ++i)
        up[i].vPosition = {0.0f, 0.0f, static_cast<float>(i)};
    EXPECT_GT(Computed(up).fTotalLinearDelta, 0.0f);
    EXPECT_EQ(Computed(up).fStartDirectionAngle, 0.0f);
    // Of one who lies on the back, facing up, and is moved.
    TArray<STrajectorySample> lying = Walk(10);
    const float fHalf = std::sqrt(0.5f);
    lying[0].qRotation = {-fHalf, 0.0f, 0.0f, fHalf};
    EXPECT_EQ(Computed(lying).fStartDirectionAngle, 0.0f);
}

} // namespace
