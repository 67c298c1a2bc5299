#include "tests/fbx/loadscene.h"

#include <cmath>

namespace
{

using namespace fbxfile;

/// A scene of one node whose x is the curve.
class OneCurve
{
public:
    OneCurve(std::vector<int64_t> times, std::vector<double> values, std::vector<KeyAttribute> attributes,
             Extrapolation pre = {}, Extrapolation post = {})
        : m_scene(Make(std::move(times), std::move(values), std::move(attributes), pre, post))
    {
        EXPECT_TRUE(m_scene.IsLoaded()) << m_scene.Error();
        m_pNode = &m_scene.Node("a");
    }
    double At(double fSeconds) { return m_pNode->EvaluateLocalTransform(FbxTime::FromSeconds(fSeconds)).t.x; }
    double AtTicks(int64_t n) { return m_pNode->EvaluateLocalTransform(FbxTime::FromTicks(n)).t.x; }

private:
    static std::string Make(std::vector<int64_t> times, std::vector<double> values,
                            std::vector<KeyAttribute> attributes, Extrapolation pre, Extrapolation post)
    {
        Scene scene;
        const int64_t nModel = scene.Model("a");
        const int64_t nNode =
            scene.CurveNode(scene.Layer("l", scene.Stack("s", 0, 1)), nModel, "Lcl Translation", {0, 0, 0});
        scene.Curve(nNode, "d|X", std::move(times), std::move(values), std::move(attributes), pre, post);
        return scene.Write();
    }
    LoadedScene m_scene;
    FbxNode* m_pNode;
};

constexpr uint32_t kWeighted = 0x3000000;
constexpr uint32_t kTcb = 0x208;
constexpr uint32_t kIndependent = 0x2000;
constexpr uint32_t kProgressive = 0x4000;

TEST(Curve, KindsOfSpans)
{
    // Keys at 0, 1, 3 seconds with 0, 10, 4; asked at half a second and at two seconds.
    const std::tuple<const char*, KeyAttribute, KeyAttribute, double, double> cases[] = {
        {"linear", {kLinear}, {kLinear}, 5, 7},
        {"step", {kStep}, {kStep}, 0, 10},
        {"step to the next value", {kStepNext}, {kStepNext}, 10, 4},
        {"kinds change from key to key", {kStep}, {kLinear}, 0, 7},
        // Hermite at the middle: mean of the ends plus an eighth of the slopes' difference times the span.
        {"flat slopes", {kCubicUser, 0, 0}, {kCubicUser, 0, 0}, 5, 7},
        {"slopes", {kCubicUser, 8, 0}, {kCubicUser, 0, 4}, 5 + 8 / 8.0, 7 - 4 * 2 / 8.0},
        {"equal weights of a third change nothing", {kCubicUser | kWeighted, 8, 0}, {kLinear}, 6, 7},
        // Chord over both neighbours: (4 - 0) / 3; at the ends the chord of the one span, both halved by 8.
        {"automatic by time",
         {kCubicAuto | kIndependent},
         {kCubicAuto | kIndependent},
         5 + (10 - 4 / 3.0) / 8,
         7 + (4 / 3.0 + 3) * 2 / 8},
        // The same, half of it from the two chords 10 and -3 blended by a third of the way.
        {"automatic",
         {kCubicAuto},
         {kCubicAuto},
         5 + (10 - (2 / 3.0 + (10 * 2 / 3.0 - 1) / 2)) / 8,
         7 + ((2 / 3.0 + (10 * 2 / 3.0 - 1) / 2) + 3) * 2 / 8},
        // A peak is no place for a slope, and ends lie flat.
        {"clamped", {kCubicAuto | kIndependent | kProgressive}, {kCubicAuto | kIndependent | kProgressive}, 5, 7},
        // Tension, continuity and bias of zero: half of each chord.
        {"tension continuity bias",
         {kTcb},
         {kTcb, 0, 0, 0},
         5 + (10 - (10 - 3) / 2.0) / 8,
         7 + ((10 - 3) / 2.0 + 3) * 2 / 8},
        {"full tension is flat", {kTcb, 1}, {kTcb, 1, 0, 0}, 5, 7 - -3 * 2 / 8.0},
    };
    for (const auto& [szLabel, firstKey, secondKey, fHalf, fTwo] : cases)
    {
        SCOPED_TRACE(szLabel);
        KeyAttribute first = firstKey;
        KeyAttribute second = secondKey;
        KeyAttribute third = second;
        if (first.nFlags == kTcb)
            first.nWeights = second.nWeights = third.nWeights = 0; // the bias stands here
        if (first.nFlags == kTcb)
            third = {kTcb, 0, 0, 0, 1};
        OneCurve curve({0, kSecond, 3 * kSecond}, {0, 10, 4}, {first, second, third});
        EXPECT_NEAR(curve.At(0.5), fHalf, 2e-6);
        EXPECT_NEAR(curve.At(2.0), fTwo, 2e-6);
        EXPECT_EQ(curve.At(0.0), 0.0);
        EXPECT_EQ(curve.At(1.0), 10.0);
        EXPECT_EQ(curve.At(3.0), 4.0);
        EXPECT_EQ(curve.At(-2.0), 0.0);
        EXPECT_EQ(curve.At(99.0), 4.0);
    }
}

TEST(Curve, WeightedSpansSolveForTime)
{
    // The curve through (0,0) (w,0) (1-v,1) (1,1) in time and value: sampled along its own parameter, each point has
    // to come back from its time.
    for (const double w : {0.05, 0.3333, 0.6, 0.98})
    {
        for (const double v : {0.05, 0.5, 0.98})
        {
            const uint32_t nRight = static_cast<uint32_t>(w * 9999.0 + 0.5);
            const uint32_t nLeft = static_cast<uint32_t>(v * 9999.0 + 0.5);
            OneCurve curve({0, kSecond}, {0, 1}, {{kCubicUser | kWeighted, 0, 0, nLeft << 16 | nRight, 2}});
            const double a = nRight / 9999.0;
            const double b = 1.0 - nLeft / 9999.0;
            for (double p = 0.02; p < 1.0; p += 0.06)
            {
                const double q = 1.0 - p;
                const double fTime = 3 * q * q * p * a + 3 * q * p * p * b + p * p * p;
                const double fValue = 3 * q * p * p + p * p * p;
                // The parameter is lost where the curve is steep; time is what must agree.
                const double fSlope = 6 * q * p / (3 * q * q * a + 6 * q * p * (b - a) + 3 * p * p * (1 - b));
                EXPECT_NEAR(curve.At(fTime), fValue, 2e-6 * (1.0 + std::abs(fSlope))) << w << ' ' << v << ' ' << p;
            }
        }
    }
}

TEST(Curve, Extrapolation)
{
    // 0, 10, 4 at 1, 2, 3 seconds, linear.
    // fBefore: at -0.5: one and a half seconds early
    // fAfter: at 3.5
    // fLate: at 7.25
    const std::tuple<const char*, Extrapolation, double, double, double> cases[] = {
        {"constant", {'C', -1}, 0, 4, 4},
        {"slope", {'K', -1}, -15, 4 - 3, 4 - 6 * 4.25},
        {"repeat", {'R', -1}, 5, 5, 2.5},
        {"repeat once", {'R', 1}, 5, 5, 4},
        {"repeat never", {'R', 0}, 0, 4, 4},
        {"mirror", {'M', -1}, 7, 7, 5.5},
        {"mirror once", {'M', 1}, 7, 7, 0},
        {"repeat with offset", {'A', -1}, 1, 9, 2.5 + 12},
        {"repeat twice with offset", {'A', 2}, 1, 9, 4 + 8},
        {"unknown is constant", {'Z', -1}, 0, 4, 4},
    };
    for (const auto& [szLabel, how, fBefore, fAfter, fLate] : cases)
    {
        SCOPED_TRACE(szLabel);
        OneCurve curve({kSecond, 2 * kSecond, 3 * kSecond}, {0, 10, 4}, {}, how, how);
        EXPECT_NEAR(curve.At(-0.5), fBefore, 1e-6);
        EXPECT_NEAR(curve.At(3.5), fAfter, 1e-6);
        EXPECT_NEAR(curve.At(7.25), fLate, 1e-6);
        EXPECT_EQ(curve.At(1.0), 0.0);
        EXPECT_EQ(curve.At(3.0), 4.0);
    }
    OneCurve cubic({0, kSecond}, {0, 1}, {{kCubicUser, 3, 7, 218434821, 2}}, {'K', -1}, {'K', -1});
    EXPECT_NEAR(cubic.At(-2.0), -6.0, 1e-6);
    EXPECT_NEAR(cubic.At(3.0), 15.0, 1e-6);
    OneCurve instant({kSecond, kSecond}, {3, 5}, {}, {'R', -1}, {'M', -1});
    EXPECT_EQ(instant.At(0.0), 3.0);
    EXPECT_EQ(instant.At(9.0), 5.0);
    OneCurve ends({INT64_MIN, 0, INT64_MAX}, {1, 2, 3}, {{kLinear, 0, 0, 0, 3}}, {'R', -1}, {'A', -1});
    EXPECT_TRUE(std::isfinite(ends.At(1e9)) && std::isfinite(ends.At(-1e9)));
}

/// An importer asks for the time of frame f as double(float(f) / float(rate)); files hold the tick nearest to f / rate.
TEST(Curve, StepsSwitchOnTheirFrame)
{
    const int nLast = 100000;
    for (const double fRate : {24.0, 25.0, 30000.0 / 1001.0, 30.0, 60.0})
    {
        SCOPED_TRACE(fRate);
        std::vector<int64_t> times;
        std::vector<double> values;
        for (int nFrame = 0; nFrame <= nLast; ++nFrame)
        {
            times.push_back(static_cast<int64_t>(std::floor(nFrame * (static_cast<double>(kSecond) / fRate) + 0.5)));
            values.push_back(nFrame);
        }
        OneCurve curve(times, values, {{kStep, 0, 0, 0, nLast + 1}});
        for (int nFrame = 0; nFrame <= nLast; ++nFrame)
        {
            const float fTime = static_cast<float>(nFrame) / static_cast<float>(fRate);
            ASSERT_EQ(curve.At(static_cast<double>(fTime)), nFrame);
        }
        // Not before: a thousandth of a frame early is the frame before.
        ASSERT_EQ(curve.AtTicks(times[100] - static_cast<int64_t>(static_cast<double>(kSecond) / fRate / 1000)), 99.0);
    }
}

TEST(Curve, ChannelsGoByTheirNames)
{
    // Of three channels the file lists one, between others that have no place of their own.
    Scene scene;
    const int64_t nModel = scene.Model("a");
    const int64_t nNode = scene.CurveNode(scene.Layer("l", scene.Stack("s", 0, 1)), nModel, "Lcl Translation", {});
    for (const char* szName : {"d|odd", "d|Y", "d|other"})
        scene.Property(nNode, szName, "Number", "A", {D(7)});
    scene.Curve(nNode, "d|Y", {0}, {5});
    LoadedScene loaded(scene.Write());
    EXPECT_TRUE(Near(loaded.Node("a").EvaluateLocalTransform(FbxTime()).t, {7, 5, 7}, 0.0));
    EXPECT_TRUE(loaded.Node("a").FindProperty("Lcl Translation").GetCurveNode()->GetCurve(1));
}

TEST(Curve, TimeMayJumpAbout)
{
    std::vector<int64_t> times;
    std::vector<double> values;
    for (int n = 0; n < 1000; ++n)
    {
        times.push_back(int64_t(n) * n * 1000000 + n);
        values.push_back(n % 17);
    }
    OneCurve moving(times, values, {});
    uint64_t nRandom = 7;
    for (int n = 0; n < 2000; ++n)
    {
        nRandom = nRandom * 6364136223846793005u + 1442695040888963407u;
        const int64_t nTicks = static_cast<int64_t>(nRandom >> 24) % times.back();
        const size_t nAfter = static_cast<size_t>(std::upper_bound(times.begin(), times.end(), nTicks) - times.begin());
        const double u =
            static_cast<double>(nTicks - times[nAfter - 1]) / static_cast<double>(times[nAfter] - times[nAfter - 1]);
        const double fExpected = values[nAfter - 1] + (values[nAfter] - values[nAfter - 1]) * u;
        // Within the nearness to a key that a 32-bit time leaves open.
        const double fSlack =
            20.0 * static_cast<double>(nTicks) / 8e6 / static_cast<double>(times[nAfter] - times[nAfter - 1]);
        ASSERT_NEAR(moving.AtTicks(nTicks), fExpected, 1e-9 + fSlack) << nTicks;
    }
}

} // namespace
