#include "system/animation/quaternioncomp.h"

#include "system/animation/quaternionpackers.h"
#include "tests/support/testing.h"
#include "tests/system/animation/testclip.h"

#include <algorithm>
#include <bit>
#include <limits>

namespace
{

/// Where quantisers of this kind go wrong: the centres and the seams of the four cells, turns next to none and next to
/// half a turn.
std::vector<SQuaternion> Sweep()
{
    constexpr double fStep = 1e-3;
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

SVector3 Axis(ZRandom& random)
{
    const SQuaternion q = random.Rotation();
    const double f = 1.0 / std::sqrt(static_cast<double>(q.x) * q.x + static_cast<double>(q.y) * q.y +
                                     static_cast<double>(q.z) * q.z);
    return {static_cast<float>(q.x * f), static_cast<float>(q.y * f), static_cast<float>(q.z * f)};
}

} // namespace

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

// Many keys in a call, with any set of instructions, any number of them behind the last full row of lanes, and with
// keys among them that have no direction.
TEST(QuaternionComp, EveryWayToPackGivesTheSameCodes)
{
    const float fNan = std::numeric_limits<float>::quiet_NaN();
    std::vector<SQuaternion> keys = Sweep();
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
