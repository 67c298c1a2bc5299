#include "base/math/quaternion.h"

#include "base/math/zmath.h"
#include "tests/support/testing.h"

#include <random>

namespace
{

SQuaternion AxisTurn(double x, double y, double z, double fDegrees)
{
    const double h = fDegrees * ZMath::PI / 360.0, n = std::sqrt(x * x + y * y + z * z);
    const double s = std::sin(h) / n;
    return {static_cast<float>(x * s), static_cast<float>(y * s), static_cast<float>(z * s),
            static_cast<float>(std::cos(h))};
}

TEST(ZMath, AgreesWithTheSystemsFunctions)
{
    std::mt19937_64 random(0x5eed);
    std::uniform_real_distribution<double> angle(-1000.0, 1000.0), unit(-1.0, 1.0);
    for (int i = 0; i < 200000; ++i)
    {
        const double a = i < 1000 ? (i - 500) * ZMath::PI / 8.0 : angle(random);
        double fSin, fCos;
        ZMath::SinCos(a, fSin, fCos);
        ASSERT_NEAR(fSin, std::sin(a), 1e-15) << a;
        ASSERT_NEAR(fCos, std::cos(a), 1e-15) << a;
        const double y = unit(random), x = unit(random);
        ASSERT_NEAR(ZMath::ATan2(y, x), std::atan2(y, x), 1e-15) << y << " " << x;
        ASSERT_NEAR(ZMath::ACos(x), std::acos(x), 2e-15) << x;
    }
    EXPECT_EQ(ZMath::ACos(2.0), 0.0);
    EXPECT_EQ(ZMath::ACos(-2.0), ZMath::PI);
    double fSin, fCos;
    ZMath::SinCos(std::numeric_limits<double>::infinity(), fSin, fCos);
    EXPECT_TRUE(std::isnan(fSin) && std::isnan(fCos));
}

TEST(ZMath, ShortestAngleCrossesTheTurn)
{
    EXPECT_NEAR(ZMath::GetAngleTowards(3.0f, -3.0f), 2.0 * ZMath::PI - 6.0, 1e-6);
    EXPECT_NEAR(ZMath::GetAngleTowards(-3.0f, 3.0f), 6.0 - 2.0 * ZMath::PI, 1e-6);
    EXPECT_NEAR(ZMath::GetAngleTowards(0.25f, 0.5f + 4.0f * ZMath::PI_F), 0.25, 1e-6);
    EXPECT_GT(ZMath::GetAngleTowards(0.0f, 3.1415925f), 0.0f);
}

TEST(Quaternion, ProductAppliesTheRightFactorFirst)
{
    const SQuaternion turnX = AxisTurn(1, 0, 0, 90), turnZ = AxisTurn(0, 0, 1, 90);
    const SVector3 v = Rotate(turnZ * turnX, {0.0f, 1.0f, 0.0f}); // y to z, and z stays
    EXPECT_NEAR(v.z, 1.0f, 1e-6f);
    // A row vector times the matrix turns the way the conjugate does: the runtime's sense.
    const SQuaternion q = AxisTurn(0.3, -0.5, 0.8, 75);
    const SMatrix43 m = MatrixFromQuaternion(q.GetConjugate());
    const SVector3 p{1.0f, 2.0f, -3.0f}, expected = Rotate(q, p);
    const float fRow[] = {expected.x, expected.y, expected.z};
    for (int i = 0; i < 3; ++i)
        EXPECT_NEAR(p.x * m.m[0][i] + p.y * m.m[1][i] + p.z * m.m[2][i], fRow[i], 1e-5f);
}

TEST(Quaternion, AxisAngleAndRotationVector)
{
    const float4 axis = QuaternionToAxisAngle(AxisTurn(0, 3, 4, 40));
    EXPECT_NEAR(axis.y, 0.6f, 1e-6f);
    EXPECT_NEAR(axis.z, 0.8f, 1e-6f);
    EXPECT_NEAR(axis.w, 40.0 * ZMath::PI / 180.0, 1e-6);
    EXPECT_EQ(QuaternionToAxisAngle(SQuaternion()), float4());
    EXPECT_EQ(QuaternionToAxisAngle({1e-7f, 0.0f, 0.0f, 1.0f}), float4()) << "next to the identity there is no axis";

    // A turn of 300 degrees is one of 60 the other way.
    const float4 v = QuaternionToRotationVector(AxisTurn(0, 0, 1, 300));
    EXPECT_NEAR(v.z, -ZMath::PI / 3.0, 1e-6);
    const SQuaternion back = QuaternionFromRotationVector(v);
    EXPECT_NEAR(std::fabs(Dot(back, AxisTurn(0, 0, 1, 300))), 1.0f, 1e-6f);
    EXPECT_EQ(QuaternionFromRotationVector(float4()), SQuaternion());
}

TEST(Quaternion, SlerpTakesTheShorterArc)
{
    const SQuaternion a = AxisTurn(0, 0, 1, 10), b = AxisTurn(0, 0, 1, 50);
    const SQuaternion negated{-b.x, -b.y, -b.z, -b.w};
    for (const SQuaternion& to : {b, negated})
        EXPECT_NEAR(std::fabs(Dot(QuaternionSlerp(a, to, 0.25f), AxisTurn(0, 0, 1, 20))), 1.0f, 1e-6f);
    EXPECT_TRUE(QuaternionSlerp(a, a, 0.5f).IsNearEqual(a, 1e-6f));
}

TEST(Quaternion, NormalisesByEstimateToFloatAccuracy)
{
    std::mt19937 random(7);
    std::uniform_real_distribution<float> component(-1e3f, 1e3f);
    for (int i = 0; i < 10000; ++i)
    {
        const float4 v =
            WVectorNormalize4Exact({component(random), component(random), component(random), component(random)});
        ASSERT_NEAR(std::sqrt(double(v.x) * v.x + double(v.y) * v.y + double(v.z) * v.z + double(v.w) * v.w), 1.0,
                    3e-7);
    }
    const float4 two = WVectorNormalize2Exact({3.0f, -4.0f, 9.0f, 9.0f});
    EXPECT_NEAR(two.x, 0.6f, 1e-6f);
    EXPECT_NEAR(two.y, -0.8f, 1e-6f);
    EXPECT_NEAR(WVectorNormalize3Exact({2.0f, -3.0f, 6.0f, 9.0f}).z, 6.0f / 7.0f, 1e-6f);
    ZAssertTrap trap;
    WVectorNormalize3Exact(float4{0.0f, 0.0f, 0.0f, 5.0f});
    EXPECT_EQ(trap.FirstExpression(), "*reinterpret_cast<float*>(&t) != 0.f");
}

} // namespace
