#include "resource/animation/compress/rotationtests.h"

#include "resource/animation/compress/keylanes.h"
#include "tests/resource/animation/compress/compressclip.h"
#include "tests/resource/animation/compress/plainrules.h"

#include <gtest/gtest.h>

#include <bit>
#include <limits>

namespace
{

using namespace ResourceAnimation;

template <class T>
TArrayRef<const T> Ref(const std::vector<T>& keys)
{
    return {keys.data(), keys.size()};
}

float Nudged(ZKeyRandom& random, float f, int nMostUlps)
{
    const int nUlps = static_cast<int>(random.Below(static_cast<uint32_t>(2 * nMostUlps + 1))) - nMostUlps;
    for (int n = 0; n < std::abs(nUlps); ++n)
        f = std::nextafter(f, nUlps < 0 ? -8.0f : 8.0f);
    return f;
}

SQuaternion Nudged(ZKeyRandom& random, const SQuaternion& q, int nMostUlps)
{
    return {Nudged(random, q.x, nMostUlps), Nudged(random, q.y, nMostUlps), Nudged(random, q.z, nMostUlps),
            Nudged(random, q.w, nMostUlps)};
}

void ExpectPlain(const TTurns& keys)
{
    const float fNearly = std::nextafter(ROTATION_TOLERANCE, 1.0f);
    for (const float fTolerance : {ROTATION_TOLERANCE, 0.5f * ROTATION_TOLERANCE, fNearly})
        ASSERT_EQ(HasDifferentRotation(Ref(keys), fTolerance), PlainRules::HasDifferentRotation(Ref(keys), fTolerance));
    const SQuaternion largest = FindLargestRotation(Ref(keys)), plain = PlainRules::FindLargestRotation(Ref(keys));
    ASSERT_EQ(std::memcmp(&largest, &plain, sizeof plain), 0);
    ASSERT_EQ(IsSingleAxisRotation(Ref(keys)), PlainRules::IsSingleAxisRotation(Ref(keys)));
}

} // namespace

TEST(RotationTests, FourAtOnceHaveTheBitsOfOne)
{
    const auto sameBits = [](float a, float b)
    { return std::bit_cast<uint32_t>(a) == std::bit_cast<uint32_t>(b) || (std::isnan(a) && std::isnan(b)); };
    const float fNan = std::numeric_limits<float>::quiet_NaN(), fInfinity = std::numeric_limits<float>::infinity();
    ZKeyRandom random(7);
    for (int n = 0; n < 20000; ++n)
    {
        SQuaternion keys[4];
        for (SQuaternion& q : keys)
        {
            q = Turn(random.Signed(), random.Signed(), random.Signed(),
                     std::ldexp(3.0, -static_cast<int>(random.Below(40))));
            if (random.Below(50) == 0)
                (&q.x)[random.Below(4)] = random.Below(2) ? fNan : fInfinity;
        }
        const KeyLanes::SVectorLanes axes = KeyLanes::QuaternionsToAxes(KeyLanes::LoadQuaternions(keys));
        const KeyLanes::float4v scale{1.0f, 0.3f, 70.0f, 1e-4f};
        const KeyLanes::SVectorLanes vectors{axes.x * scale, axes.y * scale, axes.z * scale};
        const KeyLanes::SVectorLanes units = KeyLanes::NormalizeExact(vectors);
        for (int i = 0; i < 4; ++i)
        {
            const float4 axis = QuaternionToAxis(keys[i]);
            ASSERT_TRUE(sameBits(axes.x[i], axis.x) && sameBits(axes.y[i], axis.y) && sameBits(axes.z[i], axis.z));
            if (axis == float4())
                continue; // which WVectorNormalize3Exact does not take
            const float4 unit = WVectorNormalize3Exact({vectors.x[i], vectors.y[i], vectors.z[i], 0.0f});
            ASSERT_TRUE(sameBits(units.x[i], unit.x) && sameBits(units.y[i], unit.y) && sameBits(units.z[i], unit.z));
        }
    }
}

