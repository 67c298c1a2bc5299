#include "fbx/scene/fbxmath.h"
#include "tests/fbx/loadscene.h"

#include <cmath>
#include <limits>

namespace
{

/// Steps between neighbouring doubles.
double Steps(double a, double b)
{
    return std::abs(a - b) / (std::nextafter(std::abs(b), INFINITY) - std::abs(b));
}

TEST(Math, SineAndCosine)
{
    const long double fRadians = 3.141592653589793238462643383279502884L / 180.0L;
    double fWorst = 0.0;
    for (int n = -40000; n <= 40000; ++n)
    {
        const double fDegrees = n * 0.0913;
        double s, c;
        FbxSinCosDegrees(fDegrees, s, c);
        fWorst = std::max(fWorst, std::abs(s - static_cast<double>(std::sin(fDegrees * fRadians))));
        fWorst = std::max(fWorst, std::abs(c - static_cast<double>(std::cos(fDegrees * fRadians))));
    }
    EXPECT_LE(fWorst, 2.3e-16); // a unit in the last place below one

    // Quarter turns are exact however far around.
    for (const double fTurns : {0.0, 1.0, -7.0, 1e5, 3e12})
    {
        for (int nQuarter = 0; nQuarter < 4; ++nQuarter)
        {
            SCOPED_TRACE(nQuarter);
            double s, c;
            FbxSinCosDegrees(fTurns * 360.0 + nQuarter * 90.0, s, c);
            EXPECT_EQ(s, (nQuarter == 1) - (nQuarter == 3));
            EXPECT_EQ(c, (nQuarter == 0) - (nQuarter == 2));
        }
    }
    double s, c;
    FbxSinCosDegrees(std::numeric_limits<double>::infinity(), s, c);
    EXPECT_TRUE(std::isnan(s) && std::isnan(c));
}

TEST(Math, InverseTangentLogarithmAndPower)
{
    double fWorst = 0.0;
    for (int n = 0; n < 3600; ++n)
    {
        const double fAngle = (n - 1800) * 3.14159265358979 / 1800.0;
        for (const double fLength : {1e-200, 1.0, 1e200})
        {
            const double y = std::sin(fAngle) * fLength;
            const double x = std::cos(fAngle) * fLength;
            fWorst = std::max(fWorst, Steps(FbxAtan2(y, x), std::atan2(y, x)));
        }
    }
    EXPECT_LE(fWorst, 3.0);
    EXPECT_EQ(FbxAtan2(0.0, 0.0), 0.0);
    EXPECT_DOUBLE_EQ(FbxAtan2(0.0, -1.0), 3.14159265358979323846);

    fWorst = 0.0;
    for (double f = 1e-6; f < 1e6; f *= 1.0137)
        fWorst = std::max(fWorst, Steps(FbxLog(f), std::log(f)) * (std::abs(std::log(f)) > 0.1 ? 1.0 : 0.0));
    for (double f = -700.0; f < 700.0; f += 0.37)
        fWorst = std::max(fWorst, Steps(FbxExp(f), std::exp(f)));
    EXPECT_LE(fWorst, 8.0);
}

TEST(Math, EulerAnglesComeBack)
{
    for (int nOrder = 0; nOrder < 6; ++nOrder)
    {
        const EFbxRotationOrder eOrder = static_cast<EFbxRotationOrder>(nOrder);
        for (int n = 0; n < 500; ++n)
        {
            // The middle angle reaches both poles.
            const FbxVector3 angles{n * 37.0 - 900.0, (n % 37 - 18) * 10.0, n * 11.0};
            SCOPED_TRACE(testing::Message() << "order " << nOrder << " case " << n);
            const FbxQuaternion q = FbxQuaternion::FromEuler(angles, eOrder);
            EXPECT_TRUE(Near(FbxQuaternion::FromEuler(FbxToEuler(q, eOrder), eOrder), q, 1e-13));
        }
    }
    EXPECT_TRUE(Near(FbxQuaternion{0, 0, 1, 0}.Rotate({1, 2, 3}), {-1, -2, 3}, 0.0));
    const FbxQuaternion q = FbxQuaternion::FromEuler({10, 20, 30});
    EXPECT_TRUE(Near(q * q.Inverse(), FbxQuaternion(), 1e-15));
    // x acts first: the image of x is turned about y, then z alone.
    EXPECT_TRUE(Near(FbxQuaternion::FromEuler({77, 0, 90}).Rotate({1, 0, 0}), {0, 1, 0}, 1e-15));
    EXPECT_TRUE(
        Near(FbxQuaternion::FromEuler({90, 0, 90}, EFbxRotationOrder::eZYX).Rotate({1, 0, 0}), {0, 0, 1}, 1e-15));
}

TEST(Math, Decomposition)
{
    const FbxQuaternion q = FbxQuaternion::FromEuler({20, -50, 110});
    const std::tuple<const char*, FbxVector3, FbxVector3, FbxQuaternion> cases[] = {
        {"plain", {2, 3, 4}, {2, 3, 4}, {0, 0, 0, 1}},
        {"one mirrored axis turns the others about", {10, -10, 10}, {-10, -10, -10}, {0, 1, 0, 0}},
        {"two make a half turn", {-1, -2, 3}, {1, 2, 3}, {0, 0, 1, 0}},
        {"three are a mirror", {-1, -2, -3}, {-1, -2, -3}, {0, 0, 0, 1}},
        {"zero stays zero", {0, 2, 3}, {0, 2, 3}, {0, 0, 0, 1}},
        {"all zero", {0, 0, 0}, {0, 0, 0}, {0, 0, 0, 1}},
    };
    for (const auto& [szLabel, written, expected, turn] : cases)
    {
        SCOPED_TRACE(szLabel);
        FbxTransform from;
        from.t = {5, 6, 7};
        from.q = q;
        from.s = written;
        const FbxMatrix4 matrix = FbxMatrix4::FromTransform(from);
        FbxTransform to;
        matrix.Decompose(to);
        EXPECT_TRUE(Near(to.t, from.t, 0.0));
        EXPECT_TRUE(Near(to.s, expected, 1e-14));
        const bool bDefined = written.x != 0.0 || written.y != 0.0;
        EXPECT_TRUE(!bDefined || Near(to.q, q * turn, 1e-14));
        EXPECT_TRUE(Near(FbxMatrix4::FromTransform(to), matrix, 1e-13));

        FbxQuaternion normal = from.q;
        FbxVector3 scale = written;
        FbxNormaliseSigns(normal, scale);
        EXPECT_TRUE(Near(scale, expected, 0.0));
        EXPECT_FALSE(std::signbit(scale.x) && scale.x == 0.0);
        EXPECT_TRUE(Near(normal, q * turn, 1e-15));
    }

    // Sheared: the first axis keeps its direction, scales are the lengths of the axes.
    FbxMatrix4 sheared;
    sheared.m[1][0] = 1.0;
    FbxTransform transform;
    FbxVector3 shear;
    double fSign = 0.0;
    sheared.Decompose(transform, shear, fSign);
    EXPECT_TRUE(Near(transform.q, FbxQuaternion(), 1e-15));
    EXPECT_TRUE(Near(transform.s, {1, std::sqrt(2.0), 1}, 1e-15));
    EXPECT_NEAR(shear.x, std::sqrt(0.5), 1e-15);
    EXPECT_EQ(fSign, 1.0);
}

} // namespace
