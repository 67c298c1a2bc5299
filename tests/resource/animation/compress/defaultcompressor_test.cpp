#include "resource/animation/compress/defaultcompressor.h"

#include "resource/animation/frame/animationexception.h"
#include "system/animation/animationsampler.h"
#include "system/animation/quaternioncomp.h"
#include "tests/resource/animation/compress/compressclip.h"
#include "tests/support/testing.h"

namespace
{

using namespace ResourceAnimation;
using namespace SystemAnimation;

class DefaultCompressor : public ::testing::Test
{
protected:
    DefaultCompressor() { ImportSystemIOModule(); }
};

SAnimationResourceData Compress(const SClip& clip, EEndian eEndian)
{
    return ZDefaultCompressor().Compress(clip.animation, clip.rig, clip.bonesToPack, eEndian);
}

std::vector<int32_t> Types(const SAnimationResourceData& record)
{
    std::vector<int32_t> types;
    for (const STrackGroup& group : record.trackGroups)
        types.push_back(group.type);
    return types;
}

const STrackGroup* Group(const SAnimationResourceData& record, int32_t type)
{
    for (const STrackGroup& group : record.trackGroups)
        if (group.type == type)
            return &group;
    return nullptr;
}

TTurns RandomTurns(ZKeyRandom& random, uint32_t nFrames)
{
    TTurns keys;
    for (uint32_t n = 0; n < nFrames; ++n)
        keys.push_back(random.Rotation());
    return keys;
}

TTurns RandomSpin(ZKeyRandom& random, uint32_t nFrames)
{
    const double axis[3] = {random.Signed(), random.Signed(), 1.0};
    TTurns keys;
    for (uint32_t n = 0; n < nFrames; ++n)
        keys.push_back(Turn(axis[0], axis[1], axis[2], 6.28 * random.Signed())); // w of both signs
    return keys;
}

TMoves RandomMoves(ZKeyRandom& random, uint32_t nFrames)
{
    TMoves keys;
    for (uint32_t n = 0; n < nFrames; ++n)
        keys.push_back({random.Signed(), random.Signed(), random.Signed()});
    return keys;
}

/// Bones of all kinds, scattered over the rig, a few of which are not packed.
std::vector<SClipBone> AllKinds(uint32_t nBones, uint32_t nFrames)
{
    ZKeyRandom random(nBones);
    std::vector<SClipBone> bones;
    for (uint32_t n = 0; n < nBones; ++n)
    {
        const uint32_t nKind = random.Below(8);
        SClipBone bone{(nKind == 5 ? "finger" : "bone") + std::to_string(n), n == 0 ? -1 : 0};
        bone.bind = {random.Rotation(), {random.Signed(), random.Signed(), random.Signed(), 1.0f}};
        const SVector3 bindMove{bone.bind.translation.x, bone.bind.translation.y, bone.bind.translation.z};
        bone.turns = nKind == 0   ? TTurns{bone.bind.rotation}
                     : nKind == 2 ? TTurns{random.Rotation()}
                     : nKind == 6 ? RandomSpin(random, nFrames)
                                  : RandomTurns(random, nFrames);
        bone.moves = nKind < 3 ? TMoves{bindMove} : nKind < 5 ? RandomMoves(random, 1) : RandomMoves(random, nFrames);
        bone.bPack = nKind != 7;
        // Every track has all frames.
        bone.turns.resize(nFrames, bone.turns.back());
        bones.push_back(bone);
    }
    return bones;
}

double DegreesBetween(const SQuaternion& a, const SQuaternion& b)
{
    const double p[4] = {a.x, a.y, a.z, a.w}, q[4] = {b.x, b.y, b.z, b.w};
    double fMinus = 0.0, fPlus = 0.0;
    for (int n = 0; n < 4; ++n)
    {
        fMinus += (p[n] - q[n]) * (p[n] - q[n]);
        fPlus += (p[n] + q[n]) * (p[n] + q[n]);
    }
    return 4.0 * std::asin(std::min(1.0, 0.5 * std::sqrt(std::min(fMinus, fPlus)))) * 180.0 / ZMath::PI;
}

/// Plays the record and compares each bone with its keys.
void ExpectPlaysBack(const SClip& clip, const SAnimationResourceData& record, EEndian eEndian)
{
    ZString why;
    const auto sampler = ZAnimationSampler::Create(record, eEndian, ZAnimPoseDescriptor::Create(clip.rig), why);
    ASSERT_TRUE(sampler) << why.ToCString();
    double fBound[eTrack_TypeCount] = {0.05, 0.0, 0.0001, 0.0, 0.0001, 0.16, 0.003, 0.0};
    const auto buffer = ZAnimPoseBuffer::Create(ZAnimPoseDescriptor::Create(clip.rig));
    for (uint32_t nFrame = 0; nFrame < record.frameCount; ++nFrame)
    {
        sampler->Sample(nFrame, *buffer);
        for (const STrackGroup& group : record.trackGroups)
        {
            for (const uint16_t nBone : group.boneIndices)
            {
                const int nIndex = clip.bonesToPack.At(clip.rig.Name(nBone));
                const auto& bone = *clip.animation->AnimatedBones()[static_cast<size_t>(nIndex)];
                const SQV& played = buffer->Local()[nBone];
                SCOPED_TRACE(::testing::Message() << "bone " << nBone << " frame " << nFrame);
                if (IsRotationGroup(group.type))
                {
                    ASSERT_LE(DegreesBetween(played.rotation, bone.Rotations()[nFrame]), fBound[group.type]);
                    continue;
                }
                const SVector3 move{played.translation.x, played.translation.y, played.translation.z};
                ASSERT_FALSE(
                    IsDifferentTranslation(move, bone.Translations()[nFrame],
                                           group.type == eTrack_BindTranslation ? TRANSLATION_TOLERANCE : 0.0f));
                ASSERT_EQ(played.translation.w, 1.0f);
            }
        }
    }
}

} // namespace

