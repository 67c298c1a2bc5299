#include "resource/animation/compress/defaultanalyzer.h"

#include "resource/animation/frame/animationexception.h"
#include "tests/resource/animation/compress/compressclip.h"
#include "tests/support/testing.h"

namespace
{

using namespace ResourceAnimation;

SAnimationAnalysis Analyze(const SClip& clip)
{
    return ZDefaultAnalyzer().Analyze(clip.animation, clip.rig, clip.bonesToPack);
}

/// Rig indices of list n.
std::vector<uint64_t> List(const SAnimationAnalysis& analysis, int n)
{
    const SAnimationAnalysis::TList* const lists[] = {&analysis.aBindPoseRotations,   &analysis.aBindPoseTranslations,
                                                      &analysis.aConstantRotations,   &analysis.aConstantTranslations,
                                                      &analysis.aRotations64,         &analysis.aRotations32,
                                                      &analysis.aSingleAxisRotations, &analysis.aAnimatedTranslations};
    std::vector<uint64_t> result;
    for (const SBoneTrackRef& track : *lists[n])
        result.push_back(track.nRigBone);
    return result;
}

/// The one list of those given that has the bone; -1 when none or several have it.
int ListOf(const SAnimationAnalysis& analysis, uint64_t nRigBone, std::initializer_list<int> lists)
{
    int nFound = -1, nTimes = 0;
    for (const int n : lists)
        for (const uint64_t nBone : List(analysis, n))
            if (nBone == nRigBone)
            {
                nFound = n;
                ++nTimes;
            }
    return nTimes == 1 ? nFound : -1;
}

int RotationClass(const SAnimationAnalysis& analysis, uint64_t nRigBone)
{
    return ListOf(analysis, nRigBone, {0, 2, 4, 5, 6});
}

/// n keys about one axis.
TTurns Spin(int n)
{
    TTurns keys;
    for (int i = 0; i < n; ++i)
        keys.push_back(Turn(1, 2, 3, 0.2 + 0.3 * i));
    return keys;
}

TTurns Steps(int n, double fAngle, const SQuaternion& from)
{
    TTurns keys;
    for (int i = 0; i < n; ++i)
        keys.push_back(from * Turn(0, 1, 0, fAngle * i));
    return keys;
}

/// A rotation that, once normalised, is in floats not within the tolerance of itself.
SQuaternion OddRotation()
{
    for (ZKeyRandom random(1);;)
        if (const SQuaternion q = random.Rotation(); std::fabs(Dot(Normalize(q), Normalize(q)) - 1.0f) > 2.5e-7f)
            return q;
}

constexpr int BIND = 0, CONSTANT = 2, FREE = 4, FINGER = 5, SINGLE = 6;

} // namespace

TEST(DefaultAnalyzer, RotationClass)
{
    const SQuaternion turn = Turn(1, 0, 2, 0.7), odd = OddRotation();
    const std::tuple<const char*, const char*, TTurns, SQuaternion, int> cases[] = {
        {"one key, the bind pose", "Spine", {turn}, turn, BIND},
        {"the bind pose with the other sign", "Spine", {turn, turn}, Negated(turn), BIND},
        {"one key, another pose", "Spine", {turn}, {}, CONSTANT},
        {"one key of a finger", "Finger1", {turn}, {}, CONSTANT},
        {"q and -q are one rotation", "Spine", {turn, Negated(turn), turn}, {}, CONSTANT},
        {"equal bits are equal", "Spine", {odd, odd, Negated(odd)}, odd, BIND},
        {"key 0 is not among those that could differ", "Spine", {odd}, {}, CONSTANT},
        {"of any length", "Spine", {turn, {2 * turn.x, 2 * turn.y, 2 * turn.z, 2 * turn.w}}, {}, CONSTANT},
        {"within 2^-22 of the bind pose", "Spine", {turn}, turn * Turn(0, 1, 0, 0.0011), BIND},
        {"beyond 2^-22 of the bind pose", "Spine", {turn}, turn * Turn(0, 1, 0, 0.0018), CONSTANT},
        {"keys within 2^-22 of the first", "Spine", Steps(9, 0.00013, turn), turn, BIND},
        {"a slow drift is motion", "Spine", Steps(9, 0.0008, turn), turn, FREE},
        {"two keys are too few for one axis", "Spine", Spin(2), {}, FREE},
        {"three keys about one axis", "Spine", Spin(3), {}, SINGLE},
        {"about it both ways", "Spine", {Turn(1, 2, 3, 1), Turn(1, 2, 3, -1), Turn(1, 2, 3, 2)}, {}, SINGLE},
        {"with any sign", "Spine", {Turn(1, 2, 3, 1), Negated(Turn(1, 2, 3, 2)), Turn(1, 2, 3, 3)}, {}, SINGLE},
        {"rest has no axis", "Spine", {{}, Turn(0, 0, 1, 1), {}, {}, Turn(0, 0, 1, 2), {}}, {}, SINGLE},
        {"one key off the axis", "Spine", {{}, Turn(0, 0, 1, 1), Turn(0, 0.002, 1, 2), {}}, {}, FREE},
        {"one key far off, at the end", "Spine", {{}, Turn(0, 0, 1, 1), {}, {}, {}, Turn(1, 0, 0, 1)}, {}, FREE},
        {"a turn about an axis from a bent pose has no one axis", "Spine", Steps(4, 0.3, turn), {}, FREE},
        {"a finger needs six", "Finger1", Spin(5), {}, FINGER},
        {"six keys about one axis", "Finger1", Spin(6), {}, SINGLE},
        {"case does not count", "bip_LFINGER02", Spin(5), {}, FINGER},
        {"a finger that turns freely", "index_finger", Steps(9, 0.3, turn), {}, FINGER},
    };
    for (const auto& [szLabel, szBone, keys, bind, nExpected] : cases)
    {
        const SClip clip({{szBone, -1, keys, {{0, 0, 0}}, {bind, {}}}});
        EXPECT_EQ(RotationClass(Analyze(clip), 0), nExpected) << szLabel;
    }
}

