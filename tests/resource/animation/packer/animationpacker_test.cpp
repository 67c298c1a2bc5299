#include "resource/animation/packer/animationpacker.h"

#include "system/animation/animationsampler.h"
#include "tests/resource/animation/packer/samplehost.h"
#include "tests/support/asserttrap.h"
#include "tests/support/tracerecorder.h"

#include <cmath>
#include <gtest/gtest.h>

namespace
{

using SystemAnimation::SAnimationResourceData;

const ZString MOVES("assembly:/characters/scout/moves.fbx?/");

TEST(AnimationPacker, PacksATakeAgainstItsRig)
{
    ZSampleHost host;
    // Case does not matter: the whole identifier is lower-cased first.
    const ZResourceID id = host.PackTake(MOVES + "WALK.take");
    ASSERT_TRUE(host.Packed()) << host.Context().FirstMessage().ToCString();
    EXPECT_EQ(host.Database().OpenUpdates(), 0u);
    const TPacked<SAnimationResourceData> packed(host, id);
    ASSERT_TRUE(packed.bRead);
    EXPECT_TRUE(packed.header.Type() == "ARTY");
    EXPECT_EQ(packed.header.SecondSize(), packed.header.DataSize());
    EXPECT_EQ(packed.header.ThirdSize(), 0u);
    EXPECT_EQ(packed.nBytes, 24 + packed.header.ReferenceBlockSize() + packed.header.DataSize());
    ASSERT_EQ(packed.header.References().Size(), 1u);
    EXPECT_TRUE(packed.header.References().begin()->first ==
                ZString("<assembly:/characters/scout/scout.rig.fbx?/scout.rig>.pc.animationrig"));
    EXPECT_EQ(packed->rigReference, 0);
    EXPECT_EQ(packed->eventTrackReference, -1);
    EXPECT_TRUE(packed->name == "walk");
    EXPECT_EQ(packed->frameCount, 60u);
    EXPECT_EQ(packed->frameRate, 30.0f);
    // Twist bones and their like are in the rig and not packed.
    const TPacked<ZAnimationRig> rig(host, packed.header.References().begin()->first);
    EXPECT_LT(packed->boneCount, rig->BoneCount());
    EXPECT_EQ(packed->boneCount, 82 - 24);
    uint32_t nRotations = 0, nTranslations = 0;
    for (const auto& group : packed->trackGroups)
        (SystemAnimation::IsRotationGroup(group.type) ? nRotations : nTranslations) += group.boneIndices.Size();
    EXPECT_EQ(nRotations, packed->boneCount);
    EXPECT_EQ(nTranslations, packed->boneCount);
}

/// Same values on both platforms, in the order of each: decoded, they are equal to the bit.
TEST(AnimationPacker, PlatformsDifferInByteOrderAlone)
{
    ZSampleHost pc("pc");
    const ZResourceID pcId = pc.PackTake(MOVES + "run.take");
    const TPacked<SAnimationResourceData> pcPacked(pc, pcId);
    const TPacked<ZAnimationRig> pcRig(pc, pcPacked.header.References().begin()->first);
    TArray<SQV> pcPose;
    const auto decode = [](const SAnimationResourceData& data, const ZAnimationRig& rig, EEndian eEndian)
    {
        ZString why;
        const auto pDescriptor = ZAnimPoseDescriptor::Create(rig);
        const auto pSampler = ZAnimationSampler::Create(data, eEndian, pDescriptor, why);
        EXPECT_TRUE(pSampler) << why.ToCString();
        const auto pBuffer = ZAnimPoseBuffer::Create(pDescriptor);
        TArray<SQV> result;
        for (uint32_t nFrame = 0; nFrame < data.frameCount; ++nFrame)
        {
            pSampler->Sample(nFrame, *pBuffer);
            for (const SQV& transform : pBuffer->Local())
                result.Add(transform);
        }
        return result;
    };
    pcPose = decode(*pcPacked, *pcRig, eEndian_Little);
    for (const char* szPlatform : {"ps3", "xbox360"})
    {
        SCOPED_TRACE(szPlatform);
        ZSampleHost other(ZString::ReferenceCString(szPlatform));
        const TPacked<SAnimationResourceData> packed(other, other.PackTake(MOVES + "run.take"));
        ASSERT_TRUE(packed.bRead);
        const TPacked<ZAnimationRig> rig(other, packed.header.References().begin()->first);
        EXPECT_TRUE(*rig == *pcRig);
        EXPECT_TRUE(decode(*packed, *rig, eEndian_Big) == pcPose);
    }
}

TEST(AnimationPacker, ParametersAreReadInOrder)
{
    ZSampleHost host;
    const TArray<uint8_t> plain = host.Database().Output(host.PackTake(MOVES + "wave.take"));
    ASSERT_TRUE(host.Packed());
    EXPECT_TRUE(host.Database().Output(host.PackTake(MOVES + "wave.take", "noevents|cutsequence")) == plain);

    const ZString rig("assembly:/characters/scout/scout.rig.fbx?/scout.rig");
    host.Context().Clear();
    const ZResourceID own = host.PackTake(MOVES + "wave.take", ZString("EMBED_ANIMATION_PROPERTIES|") + rig);
    EXPECT_STREQ(host.Context().FirstMessage().ToCString(),
                 (ZString("info: Packing against rig: '") + rig + "'.").ToCString());
    const TPacked<SAnimationResourceData> packed(host, own);
    const uint32_t nHash = ZHashedString("TotalLinearDelta").GetHashCode();
    uint32_t nFound = 0;
    for (const auto& property : packed->properties)
        if (property.name.GetHashCode() == nHash)
        {
            ++nFound;
            EXPECT_EQ(property.boneId, 0);
            EXPECT_EQ(property.keys.GetValue<TArray<float>>().Size(), 1u);
        }
    EXPECT_EQ(nFound, 1u);

    host.Context().Clear();
    host.PackTake(MOVES + "wave.take", rig + "|" + rig);
    EXPECT_FALSE(host.Packed());
    EXPECT_STREQ(host.Context().Messages().Last().ToCString(),
                 ZString::Format("error: Error when packing animation: Multiple rig resources in parameter list not "
                                 "allowed! Rig 1: '{0}'. Rig 2: '{0}'.",
                                 rig)
                     .ToCString());
}

TEST(AnimationPacker, OneBoneWithoutARigTakesTheCommonOne)
{
    ZSampleHost host;
    const ZResourceID id = host.PackTake("assembly:/props/drift.fbx?/drift.take");
    ASSERT_TRUE(host.Packed()) << host.Context().FirstMessage().ToCString();
    const TPacked<SAnimationResourceData> packed(host, id);
    EXPECT_TRUE(packed.header.References().begin()->first ==
                ZString("<assembly:/animations/_common/trajectoryrig.rig.fbx>.pc.animationrig"));
    EXPECT_EQ(packed->boneCount, 1);

    host.PackTake("assembly:/props/door.fbx?/open.take");
    EXPECT_FALSE(host.Packed());
    EXPECT_NE(host.Context().FirstMessage().IndexOf("error: Error when packing animation: No Rig is referenced in the "
                                                    "animation. It is valid only with a trajectory animation (1 bone "
                                                    "only), but animation has "),
              ZString::NOT_FOUND);
}

TEST(AnimationPacker, FocalLengthBecomesFieldOfView)
{
    ZSampleHost host;
    const TPacked<SAnimationResourceData> packed(host, host.PackTake("assembly:/cameras/shot.fbx?/shot.take"));
    ASSERT_TRUE(packed.bRead) << host.Context().FirstMessage().ToCString();
    const uint32_t nHash = ZHashedString("FieldOfView").GetHashCode();
    bool bFound = false;
    for (const auto& property : packed->properties)
        if (property.name.GetHashCode() == nHash)
        {
            const auto keys = property.keys.GetValue<TArray<float>>();
            ASSERT_EQ(keys.Size(), 50u);
            bFound = keys[0] > 10.0f && keys[0] < 120.0f && keys[0] != keys[49];
        }
    EXPECT_TRUE(bFound);
}

TEST(AnimationPacker, FailuresLeaveNoOutputAndTheUpdateOpen)
{
    const struct
    {
        ZString source;
        ZString message;
    } cases[] = {
        {MOVES + "crawl.take", "ERROR: The requested take does not exist. Take name: 'crawl'."},
        {"assembly:/nowhere.fbx?/run.take", "FBX error: Failed to initialize FbxImporter: "},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.source.ToCString());
        ZSampleHost host;
        host.PackTake(c.source);
        EXPECT_FALSE(host.Packed());
        EXPECT_TRUE(
            host.Context().FirstMessage().StartsWith(ZString("error: Error when packing animation: ") + c.message))
            << host.Context().FirstMessage().ToCString();
        EXPECT_TRUE(host.Database().Outputs().IsEmpty());
        EXPECT_EQ(host.Database().OpenUpdates(), 1u);
    }
    for (const auto eFault :
         {ZMemoryResourceDatabase::EOutputFault::eNull, ZMemoryResourceDatabase::EOutputFault::eNotOpen})
    {
        ZSampleHost host;
        host.PackRig("assembly:/characters/scout/scout.rig.fbx?/scout.rig");
        host.Database().SetOutputFault(eFault);
        const ZResourceID id = host.PackTake(MOVES + "walk.take");
        EXPECT_STREQ(host.Context().FirstMessage().ToCString(),
                     ZString::Format("error: Error when packing animation: Failed to create output stream for asset "
                                     "data '{0}'\n",
                                     id)
                         .ToCString());
    }
}