TEST_F(DefaultCompressor, RecordTakesOverWhatTheAnimationSays)
{
    const SClip clip({{"root", -1, {{}}}, {"b", 0, {{}}}, {"c", 1, {{}}, {{0, 0, 0}}, {}, false}}, 1);
    const SAnimationResourceData record = Compress(clip, eEndian_Little);
    EXPECT_TRUE(record.name == "clip");
    EXPECT_EQ(record.frameRate, 25.0f);
    EXPECT_EQ(record.frameCount, 1u);
    EXPECT_EQ(record.boneCount, 2u);
    EXPECT_EQ(record.sequenceOffset, (SQV{{0.0f, 0.6f, 0.0f, 0.8f}, {1.0f, 2.0f, 3.0f, 4.0f}}));
    EXPECT_EQ(record.eventTrackReference, -1);
    EXPECT_EQ(record.rigReference, -1);
}

TEST_F(DefaultCompressor, WhatStandsStillInTheBindPoseCostsNothing)
{
    const SClip clip({{"root", -1, TTurns(7)}, {"b", 0, TTurns(7)}});
    const SAnimationResourceData record = Compress(clip, eEndian_Little);
    EXPECT_EQ(Types(record), (std::vector<int32_t>{0, 1}));
    for (const STrackGroup& group : record.trackGroups)
    {
        EXPECT_TRUE(group.boneIndices == (TArray<uint16_t>{0, 1}));
        EXPECT_TRUE(group.data.IsEmpty());
    }
    EXPECT_TRUE(Compress(SClip({{"root", -1, {{}}, {{0, 0, 0}}, {}, false}}), eEndian_Little).trackGroups.IsEmpty());
    // A finger that is held takes no fewer bits than another bone.
    const SQuaternion turn = Turn(1, 2, 3, 1.0);
    const SAnimationResourceData held = Compress(SClip({{"finger1", -1, {turn, turn}}}), eEndian_Little);
    EXPECT_EQ(Types(held), (std::vector<int32_t>{1, 2}));
    EXPECT_EQ(LoadEndian<uint64_t>(Group(held, 2)->data.GetStart(), eEndian_Little), SQuaternionComp64::Pack(turn));
}