TEST(DefaultAnalyzer, FingersSpreadThroughPackedParentsOnly)
{
    const TTurns keys = Steps(9, 0.3, Turn(1, 0, 2, 0.7));
    const std::vector<SClipBone> bones = {{"hand", -1, keys}, {"finger1", 0, keys}, {"tip", 1, keys},
                                          {"nail", 2, keys},  {"thumb", 0, keys},   {"ring", 4, keys}};
    const auto classes = [](const SClip& clip)
    {
        const SAnimationAnalysis analysis = Analyze(clip);
        std::vector<int> result;
        for (uint64_t n = 0; n < clip.rig.BoneCount(); ++n)
            result.push_back(RotationClass(analysis, n));
        return result;
    };
    EXPECT_EQ(classes(SClip(bones)), (std::vector<int>{FREE, FINGER, FINGER, FINGER, FREE, FREE}));
    std::vector<SClipBone> without = bones;
    without[1].bPack = false;
    EXPECT_EQ(classes(SClip(without)), (std::vector<int>{FREE, -1, FREE, FREE, FREE, FREE}));
    without[1].bPack = true;
    without[2].bPack = false;
    EXPECT_EQ(classes(SClip(without)), (std::vector<int>{FREE, FINGER, -1, FREE, FREE, FREE}));
    // A parent that stands behind its child in the rig has not been judged yet.
    EXPECT_EQ(classes(SClip({{"tip", 1, keys}, {"finger1", -1, keys}})), (std::vector<int>{FREE, FINGER}));
}

TEST(DefaultAnalyzer, TranslationClass)
{
    constexpr float TOLERANCE = 0.00048828125f;
    constexpr int BIND_MOVE = 1, CONSTANT_MOVE = 3, MOVING = 7;
    const std::tuple<const char*, TMoves, SVector3, int> cases[] = {
        {"the bind pose", {{1, 2, 3}}, {1, 2, 3}, BIND_MOVE},
        {"at the tolerance in all three", {{TOLERANCE, -TOLERANCE, TOLERANCE}}, {0, 0, 0}, BIND_MOVE},
        {"beyond it in x", {{0.0005f, 0, 0}}, {0, 0, 0}, CONSTANT_MOVE},
        {"beyond it in y", {{0, -0.0005f, 0}}, {0, 0, 0}, CONSTANT_MOVE},
        {"beyond it in z", {{0, 0, 0.0005f}}, {0, 0, 0}, CONSTANT_MOVE},
        {"keys within the tolerance of the first", {{0, 0, 0}, {TOLERANCE, 0, 0}, {-TOLERANCE, 0, 0}}, {}, BIND_MOVE},
        {"a slow drift is motion", {{0, 0, 0}, {0.0004f, 0, 0}, {0.0008f, 0, 0}}, {}, MOVING},
        {"the last key alone", {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 1}}, {}, MOVING},
    };
    for (const auto& [szLabel, keys, bind, nExpected] : cases)
    {
        const SClip clip({{"Spine", -1, {{}}, keys, {{}, {bind.x, bind.y, bind.z, 1.0f}}}});
        EXPECT_EQ(ListOf(Analyze(clip), 0, {1, 3, 7}), nExpected) << szLabel;
    }
}

TEST(DefaultAnalyzer, BoneThatTheRigLacks)
{
    const SClip clip({{"Spine", -1, {{}}}, {"Neck", 0, {{}}}});
    const SClip other({{"Spine", -1, {{}}}});
    // The first braces stand in the message as they are.
    EXPECT_EQ(MessageOf<ZAnimationPackerException>(
                  [&] { ZDefaultAnalyzer().Analyze(clip.animation, other.rig, clip.bonesToPack); }),
              ZString::Format("Failed to get rig index for bone '{0}' with uid={1} .", "{}", Import::BoneUid("Neck")));
}

TEST(DefaultAnalyzer, BoneWithoutKeysAndRigTooLargeHalt)
{
    ZAssertTrap trap;
    SClip clip({{"Spine", -1, {{}}}});
    clip.animation->AnimatedBones()[0]->SetKeys({}, {});
    EXPECT_THROW(Analyze(clip), zhalt_exception);
    EXPECT_EQ(trap.FirstExpression(), ZString("m_pStart + nIndex < GetEnd()"));

    trap.Clear();
    TArray<uint32_t> uids;
    uids.Resize(131073);
    const ZAnimationRig large(SBoneId(), {}, {}, uids, {}, {});
    EXPECT_THROW(ZDefaultAnalyzer().Analyze(clip.animation, large, {}), zhalt_exception);
    EXPECT_EQ(trap.FirstExpression(), ZString("(rig->BoneCount()) * sizeof(bool) <= C_MAX_STACK_ARRAY_ALLOCATION"));
}
