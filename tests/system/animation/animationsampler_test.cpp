#include "system/animation/animationsampler.h"

#include "base/typeinfo/mathtypes.h"
#include "system/animation/animationmodule.h"
#include "system/animation/quaternioncomp.h"
#include "system/serializer/deserializedblock.h"
#include "tests/system/animation/testclip.h"

#include <gtest/gtest.h>

#include <bit>

using namespace SystemAnimation;

namespace
{

/// The animation as packed for the other byte order.
SAnimationResourceData Swapped(const SAnimationResourceData& data)
{
    SAnimationResourceData swapped = data;
    for (STrackGroup& group : swapped.trackGroups)
    {
        const size_t nAxes = group.type == 6 ? 12 * group.boneIndices.Size() : 0;
        const size_t nWidth = group.type == 2 || group.type == 4 ? 8 : group.type == 6 ? 2 : 4;
        SwapNumbers(group.data.GetStart(), 4, nAxes / 4);
        SwapNumbers(group.data.GetStart() + nAxes, nWidth, (group.data.Size() - nAxes) / nWidth);
    }
    return swapped;
}

constexpr EEndian OTHER_ENDIAN = NATIVE_ENDIAN == eEndian_Little ? eEndian_Big : eEndian_Little;

} // namespace

// One to nine bones in each group take the decoder through every mix of full fours and rest.
TEST(AnimationSampler, GivesTheSameBitsInEitherByteOrder)
{
    for (uint16_t nEach = 1; nEach <= 9; ++nEach)
    {
        std::vector<int> parents(6 * nEach, 0);
        parents[0] = -1;
        const SAnimationResourceData data = MakeAnimation(nEach, 7, nEach), swapped = Swapped(data);
        const TSharedPtr<ZAnimPoseDescriptor> descriptor = ZAnimPoseDescriptor::Create(MakeRig(parents));
        ZString why;
        const auto native = ZAnimationSampler::Create(data, NATIVE_ENDIAN, descriptor, why);
        const auto other = ZAnimationSampler::Create(swapped, OTHER_ENDIAN, descriptor, why);
        ASSERT_TRUE(native && other) << why.ToCString();
        EXPECT_EQ(native->FrameBytes(), (8u + 4u + 2u + 12u) * nEach);
        const auto buffer = ZAnimPoseBuffer::Create(descriptor), otherBuffer = ZAnimPoseBuffer::Create(descriptor);
        for (uint32_t nFrame = 7; nFrame-- != 0;)
        {
            native->Sample(nFrame, *buffer);
            other->Sample(nFrame, *otherBuffer);
            ASSERT_EQ(std::memcmp(buffer->Local().GetStart(), otherBuffer->Local().GetStart(), 6 * nEach * sizeof(SQV)),
                      0);
        }
    }
}

TEST(AnimationSampler, LeavesNothingOfThePoseBefore)
{
    const ZAnimationRig rig = MakeRig({-1, 0, 1, 2, 3, 4});
    const TSharedPtr<ZAnimPoseDescriptor> descriptor = ZAnimPoseDescriptor::Create(rig);
    const SAnimationResourceData data = MakeAnimation(1, 2, 9);
    ZString why;
    const auto sampler = ZAnimationSampler::Create(data, NATIVE_ENDIAN, descriptor, why);
    const auto used = ZAnimPoseBuffer::Create(descriptor), fresh = ZAnimPoseBuffer::Create(descriptor);
    for (size_t nBone = 0; nBone < 6; ++nBone)
        used->SetLocal(nBone, {{1, 0, 0, 0}, {9, 9, 9, 9}});
    used->ToCharacterSpace();
    for (const auto& buffer : {used, fresh})
    {
        sampler->Sample(1, *buffer);
        EXPECT_FALSE(buffer->IsInCharacterSpace());
        buffer->CompleteWithBindPose(); // nothing is missing
        buffer->ToCharacterSpace();
    }
    for (size_t nBone = 0; nBone < 6; ++nBone)
    {
        EXPECT_EQ(used->Local()[nBone], fresh->Local()[nBone]);
        EXPECT_EQ(used->Character()[nBone], fresh->Character()[nBone]);
    }
}

