#include "system/animation/quaternioncomp.h"

#include "system/animation/quaternionpackers.h"
#include "tests/system/animation/testclip.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <vector>

namespace
{

constexpr double DEGREES = 57.29577951308232;

SQuaternion Negated(const SQuaternion& q)
{
    return {-q.x, -q.y, -q.z, -q.w};
}

/// Angle of the rotation between two, in degrees; exact for small ones, where acos of the dot product is not.
double AngleBetween(const SQuaternion& a, const SQuaternion& b)
{
    const double p[4] = {a.x, a.y, a.z, a.w}, q[4] = {b.x, b.y, b.z, b.w};
    double pp = 0.0, qq = 0.0, fMinus = 0.0, fPlus = 0.0;
    for (int n = 0; n < 4; ++n)
    {
        pp += p[n] * p[n];
        qq += q[n] * q[n];
    }
    for (int n = 0; n < 4; ++n)
    {
        const double d = p[n] / std::sqrt(pp) - q[n] / std::sqrt(qq), s = p[n] / std::sqrt(pp) + q[n] / std::sqrt(qq);
        fMinus += d * d;
        fPlus += s * s;
    }
    return 4.0 * std::asin(std::min(1.0, 0.5 * std::sqrt(std::min(fMinus, fPlus)))) * DEGREES;
}

double UnitError(const SQuaternion& q)
{
    const double x = q.x, y = q.y, z = q.z, w = q.w;
    return std::fabs(std::sqrt(x * x + y * y + z * z + w * w) - 1.0);
}

/// Where quantisers of this kind go wrong: the centres and the seams of the four cells, turns next to none and next to
/// half a turn. `fStep` is about one step of the form under test.
std::vector<SQuaternion> Sweep(double fStep)
{
    ZRandom random(0x5eed);
    std::vector<SQuaternion> sweep;
    for (int n = 0; n < 60000; ++n)
        sweep.push_back(random.Rotation());
    const auto add = [&sweep](const double(&q)[4], size_t nFirst)
    {
        const double f = 1.0 / std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
        sweep.push_back({static_cast<float>(q[nFirst & 3] * f), static_cast<float>(q[(nFirst + 1) & 3] * f),
                         static_cast<float>(q[(nFirst + 2) & 3] * f), static_cast<float>(q[(nFirst + 3) & 3] * f)});
    };
    for (int n = 0; n < 20000; ++n)
    {
        const double fSmall = std::ldexp(1.0, -static_cast<int>(random.Bits() % 30));
        add({fSmall * random.Signed(), fSmall * random.Signed(), fSmall * random.Signed(), 1.0}, 0); // next to identity
        add({random.Signed(), random.Signed(), random.Signed(), fSmall * fStep * random.Signed()}, 0); // half a turn
        // Two, three or four components of one size, exactly or give or take a few steps.
        const double fApart = n % 2 ? 0.0 : 3.0 * fStep;
        double seam[4] = {random.Signed(), random.Signed(), random.Signed(), random.Signed()};
        for (uint64_t i = 0; i < 2 + static_cast<uint64_t>(n % 3); ++i)
            seam[i] = (random.Bits() & 1 ? 1.0 : -1.0) * (1.0 + fApart * random.Signed());
        add(seam, random.Bits() & 3);
    }
    return sweep;
}

template <class TForm>
double ErrorOf(const SQuaternion& q)
{
    return AngleBetween(q, TForm::Unpack(TForm::Pack(q)));
}

/// The worst error of the sweep, and of what is found by walking uphill from where it is large: `fStep` is about the
/// step of the form.
template <class TForm>
double WorstError(double fStep)
{
    const std::vector<SQuaternion> sweep = Sweep(fStep);
    std::vector<std::pair<double, SQuaternion>> errors;
    for (const SQuaternion& q : sweep)
    {
        const auto uiCode = TForm::Pack(q);
        EXPECT_EQ(uiCode, TForm::Pack(Negated(q)));
        const SQuaternion decoded = TForm::Unpack(uiCode);
        EXPECT_LT(UnitError(decoded), 2e-7);
        EXPECT_EQ(uiCode, TForm::Pack(decoded));
        errors.emplace_back(AngleBetween(q, decoded), q);
        if (::testing::Test::HasFailure())
            return 0.0;
    }
    constexpr size_t nClimbers = 500;
    std::partial_sort(errors.begin(), errors.begin() + nClimbers, errors.end(),
                      [](const auto& a, const auto& b) { return a.first > b.first; });
    ZRandom random(8);
    double fWorst = errors.front().first;
    for (size_t i = 0; i < nClimbers; ++i)
    {
        auto [fError, at] = errors[i];
        double fReach = fStep;
        for (int n = 0; n < 150; ++n)
        {
            const auto move = [&](float f)
            { return static_cast<float>(f * (1.0 + fReach * random.Signed()) + fReach * random.Signed()); };
            const SQuaternion next = Normalize(SQuaternion{move(at.x), move(at.y), move(at.z), move(at.w)});
            const double fNext = ErrorOf<TForm>(next);
            if (fNext < fError)
            {
                fReach *= 0.97;
                continue;
            }
            fError = fNext;
            at = next;
        }
        fWorst = std::max(fWorst, fError);
    }
    return fWorst;
}

SVector3 Axis(ZRandom& random)
{
    const SQuaternion q = random.Rotation();
    const double f = 1.0 / std::sqrt(static_cast<double>(q.x) * q.x + static_cast<double>(q.y) * q.y +
                                     static_cast<double>(q.z) * q.z);
    return {static_cast<float>(q.x * f), static_cast<float>(q.y * f), static_cast<float>(q.z * f)};
}

SQuaternion TurnAbout(const SVector3& axis, double fHalfAngle)
{
    const double s = std::sin(fHalfAngle);
    return {static_cast<float>(axis.x * s), static_cast<float>(axis.y * s), static_cast<float>(axis.z * s),
            static_cast<float>(std::cos(fHalfAngle))};
}

} // namespace

