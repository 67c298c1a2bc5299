#include "resource/animation/compress/rotationtests.h"

#include "tests/resource/animation/compress/compressclip.h"
#include "tests/resource/animation/compress/plainrules.h"

#include <gtest/gtest.h>

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

// From next to no turn to next to half a turn, and keys that are no rotations.
TEST(RotationTests, OddTracksAreJudgedAsKeyByKey)
{
    EXPECT_FALSE(IsSingleAxisRotation({}));
    const float fNan = std::numeric_limits<float>::quiet_NaN(), fInfinity = std::numeric_limits<float>::infinity();
    const SQuaternion odd[] = {{0, 0, 0, 0},         {fNan, 0, 0, 1},      {0, 0, 0, fNan},        {fInfinity, 0, 0, 1},
                               {0, 0, 0, fInfinity}, {1e30f, 0, 0, 1e30f}, {1e-30f, 0, 0, 1e-30f}, {0, 0, 0, -1}};
    ZKeyRandom random(4);
    for (int nTrack = 0; nTrack < 5000; ++nTrack)
    {
        const double fSmall = std::ldexp(ZMath::PI, -static_cast<int>(random.Below(26)));
        TTurns keys;
        for (uint32_t n = 1 + random.Below(30); n > 0; --n)
        {
            const SQuaternion q =
                Turn(random.Signed(), random.Signed(), random.Signed(), nTrack % 3 == 0 ? ZMath::PI - fSmall : fSmall);
            keys.push_back(Nudged(random, n % 2 ? q : Negated(q), 3));
            if (nTrack % 2 && random.Below(3) == 0)
                keys.back() = odd[random.Below(8)];
        }
        ASSERT_NO_FATAL_FAILURE(ExpectPlain(keys)) << nTrack;
    }
}
