#include "resource/animation/fbximport/motioncharacteristics.h"

#include "base/math/zmath.h"

#include <cmath>
#include <gtest/gtest.h>

namespace
{

using namespace ResourceAnimation;

SQuaternion YawOf(double fDegrees)
{
    double s, c;
    ZMath::SinCos(fDegrees * ZMath::PI / 360.0, s, c);
    return {0.0f, 0.0f, static_cast<float>(s), static_cast<float>(c)};
}

/// A walk along a direction at one metre a second, at 30 frames a second, facing -y turned by a yaw.
TArray<STrajectorySample> Walk(uint32_t nFrames, double fHeadingDegrees, double fYawDegrees, double fYawPerFrame = 0.0)
{
    TArray<STrajectorySample> samples;
    double s, c;
    ZMath::SinCos(fHeadingDegrees * ZMath::PI / 180.0, s, c);
    for (uint32_t i = 0; i < nFrames; ++i)
    {
        STrajectorySample sample;
        sample.fTime = static_cast<float>(i) / 30.0f;
        const double fWay = i * 100.0 / 30.0; // centimetres
        sample.vPosition = {static_cast<float>(c * fWay), static_cast<float>(s * fWay), 0.0f};
        sample.qRotation = YawOf(fYawDegrees + i * fYawPerFrame);
        samples.Add(sample);
    }
    return samples;
}

SAnimationCharacteristics Computed(const TArray<STrajectorySample>& samples)
{
    SAnimationCharacteristics result;
    ComputeAnimationCharacteristics(samples, 30.0f, result);
    return result;
}

TEST(MotionCharacteristics, OfAStraightWalk)
{
    const SAnimationCharacteristics c = Computed(Walk(61, -90.0, 0.0));
    EXPECT_NEAR(c.fTotalLinearDelta, 2.0f, 1e-5f);
    EXPECT_NEAR(c.fAverageLinearVelocity, 1.0f, 1e-5f);
    EXPECT_NEAR(c.fLinearStartVelocity, 1.0f, 1e-4f);
    EXPECT_NEAR(c.fLinearEndVelocity, 1.0f, 1e-4f);
    EXPECT_NEAR(c.fTotalLinearXDelta, 0.0f, 1e-6f);
    EXPECT_NEAR(c.fTotalLinearYDelta, -2.0f, 1e-5f);
    EXPECT_NEAR(c.fStartDirectionAngle, 0.0f, 1e-3f);
    EXPECT_EQ(c.fTotalAngularDelta, 0.0f);
    EXPECT_EQ(c.fHeadPitch, 0.0f);
}

TEST(MotionCharacteristics, DirectionIsSignedFromFacingToWay)
{
    const struct
    {
        const char* szLabel;
        double fHeading, fYaw;
        float fExpected;
    } cases[] = {
        {"walks to its left", 0.0, 0.0, ZMath::PI_F / 2},
        {"walks to its right", 180.0, 0.0, -ZMath::PI_F / 2},
        {"turned: facing is a row of the rotation, so a turn counts the other way", 180.0, 90.0, 0.0f},
        {"walks backwards", 90.0, 0.0, ZMath::PI_F},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.szLabel);
        const float fAngle = Computed(Walk(30, c.fHeading, c.fYaw)).fStartDirectionAngle;
        EXPECT_NEAR(c.fExpected == ZMath::PI_F ? std::abs(fAngle) : fAngle, c.fExpected, 1e-3f);
    }
}

TEST(MotionCharacteristics, TurnsAddUpAcrossTheSignOfZ)
{
    // From -100 to 260 degrees: the quaternion's z changes its sign twice on the way.
    const SAnimationCharacteristics c = Computed(Walk(73, 0.0, -100.0, 5.0));
    EXPECT_NEAR(c.fTotalAngularDelta, 2.0f * ZMath::PI_F, 1e-3f);
    EXPECT_NEAR(c.fAverageAngularVelocity, 2.0f * ZMath::PI_F / 2.4f, 1e-3f);
}

TEST(MotionCharacteristics, SpansAreATwentiethOfTheTake)
{
    // Slow in the first two segments, fast after them.
    TArray<STrajectorySample> samples = Walk(40, 0.0, 0.0);
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
    const SAnimationCharacteristics one = Computed(Walk(1, 0.0, 45.0));
    EXPECT_EQ(one.fTotalLinearDelta, 0.0f);
    EXPECT_EQ(one.fAverageLinearVelocity, 0.0f);
    EXPECT_EQ(one.fStartDirectionAngle, 0.0f);
    EXPECT_EQ(Computed({}).fTotalLinearDelta, 0.0f);

    TArray<STrajectorySample> up = Walk(10, 0.0, 0.0);
    for (uint32_t i = 0; i < 10; ++i)
        up[i].vPosition = {0.0f, 0.0f, static_cast<float>(i)};
    EXPECT_GT(Computed(up).fTotalLinearDelta, 0.0f);
    EXPECT_EQ(Computed(up).fStartDirectionAngle, 0.0f);

    // Of one who lies on the back, facing up, and is moved.
    TArray<STrajectorySample> lying = Walk(10, 30.0, 0.0);
    const float fHalf = std::sqrt(0.5f);
    lying[0].qRotation = {-fHalf, 0.0f, 0.0f, fHalf};
    EXPECT_EQ(Computed(lying).fStartDirectionAngle, 0.0f);
}

} // namespace