// The best any arrangement of so many codes could do is 0.0000655 and 0.1065 degrees (the covering of space by the
// body-centred lattice); 62 bits in a cubic lattice of even steps would leave 0.0000936 and 30 bits 0.1522.
TEST(QuaternionComp, ErrorStaysWithinTheBound)
{
    const double fWorst64 = WorstError<SQuaternionComp64>(1e-6);
    EXPECT_LE(fWorst64, 0.000084);
    EXPECT_GE(fWorst64, 0.000075);
    const double fWorst32 = WorstError<SQuaternionComp32>(1e-3);
    EXPECT_LE(fWorst32, 0.129);
    EXPECT_GE(fWorst32, 0.12);
}

TEST(QuaternionComp, RestAndHalfTurnsAreExact)
{
    EXPECT_EQ(SQuaternionComp64::Pack({0, 0, 0, 1}), 0u);
    EXPECT_EQ(SQuaternionComp32::Pack({0, 0, 0, -1}), 0u);
    for (const SQuaternion& q : {SQuaternion{0, 0, 0, 1}, {1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}})
    {
        EXPECT_EQ(SQuaternionComp64::Unpack(SQuaternionComp64::Pack(Negated(q))), q);
        EXPECT_EQ(SQuaternionComp32::Unpack(SQuaternionComp32::Pack(Negated(q))), q);
    }
}

TEST(QuaternionComp, AnyCodeIsAUnitRotation)
{
    ZRandom random(11);
    for (int n = 0; n < 100000; ++n)
    {
        const uint64_t uiCode = random.Bits();
        ASSERT_LT(UnitError(SQuaternionComp64::Unpack(uiCode)), 2e-7) << uiCode;
        ASSERT_LT(UnitError(SQuaternionComp32::Unpack(static_cast<uint32_t>(uiCode))), 2e-7) << uiCode;
    }
}

TEST(QuaternionComp, RotationsWithoutADirectionPackAsTheIdentity)
{
    const float fNan = std::numeric_limits<float>::quiet_NaN();
    const float fInfinity = std::numeric_limits<float>::infinity();
    const float fLargest = std::numeric_limits<float>::max();
    for (const SQuaternion& q : {SQuaternion{0, 0, 0, 0}, {fNan, 0, 0, 1}, {0, 0, 0, fNan}, {0, fInfinity, 0, 0}})
    {
        EXPECT_EQ(SQuaternionComp64::Pack(q), 0u);
        EXPECT_EQ(SQuaternionComp32::Pack(q), 0u);
        EXPECT_EQ(SQuaternionSingleAxisComp16::Pack({0, 1, 0, 0}, q), 0u);
        EXPECT_EQ(SQuaternionSingleAxisComp16::Pack(q, {0.6f, 0, 0, 0.8f}), 0u);
    }
    // Length does not count, however extreme.
    for (const float f : {fLargest, std::numeric_limits<float>::denorm_min()})
    {
        EXPECT_EQ(SQuaternionComp64::Pack({f, f, 0, f}), SQuaternionComp64::Pack({1, 1, 0, 1}));
        EXPECT_EQ(SQuaternionSingleAxisComp16::Pack({0, 1, 0, 0}, {0, f, 0, f}),
                  SQuaternionSingleAxisComp16::Pack({0, 1, 0, 0}, {0, 1, 0, 1}));
    }
}