TEST(AnimationPacker, HostMisuseIsTracedAndPacksNothing)
{
    const ZResourceID source(MOVES + "walk.take");
    const ZResourceID target = source.CreateDerivedResourceID("animation", "", "pc");
    ZTraceRecorder traces;
    {
        ZSampleHost host;
        const TComponentScope<IResourcePacker> packer(new ResourceAnimation::ZAnimationPacker);
        EXPECT_FALSE(packer->Pack(nullptr, source, target, ZVariantRef()));
        ASSERT_EQ(traces.Lines().Size(), 2u);
        EXPECT_STREQ(traces.Texts()[0].ToCString(),
                     "1 ZAnimationPackerBase: Invalid IResourcePackerContext pointer specified.");
        EXPECT_STREQ(traces.Texts()[1].ToCString(),
                     "1 ZAnimationPackerBase: Failed to initialized packer. Bailing out!\n");
        EXPECT_TRUE(host.Context().Messages().IsEmpty());
    }
    ZSampleHost none("");
    EXPECT_FALSE(none.Pack<ResourceAnimation::ZAnimationPacker>(source, target));
    EXPECT_STREQ(traces.Texts()[2].ToCString(),
                 "1 ZAnimationPackerBase: No target platform specified. Use '-t:<platform_name>' when running this "
                 "packer.");
    EXPECT_EQ(none.Database().CountCalls("BeginResourceUpdate"), 0u);
    ZSampleHost upper("PC");
    EXPECT_THROW(upper.PackTake(MOVES + "walk.take"), zhalt_exception);
}

} // namespace