// Tracks at the edge of the tolerances, where the last bit decides, in any number for the rows of four.
TEST(RotationTests, WholeTracksAreJudgedAsKeyByKey)
{
    ZKeyRandom random(2);
    uint32_t nMoving = 0, nSingle = 0, nTracks = 0;
    for (; nTracks < 6000; ++nTracks)
    {
        const uint32_t nKeys = 1 + random.Below(11);
        const double axis[3] = {random.Signed(), random.Signed(), random.Signed()};
        const double fReach = std::ldexp(1.0, -static_cast<int>(random.Below(24)));
        const double fWobble = nTracks % 3 == 0 ? 0.0 : std::ldexp(1.0, -static_cast<int>(8 + random.Below(8)));
        const SQuaternion rest = nTracks % 2 ? random.Rotation() : SQuaternion();
        TTurns keys;
        for (uint32_t n = 0; n < nKeys; ++n)
        {
            SQuaternion q = Turn(axis[0] + fWobble * random.Signed(), axis[1] + fWobble * random.Signed(), axis[2],
                                 fReach * random.Signed());
            q = rest * q;
            if (random.Below(4) == 0)
                q = Negated(q);
            if (n != 0 && random.Below(4) == 0)
                q = keys.back(); // plateaus
            keys.push_back(Nudged(random, q, static_cast<int>(nTracks % 5)));
        }
        ASSERT_NO_FATAL_FAILURE(ExpectPlain(keys)) << nTracks;
        nMoving += HasDifferentRotation(Ref(keys), ROTATION_TOLERANCE);
        nSingle += IsSingleAxisRotation(Ref(keys));
    }
    // The cases would tell nothing if they all fell to one side.
    EXPECT_GT(nMoving, nTracks / 4);
    EXPECT_LT(nMoving, nTracks * 3 / 4);
    EXPECT_GT(nSingle, nTracks / 8);
    EXPECT_LT(nSingle, nTracks * 7 / 8);
}

TEST(RotationTests, LargestOfNearlyEqualTurnsIsTheFirstOfTheLongest)
{
    ZKeyRandom random(4);
    for (int nTrack = 0; nTrack < 3000; ++nTrack)
    {
        // About all turns there are, from next to none to next to half a turn.
        const double fAngle = nTrack % 3 == 0 ? ZMath::PI - std::ldexp(1.0, -static_cast<int>(random.Below(26)))
                                              : std::ldexp(ZMath::PI, -static_cast<int>(random.Below(26)));
        TTurns keys;
        for (int n = 0; n < 30; ++n)
        {
            const SQuaternion q = Turn(random.Signed(), random.Signed(), random.Signed(), fAngle);
            keys.push_back(Nudged(random, n % 2 ? q : Negated(q), 3));
        }
        ASSERT_NO_FATAL_FAILURE(ExpectPlain(keys)) << nTrack;
    }
}

TEST(RotationTests, KeysThatAreNoRotationsAreJudgedAsKeyByKey)
{
    const float fNan = std::numeric_limits<float>::quiet_NaN(), fInfinity = std::numeric_limits<float>::infinity();
    const SQuaternion odd[] = {{0, 0, 0, 0},         {fNan, 0, 0, 1},      {0, 0, 0, fNan},        {fInfinity, 0, 0, 1},
                               {0, 0, 0, fInfinity}, {1e30f, 0, 0, 1e30f}, {1e-30f, 0, 0, 1e-30f}, {0, 0, 0, -1}};
    ZKeyRandom random(5);
    for (int nTrack = 0; nTrack < 2000; ++nTrack)
    {
        TTurns keys;
        for (uint32_t n = 1 + random.Below(9); n > 0; --n)
            keys.push_back(random.Below(3) == 0 ? odd[random.Below(8)]
                                                : Turn(0, random.Below(2) ? 1.0 : 0.0, 1, random.Signed()));
        ASSERT_NO_FATAL_FAILURE(ExpectPlain(keys)) << nTrack;
    }
}

TEST(RotationTests, NoKeysAreAboutNoAxis)
{
    EXPECT_FALSE(IsSingleAxisRotation({}));
}

TEST(RotationTests, TranslationsAreComparedWithTheFirstByComponent)
{
    ZKeyRandom random(3);
    const float fTolerance = 0.00048828125f;
    uint32_t nMoving = 0;
    for (int nTrack = 0; nTrack < 5000; ++nTrack)
    {
        const SVector3 first{random.Signed(), random.Signed(), random.Signed()};
        TMoves keys{first};
        for (uint32_t n = random.Below(12); n > 0; --n)
        {
            SVector3 key = first;
            if (random.Below(8) == 0)
            {
                float& f = (&key.x)[random.Below(3)];
                f = Nudged(random, f + (random.Below(2) ? fTolerance : -fTolerance), 2);
            }
            keys.push_back(key);
        }
        if (nTrack % 50 == 0)
            keys[random.Below(static_cast<uint32_t>(keys.size()))].y = std::numeric_limits<float>::quiet_NaN();
        const bool bMoving = HasDifferentTranslation(Ref(keys), fTolerance);
        ASSERT_EQ(bMoving, PlainRules::HasDifferentTranslation(Ref(keys), fTolerance));
        nMoving += bMoving;
    }
    EXPECT_GT(nMoving, 800u);
    EXPECT_LT(nMoving, 4000u);
}