// One code a 65536th of a full turn: half of that is 0.002747 degrees, and the polynomial's steps differ by 0.04 %.
TEST(QuaternionComp, SingleAxisErrorStaysWithinTheBoundForTurnsUpToAFullOneEitherWay)
{
    ZRandom random(3);
    double fWorst = 0.0;
    for (int nAxis = 0; nAxis < 40; ++nAxis)
    {
        const SVector3 axis = Axis(random);
        const SQuaternion reference = TurnAbout(axis, 0.05 + 0.7 * std::fabs(random.Signed()));
        for (int n = 0; n < 2000; ++n)
        {
            // Half angles beyond a quarter turn are keys whose sign nobody has corrected.
            const SQuaternion key = TurnAbout(axis, 3.14159265358979 * (n == 0 ? 1.0 : random.Signed()));
            const uint16_t uiCode = SQuaternionSingleAxisComp16::Pack(reference, key);
            ASSERT_EQ(uiCode, SQuaternionSingleAxisComp16::Pack(reference, Negated(key)));
            const SQuaternion decoded = SQuaternionSingleAxisComp16::Unpack(axis, uiCode);
            ASSERT_LT(UnitError(decoded), 3e-7);
            fWorst = std::max(fWorst, AngleBetween(key, decoded));
        }
    }
    EXPECT_LE(fWorst, 0.00279);
    EXPECT_GE(fWorst, 0.00270);
}

TEST(QuaternionComp, SingleAxisCodesAreEvenAndComeBack)
{
    const SVector3 axis{0.48f, -0.6f, 0.64f};
    const SQuaternion reference{0.3f * axis.x, 0.3f * axis.y, 0.3f * axis.z, 0.9539392f};
    EXPECT_EQ(SQuaternionSingleAxisComp16::Unpack(axis, 0), SQuaternion());
    EXPECT_EQ(SQuaternionSingleAxisComp16::Unpack(axis, 32768), (SQuaternion{-axis.x, -axis.y, -axis.z, 0.0f}));
    SQuaternion previous = SQuaternionSingleAxisComp16::Unpack(axis, 65535);
    for (uint32_t nCode = 0; nCode < 65536; ++nCode)
    {
        const SQuaternion q = SQuaternionSingleAxisComp16::Unpack(axis, static_cast<uint16_t>(nCode));
        ASSERT_EQ(SQuaternionSingleAxisComp16::Pack(reference, q), nCode);
        ASSERT_EQ(SQuaternionSingleAxisComp16::Pack(reference, Negated(q)), nCode);
        ASSERT_NEAR(AngleBetween(previous, q), 360.0 / 65536.0, 4e-5) << nCode;
        previous = q;
    }
}

TEST(QuaternionComp, SingleAxisIgnoresWhatTurnsAboutAnotherAxis)
{
    const SQuaternion reference{0, 0.6f, 0, 0.8f};
    // The nearest turn about y of a turn about y and then a little about x is the turn about y alone.
    const SQuaternion key = SQuaternion{0.01f, 0, 0, 0.99995f} * SQuaternion{0, 0.6f, 0, 0.8f};
    EXPECT_EQ(SQuaternionSingleAxisComp16::Pack(reference, key),
              SQuaternionSingleAxisComp16::Pack(reference, {0, 0.6f, 0, 0.8f}));
    EXPECT_EQ(SQuaternionSingleAxisComp16::Pack(reference, {1, 0, 0, 0}), 0u);
    // A reference that is next to the identity has no axis, and the track stores none.
    EXPECT_EQ(SQuaternionSingleAxisComp16::Pack({0, 1e-7f, 0, 1}, {0, 0.6f, 0, 0.8f}), 0u);
}

