#include "resource/animation/compress/propertyarrays.h"

#include "resource/animation/frame/animationexception.h"
#include "tests/resource/animation/compress/compressclip.h"
#include "tests/support/testing.h"

namespace
{

using namespace ResourceAnimation;
using Import::ZAnimatedBone;
using Import::ZAnimatedProperty;
using SystemAnimation::SPropertyTrack;

template <class T>
void AddProperty(ZAnimatedBone& bone, const char* szName, std::initializer_list<T> values)
{
    bone.AddProperty(ZAnimatedProperty::Create<T>(ZString::ReferenceCString(szName),
                                                  TArrayRef<const T>(values.begin(), values.size())));
}

template <class T>
void ExpectTrack(const SPropertyTrack& track, uint8_t nBone, const char* szName, std::initializer_list<T> values)
{
    SCOPED_TRACE(szName);
    EXPECT_EQ(track.boneId, nBone);
    EXPECT_EQ(track.name, ZHashedString(ZString::ReferenceCString(szName)));
    EXPECT_EQ(track.typeId, GetTypeID<T>());
    EXPECT_EQ(track.flags, 0u);
    ASSERT_TRUE(track.keys.CanConvertTo<TArray<T>>());
    EXPECT_TRUE(track.keys.GetValue<TArray<T>>() == TArray<T>(values));
}

TArray<SPropertyTrack> TracksOf(const SClip& clip)
{
    TArray<SPropertyTrack> tracks;
    AppendPropertyTracks(*clip.animation, clip.rig, tracks);
    return tracks;
}

} // namespace

// The animation's bones stand in the reverse of the rig's order: b before a.
TEST(PropertyArrays, EveryTypeInTheAnimationsOrderWithAsManyKeysAsItHas)
{
    const SClip clip({{"a", -1, TTurns(4)}, {"b", 0, TTurns(4), {{0, 0, 0}}, {}, false}});
    ZAnimatedBone& b = *clip.animation->AnimatedBones()[0];
    ZAnimatedBone& a = *clip.animation->AnimatedBones()[1];
    AddProperty<float>(a, "Focus", {1.5f, -2.0f});
    AddProperty<int32_t>(a, "Step", {-1, 2, 3, 4, 5});
    AddProperty<uint32_t>(a, "Mask", {0xffffffffu});
    AddProperty<bool>(b, "On", {true, false, true, true});
    AddProperty<SVector2>(b, "Size", {{1, 2}});
    AddProperty<SVector3>(b, "Colour", {{1, 2, 3}, {4, 5, 6}});
    AddProperty<SVector4>(b, "Plane", {{1, 2, 3, 4}});
    b.AddProperty(ZAnimatedProperty::Create<float>("Empty"));

    const TArray<SPropertyTrack> tracks = TracksOf(clip);
    ASSERT_EQ(tracks.Size(), 8u);
    ExpectTrack<bool>(tracks[0], 1, "On", {true, false, true, true}); // not packed, but known to the rig
    ExpectTrack<SVector2>(tracks[1], 1, "Size", {{1, 2}});
    ExpectTrack<SVector3>(tracks[2], 1, "Colour", {{1, 2, 3}, {4, 5, 6}});
    ExpectTrack<SVector4>(tracks[3], 1, "Plane", {{1, 2, 3, 4}});
    ExpectTrack<float>(tracks[4], 1, "Empty", {});
    ExpectTrack<float>(tracks[5], 0, "Focus", {1.5f, -2.0f});
    ExpectTrack<int32_t>(tracks[6], 0, "Step", {-1, 2, 3, 4, 5});
    ExpectTrack<uint32_t>(tracks[7], 0, "Mask", {0xffffffffu});
}

TEST(PropertyArrays, TheFieldHoldsTwoHundredAndFiftySixBones)
{
    std::vector<SClipBone> bones;
    for (int n = 0; n < 258; ++n)
        bones.push_back({"bone" + std::to_string(n), n - 1});
    bones[255].turns = bones[257].turns = TTurns(1);
    const SClip clip(bones);
    AddProperty<float>(*clip.animation->AnimatedBones()[1], "Last", {1.0f});
    ZAssertTrap trap;
    ExpectTrack<float>(TracksOf(clip)[0], 255, "Last", {1.0f});
    EXPECT_EQ(trap.Count(), 0u);
    AddProperty<float>(*clip.animation->AnimatedBones()[0], "Beyond", {1.0f});
    TracksOf(clip);
    EXPECT_EQ(trap.FirstExpression(), ZString("arg <= NumericLimits<Dest>::Max"));
    EXPECT_TRUE(
        trap.FirstMessage().StartsWith("property 'Beyond' of bone 'bone257', which is bone 257 of the rig, in take '"));
}

TEST(PropertyArrays, AnotherTypeHaltsAndAnotherValueIsNamed)
{
    const SClip clip({{"a", -1, TTurns(1)}});
    ZAnimatedBone& bone = *clip.animation->AnimatedBones()[0];
    ZAssertTrap trap;
    bone.AddProperty(ZAnimatedProperty::Create<float>("Mixed"));
    bone.Properties()[0]->AddValue(ZVariant(int32_t{3}));
    trap.Clear(); // the property has complained already
    ExpectTrack<float>(TracksOf(clip)[0], 0, "Mixed", {0.0f});
    EXPECT_EQ(trap.FirstExpression(), ZString("CanConvertTo<T>()"));

    trap.Clear();
    const SClip other({{"a", -1, TTurns(1)}});
    other.animation->AnimatedBones()[0]->AddProperty(ZAnimatedProperty::Create<ZString>("Text"));
    EXPECT_THROW(TracksOf(other), zhalt_exception);
    EXPECT_EQ(trap.FirstExpression(), ZString("arrayConversionFunctor.Contains((*it)->GetTypeID())"));

    for (const float f : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()})
    {
        const SClip odd({{"a", -1, TTurns(1)}});
        AddProperty<SVector3>(*odd.animation->AnimatedBones()[0], "Odd", {{1, 2, 3}, {1, f, 3}});
        EXPECT_THROW(TracksOf(odd), ZAnimationPackerException);
    }
}
