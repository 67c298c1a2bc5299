#include "resource/animation/packer/animationpacker.h"

#include "tests/resource/animation/packer/samplehost.h"
#include "tests/support/testing.h"

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

TEST(AnimationPacker, ParametersAreReadInOrder)
{
    ZSampleHost host;
    const TArray<uint8_t> plain = host.Database().Output(host.PackTake(MOVES + "wave.take"));
    ASSERT_TRUE(host.Packed());
    EXPECT_TRUE(host.Database().Output(host.PackTake(MOVES + "wave.take", "noevents|cutsequence")) == plain);

    const ZString rig("assembly:/characters/scout/scout.rig.fbx?/scout.rig");
    host.Context().Clear();
    const ZResourceID own = host.PackTake(MOVES + "wave.take", ZString("EMBED_ANIMATION_PROPERTIES|") + rig);
    EXPECT_EQ(host.Context().FirstMessage(), ZString::Format("info: Packing against rig: '{0}'.", rig));
    const TPacked<SAnimationResourceData> packed(host, own);
    uint32_t nFound = 0;
    for (const auto& property : packed->properties)
        nFound += property.name == ZHashedString("TotalLinearDelta") && property.boneId == 0 &&
                  property.keys.GetValue<TArray<float>>().Size() == 1;
    EXPECT_EQ(nFound, 1u);

    host.Context().Clear();
    host.PackTake(MOVES + "wave.take", rig + "|" + rig);
    EXPECT_FALSE(host.Packed());
    EXPECT_EQ(host.Context().Messages().Last(),
              ZString::Format("error: Error when packing animation: Multiple rig resources in parameter list not "
                              "allowed! Rig 1: '{0}'. Rig 2: '{0}'.",
                              rig));
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

TEST(AnimationPacker, FailuresLeaveNoOutputAndTheUpdateOpen)
{
    const std::pair<ZString, ZString> cases[] = {
        {MOVES + "crawl.take", "ERROR: The requested take does not exist. Take name: 'crawl'."},
        {"assembly:/nowhere.fbx?/run.take", "FBX error: Failed to initialize FbxImporter: "},
    };
    for (const auto& [source, message] : cases)
    {
        SCOPED_TRACE(source.ToCString());
        ZSampleHost host;
        host.PackTake(source);
        EXPECT_FALSE(host.Packed());
        EXPECT_TRUE(
            host.Context().FirstMessage().StartsWith(ZString("error: Error when packing animation: ") + message))
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
        EXPECT_EQ(
            host.Context().FirstMessage(),
            ZString::Format(
                "error: Error when packing animation: Failed to create output stream for asset data '{0}'\n", id));
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
        EXPECT_EQ(traces.Texts()[0], "1 ZAnimationPackerBase: Invalid IResourcePackerContext pointer specified.");
        EXPECT_EQ(traces.Texts()[1], "1 ZAnimationPackerBase: Failed to initialized packer. Bailing out!\n");
        EXPECT_TRUE(host.Context().Messages().IsEmpty());
    }
    ZSampleHost none("");
    EXPECT_FALSE(none.Pack<ResourceAnimation::ZAnimationPacker>(source, target));
    EXPECT_EQ(traces.Texts()[2],
              "1 ZAnimationPackerBase: No target platform specified. Use '-t:<platform_name>' when running this "
              "packer.");
    EXPECT_EQ(none.Database().CountCalls("BeginResourceUpdate"), 0u);
    ZSampleHost upper("PC");
    EXPECT_THROW(upper.PackTake(MOVES + "walk.take"), zhalt_exception);
}

} // namespace
