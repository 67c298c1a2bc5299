#include "resource/animation/packer/metarigpacker.h"

#include "tests/resource/animation/packer/packedrigs.h"
#include "tests/support/testing.h"

namespace
{

using ResourceAnimation::ZMetaRigPacker;

const ZResourceID SOURCE("assembly:/rigs/all.fbx");

/// Packs the rigs, in this order, into one for the platform.
struct SMerge
{
    SMerge(std::initializer_list<ZAnimationRig> rigs, const ZString& platform = "pc") : host(platform)
    {
        ImportSystemAnimationModule();
        ZString parameters;
        uint32_t n = 0;
        for (const ZAnimationRig& rig : rigs)
        {
            // Named for one platform, opened for the target's.
            const ZResourceID id = ZResourceID(ZString::Format("assembly:/rigs/{0}.rig.fbx", n++));
            parameters.Append(parameters.IsEmpty() ? "" : "|");
            parameters.Append(id.CreateDerivedResourceID("animationrig", "", "any").ToString());
            AddPackedRig(host, id.CreateDerivedResourceID("animationrig", "", platform), rig);
        }
        target = SOURCE.CreateDerivedResourceID("metarig", parameters, platform);
        bPacked = host.Pack<ZMetaRigPacker>(SOURCE, target);
        bRead = ReadPackedRig(host, target, platform == "pc" ? eEndian_Little : eEndian_Big, merged);
        EXPECT_EQ(bPacked, bRead);
        EXPECT_EQ(host.Database().OpenUpdates(), 0u);
    }
    /// "name:parent " for each bone.
    ZString Bones() const
    {
        ZString text;
        for (uint32_t i = 0; i < merged.BoneCount(); ++i)
            text.Append(ZString::Format("{0}:{1} ", merged.Name(i), merged.ParentId(i).m_uiId));
        return text;
    }

    ZPackerHost host;
    ZResourceID target;
    ZAnimationRig merged;
    bool bPacked, bRead;
};

const ZAnimationRig& Body()
{
    static const ZAnimationRig s_rig = MakeRig({{"root", -1, 1}, {"hip", 0, 2}, {"hand", 1, 3}}, 0);
    return s_rig;
}

TEST(MetaRigPacker, AppendsTheBonesThatAreNew)
{
    const std::tuple<const char*, ZAnimationRig, const char*> cases[] = {
        {"new bones hang on the bones of their parents' names, in their rig's order",
         MakeRig({{"root", -1}, {"tail", 0}, {"hand", 0}, {"sword", 2}, {"tip", 3}}),
         "root:65535 hip:0 hand:1 tail:0 sword:2 tip:4 "},
        {"a known root below the first rig's root", MakeRig({{"hand", -1}, {"finger", 0}}),
         "root:65535 hip:0 hand:1 finger:2 "},
        {"a root of a new name is bone 0", MakeRig({{"other", -1}, {"tail", 0}, {"end", 1}}),
         "root:65535 hip:0 hand:1 tail:0 end:3 "},
        {"names are matched exactly", MakeRig({{"ROOT", -1}, {"Hip", 0}}), "root:65535 hip:0 hand:1 Hip:0 "},
        {"a second root that is known", MakeRig({{"hip", -1}, {"root", -1}, {"x", 1}}), "root:65535 hip:0 hand:1 x:0 "},
    };
    for (const auto& [szLabel, second, szBones] : cases)
    {
        SCOPED_TRACE(szLabel);
        const SMerge merge({Body(), second});
        EXPECT_EQ(merge.Bones(), szBones);
        EXPECT_EQ(merge.merged.RootIndices().Size(), 1u) << "root indices never grow";
        EXPECT_EQ(merge.merged.TrajectoryIndex(), 0);
    }
    // The first rig that brought a bone decides its place, whatever later ones say.
    const SMerge merge({Body(), MakeRig({{"root", -1, 9}, {"hand", 0, 9}, {"tail", 0, 7}}, 1),
                        MakeRig({{"root", -1}, {"tail", 0, 8}})});
    EXPECT_EQ(merge.merged.Bone(2).translation.x, 3.0f);
    EXPECT_EQ(merge.merged.Bone(3).translation.x, 7.0f);
    EXPECT_EQ(merge.merged.UniqueId(3), ResourceAnimation::Import::BoneUid("tail"));
    // A trajectory comes from the first rig, or not at all.
    EXPECT_FALSE(SMerge({MakeRig({{"root", -1}}), Body()}).merged.TrajectoryIndex().IsValid());
}

TEST(MetaRigPacker, SaysWhyItCannotMerge)
{
    const SMerge none({});
    EXPECT_EQ(none.host.Context().FirstMessage(), "error: Cannot find rig in assembly:/rigs/all.fbx");

    const SMerge twoRoots({Body(), MakeRig({{"hip", -1}, {"prop", -1}})});
    EXPECT_FALSE(twoRoots.bPacked);
    EXPECT_EQ(twoRoots.host.Context().FirstMessage(), "error: The rig <assembly:/rigs/1.rig.fbx>.any.animationrig has "
                                                      "a new root bone prop(This is not supported)");
    const SMerge headless({MakeRig({}), MakeRig({{"a", -1}, {"b", 0}})});
    EXPECT_EQ(headless.host.Context().FirstMessage(),
              "error: Error when packing rig: The rigs can't be merged: bone 0 is its own ancestor.");
    for (const SMerge* pMerge : {&none, &twoRoots, &headless})
    {
        EXPECT_EQ(pMerge->host.Context().Messages().Size(), 1u);
        EXPECT_EQ(pMerge->host.Database().CountCalls("OpenOutputStream"), 0u);
    }

    ZAssertTrap trap;
    EXPECT_THROW(SMerge({Body(), MakeRig({{"root", -1}, {"late", 2}, {"x", 0}})}), zhalt_exception);
    EXPECT_EQ(trap.FirstExpression(), "parentInMergedHierarchy != SBoneId(SBoneId::INVALID_ID)");
}

TEST(MetaRigPacker, ResourcesThatCannotBeReadOrWritten)
{
    ImportSystemAnimationModule();
    const ZResourceID rig = ZResourceID("assembly:/r.fbx").CreateDerivedResourceID("animationrig", "", "pc");
    const ZResourceID target = SOURCE.CreateDerivedResourceID("metarig", rig.ToString(), "pc");
    using EFault = ZMemoryResourceDatabase::EOutputFault;
    const ZString noOutput = ZString::Format("ERROR: Failed to create output resource: {0}", target);
    const std::tuple<bool, EFault, ZString> cases[] = {
        {false, EFault::eNone, "Failed to open packed rig resource '<assembly:/r.fbx>.pc.animationrig'."},
        {true, EFault::eNull, noOutput},
        {true, EFault::eNotOpen, noOutput},
        {true, EFault::eTakesNothing, "Failed to write the packed resource."},
    };
    for (const auto& [bRig, eFault, message] : cases)
    {
        ZPackerHost host;
        if (bRig)
            AddPackedRig(host, rig, Body());
        host.Database().SetOutputFault(eFault);
        EXPECT_FALSE(host.Pack<ZMetaRigPacker>(SOURCE, target));
        EXPECT_EQ(host.Context().FirstMessage(), ZString("error: Error when packing rig: ") + message);
        EXPECT_EQ(host.Database().OpenUpdates(), 0u);
        EXPECT_TRUE(host.Database().Outputs().IsEmpty());
    }
}

} // namespace