// Many keys in a call, with any set of instructions, any number of them behind the last full row of lanes, and with
// keys among them that have no direction.
TEST(QuaternionComp, EveryWayToPackGivesTheSameCodes)
{
    const float fNan = std::numeric_limits<float>::quiet_NaN();
    std::vector<SQuaternion> keys = Sweep(1e-3);
    for (size_t n = 0; n < keys.size(); n += 7)
        keys[n] = n % 2 ? SQuaternion{fNan, 0, 0, 1} : SQuaternion{0, 0, 0, 0};
    ZRandom random(6);
    std::vector<float4> axes;
    std::vector<uint64_t> codes64;
    std::vector<uint32_t> codes32;
    std::vector<uint16_t> codes16;
    for (const SQuaternion& key : keys)
    {
        const SVector3 axis = Axis(random);
        axes.push_back({axis.x, axis.y, axis.z, 1.0f});
        codes64.push_back(SQuaternionComp64::Pack(key));
        codes32.push_back(SQuaternionComp32::Pack(key));
    }
    codes16.resize(keys.size());
    BaselineQuaternionPackers().pPackSingleAxis(axes.data(), keys.data(), keys.size(), codes16.data());

    std::vector<const SQuaternionPackers*> sets = {&BaselineQuaternionPackers(), &QuaternionPackers()};
    if (Avx2QuaternionPackers() != nullptr)
        sets.push_back(Avx2QuaternionPackers());
    for (const SQuaternionPackers* pSet : sets)
    {
        size_t nFirst = 0;
        for (size_t nCount = 0; nFirst + nCount <= keys.size(); nFirst += nCount, nCount = (nCount + 1) % 1000)
        {
            constexpr uint16_t uiBehind = 0x5a5a;
            std::vector<uint64_t> got64(nCount + 1, uiBehind);
            std::vector<uint32_t> got32(nCount + 1, uiBehind);
            std::vector<uint16_t> got16(nCount + 1, uiBehind);
            pSet->pPack64(&keys[nFirst], nCount, got64.data());
            pSet->pPack32(&keys[nFirst], nCount, got32.data());
            pSet->pPackSingleAxis(&axes[nFirst], &keys[nFirst], nCount, got16.data());
            ASSERT_TRUE(std::equal(got64.begin(), got64.end() - 1, codes64.begin() + static_cast<int64_t>(nFirst)));
            ASSERT_TRUE(std::equal(got32.begin(), got32.end() - 1, codes32.begin() + static_cast<int64_t>(nFirst)));
            ASSERT_TRUE(std::equal(got16.begin(), got16.end() - 1, codes16.begin() + static_cast<int64_t>(nFirst)));
            ASSERT_TRUE(got64.back() == uiBehind && got32.back() == uiBehind && got16.back() == uiBehind);
        }
    }
}

// Packed files outlive programs: these codes must not change, nor what they mean, with compiler or machine.
TEST(QuaternionComp, CodesAreFixed)
{
    EXPECT_EQ(SQuaternionComp64::Pack({0.5f, 0.5f, 0.5f, 0.5f}), 0x1ffffefffff7ffffu);
    EXPECT_EQ(SQuaternionComp64::Pack({0.1f, -0.2f, 0.3f, 0.9273618f}), 0x04cfebb467930dc0u);
    EXPECT_EQ(SQuaternionComp32::Pack({0.1f, -0.2f, 0.3f, 0.9273618f}), 0x04cdcccdu);
    EXPECT_EQ(SQuaternionComp32::Pack({-0.7f, 0.1f, 0.7f, 0.1f}), 0x4648045fu);
    EXPECT_EQ(SQuaternionSingleAxisComp16::Pack({0, 0, 0.6f, 0.8f}, {0, 0, 0.6f, 0.8f}), 0x3470u);

    ZRandom random(1);
    std::vector<uint32_t> words;
    for (int n = 0; n < 20000; ++n)
    {
        const SQuaternion q = random.Rotation();
        const uint64_t uiCode64 = SQuaternionComp64::Pack(q);
        const uint32_t uiCode32 = SQuaternionComp32::Pack(q);
        const uint16_t uiCode16 = SQuaternionSingleAxisComp16::Pack({0.48f, -0.6f, 0.64f, 0.0f}, q);
        const SQuaternion decoded[] = {
            SQuaternionComp64::Unpack(uiCode64), SQuaternionComp32::Unpack(uiCode32),
            SQuaternionSingleAxisComp16::Unpack({0.48f, -0.6f, 0.64f}, static_cast<uint16_t>(n * 3))};
        words.insert(words.end(), {static_cast<uint32_t>(uiCode64 >> 32), static_cast<uint32_t>(uiCode64), uiCode32,
                                   static_cast<uint32_t>(uiCode16)});
        for (const SQuaternion& d : decoded)
            for (const float f : {d.x, d.y, d.z, d.w})
                words.push_back(std::bit_cast<uint32_t>(f));
    }
    uint32_t nHash = 2166136261u;
    for (const uint32_t nWord : words)
        nHash = (nHash ^ nWord) * 16777619u;
    EXPECT_EQ(nHash, 0xde8293c5u);
}