TEST(AnimationSampler, RefusesWhatItCannotPlay)
{
    const TSharedPtr<ZAnimPoseDescriptor> descriptor = ZAnimPoseDescriptor::Create(MakeRig({-1, 0, 1, 2, 3, 4}));
    const SAnimationResourceData data = MakeAnimation(1, 2, 9), large = MakeAnimation(2, 2, 9);
    ZString why;
    EXPECT_FALSE(ZAnimationSampler::Create(large, NATIVE_ENDIAN, descriptor, why));
    EXPECT_FALSE(why.IsEmpty());
    const auto sampler = ZAnimationSampler::Create(data, NATIVE_ENDIAN, descriptor, why);
    const auto buffer = ZAnimPoseBuffer::Create(descriptor);
    const auto wrong = ZAnimPoseBuffer::Create(ZAnimPoseDescriptor::Create(MakeRig({-1})));
    const ZAssertTrap trap;
    EXPECT_THROW(sampler->Sample(2, *buffer), zhalt_exception);
    EXPECT_EQ(trap.FirstExpression(), "nFrame < m_nFrames");
    EXPECT_THROW(sampler->Sample(0, *wrong), zhalt_exception);
    EXPECT_THROW(sampler->PropertyAt(0, 0), zhalt_exception);
}

// The registered fields are what the serialiser walks: a record or rig must come back equal, and play in place.
TEST(AnimationSampler, PlaysADeserialisedBlockInPlace)
{
    ImportSystemIOModule();
    ImportSystemSerializerModule();
    ImportSystemAnimationModule();
    const ZAnimationRig rig = MakeRig({1, 2, -1, 2, 3, 3, 4, 4, 0, 0, -1, 10, 11, 11, 1, 1, 1, 1, 1, 1, 2, 2, 2, 2});
    SAnimationResourceData data = MakeAnimation(4, 5, 21);
    data.rigReference = 1;
    data.sequenceOffset = rig.Bone(1);
    SPropertyTrack track;
    track.boneId = 3;
    track.name = ZHashedString(ZString("fov"));
    track.typeId = GetTypeID<float>();
    track.keys = ZVariant(TArray<float>{1.0f, 2.0f, 3.0f});
    data.properties.Add(track);
    track.typeId = GetTypeID<bool>();
    track.keys = ZVariant(TArray<bool>{true, false}); // inside the array object
    data.properties.Add(track);
    track.typeId = GetTypeID<SVector4>();
    track.keys = ZVariant(TArray<SVector4>());
    data.properties.Add(track);

    const auto own = ZAnimPoseDescriptor::Create(rig);
    const auto expected = ZAnimPoseBuffer::Create(own);
    ZString none;
    ZAnimationSampler::Create(data, NATIVE_ENDIAN, own, none)->Sample(4, *expected);
    for (const EEndian eEndian : {eEndian_Little, eEndian_Big})
    {
        SCOPED_TRACE(eEndian);
        TDeserializedBlock<ZAnimationRig> rigBlock;
        ASSERT_TRUE(DeserializeObject(SerializeObject(rig, eEndian), false, rigBlock)) << rigBlock.Error().ToCString();
        EXPECT_FALSE(*rigBlock.Get() != rig);
        EXPECT_FALSE(ZAnimationRig(*rigBlock.Get()) != rig);

        const SAnimationResourceData& source = eEndian == NATIVE_ENDIAN ? data : Swapped(data);
        TDeserializedBlock<SAnimationResourceData> block;
        ASSERT_TRUE(DeserializeObject(SerializeObject(source, eEndian), true, block)) << block.Error().ToCString();
        EXPECT_TRUE(*block.Get() == source);
        const auto descriptor = ZAnimPoseDescriptor::Create(*rigBlock.Get());
        ZString why;
        const auto sampler = ZAnimationSampler::Create(*block.Get(), eEndian, descriptor, why);
        ASSERT_TRUE(sampler) << why.ToCString();
        const auto buffer = ZAnimPoseBuffer::Create(descriptor);
        sampler->Sample(4, *buffer);
        for (uint16_t nBone = 0; nBone < 24; ++nBone)
            EXPECT_EQ(buffer->Local()[nBone], expected->Local()[nBone]);

        const auto number = [&](uint32_t nFrame)
        { return *static_cast<const float*>(sampler->PropertyAt(0, nFrame).Get()); };
        EXPECT_EQ(number(0), 1.0f);
        EXPECT_EQ(number(2), 3.0f);
        EXPECT_EQ(number(900), 3.0f);
        EXPECT_EQ(sampler->PropertyAt(1, 1).GetTypeID(), GetTypeID<bool>());
        EXPECT_FALSE(*static_cast<const bool*>(sampler->PropertyAt(1, 1).Get()));
        EXPECT_TRUE(sampler->PropertyAt(2, 0).IsEmpty());
    }
}