// Numbers of bones and frames that fill blocks of keys evenly, unevenly, and with less than a frame.
TEST_F(DefaultCompressor, GroupsAscendAndPlayBackInEitherByteOrder)
{
    const uint32_t sizes[][2] = {{40, 1}, {12, 6}, {40, 7}, {37, 100}, {8, 700}, {1500, 8}};
    for (const auto& [nBones, nFrames] : sizes)
    {
        SCOPED_TRACE(::testing::Message() << nBones << " bones, " << nFrames << " frames");
        const SClip clip(AllKinds(nBones, nFrames));
        const SAnimationResourceData little = Compress(clip, eEndian_Little), big = Compress(clip, eEndian_Big);
        EXPECT_EQ(Types(little), nFrames == 1   ? (std::vector<int32_t>{0, 1, 2, 3})
                                 : nBones >= 37 ? (std::vector<int32_t>{0, 1, 2, 3, 4, 5, 6, 7})
                                                : Types(big));
        ASSERT_EQ(Types(little), Types(big));
        for (uint32_t n = 0; n < little.trackGroups.Size(); ++n)
        {
            const STrackGroup& a = little.trackGroups[n];
            const STrackGroup& b = big.trackGroups[n];
            EXPECT_TRUE(std::is_sorted(a.boneIndices.begin(), a.boneIndices.end()));
            EXPECT_TRUE(a.boneIndices == b.boneIndices);
            const uint64_t nOne = a.boneIndices.Size(), nAll = nOne * nFrames;
            const uint64_t bytes[] = {0, 0, 8 * nOne, 12 * nOne, 8 * nAll, 4 * nAll, 12 * nOne + 2 * nAll, 12 * nAll};
            ASSERT_EQ(a.data.Size(), bytes[a.type]);
            // Value by value, each by its own width.
            TArray<uint8_t> swapped = b.data;
            const size_t widths[] = {1, 1, 8, 4, 8, 4, 2, 4};
            const size_t nAxes = a.type == eTrack_SingleAxisRotation ? 12 * nOne : 0;
            SwapNumbers(swapped.GetStart(), 4, nAxes / 4);
            SwapNumbers(swapped.GetStart() + nAxes, widths[a.type], (swapped.Size() - nAxes) / widths[a.type]);
            EXPECT_TRUE(a.data == swapped) << "type " << a.type;
        }
        ASSERT_NO_FATAL_FAILURE(ExpectPlaysBack(clip, little, eEndian_Little));
        ASSERT_NO_FATAL_FAILURE(ExpectPlaysBack(clip, big, eEndian_Big));
    }
}

TEST_F(DefaultCompressor, ATrackShorterThanTheAnimationHalts)
{
    ZKeyRandom random(1);
    ZAssertTrap trap;
    EXPECT_THROW(Compress(SClip({{"a", -1, RandomTurns(random, 3)}}, 4), eEndian_Little), zhalt_exception);
    EXPECT_EQ(trap.FirstExpression(), ZString("m_pStart + nIndex < GetEnd()"));
    // Longer ones are cut.
    EXPECT_EQ(Group(Compress(SClip({{"a", -1, RandomTurns(random, 5)}}, 4), eEndian_Little), 4)->data.Size(), 32u);
}

TEST(AddMissingRigBones, CompletesWithTheBindPoseInTheImportModelsSense)
{
    const SQV bind{Turn(1, 2, 3, 1.0), {4, 5, 6, 7}};
    SClip clip({{"root", -1, TTurns(3)}, {"gone", 0, {}, {}, bind}, {"b", 1, TTurns(3)}, {"lost", 0}});
    AddMissingRigBones(*clip.animation, clip.rig);
    const auto& bones = clip.animation->AnimatedBones();
    ASSERT_EQ(bones.Size(), 4u);
    EXPECT_TRUE(bones[2]->Name() == "gone" && bones[3]->Name() == "lost") << "in the rig's order, behind the others";
    EXPECT_EQ(bones[2]->Uid(), clip.rig.UniqueId(1));
    EXPECT_EQ(bones[2]->FrameRate(), 25.0f);
    EXPECT_TRUE(bones[2]->IsExported());
    EXPECT_TRUE(bones[2]->Properties().IsEmpty());
    ASSERT_EQ(bones[2]->FrameCount(), 3u);
    for (uint32_t n = 0; n < 3; ++n)
    {
        EXPECT_EQ(bones[2]->Rotations()[n], bind.rotation.GetConjugate());
        EXPECT_EQ(bones[2]->Translations()[n], (SVector3{4, 5, 6}));
    }
    AddMissingRigBones(*clip.animation, clip.rig);
    EXPECT_EQ(bones.Size(), 4u);
    // Once conjugated, as the packer does, such a bone stores nothing.
    clip.animation->ConjugateRotations();
    clip.bonesToPack.Clear();
    clip.bonesToPack.Insert("gone", 2);
    const SAnimationAnalysis analysis = ZDefaultAnalyzer().Analyze(clip.animation, clip.rig, clip.bonesToPack);
    EXPECT_EQ(analysis.aBindPoseRotations.Size(), 1u);
    EXPECT_EQ(analysis.aBindPoseTranslations.Size(), 1u);
    // No more than memory can hold, and none to an animation of chosen bones.
    const auto completed = [&clip](uint32_t nFrames, TArrayRef<const ZString> chosen)
    {
        const Import::ZAnimation::TBones first{clip.animation->AnimatedBones()[0]};
        Import::ZAnimation animation("long", nFrames, 25.0f, "root", ZResourceID(), first, clip.animation->Space(),
                                     SQV(), chosen);
        AddMissingRigBones(animation, clip.rig);
        return animation.AnimatedBones().Size();
    };
    const ZString chosen("b");
    EXPECT_THROW(completed(MAX_COMPLETED_KEYS, {}), ZAnimationException);
    EXPECT_EQ(completed(3, {&chosen, 1}), 1u);
}
