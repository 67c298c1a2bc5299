#include "tests/support/testing.h"

namespace
{

TEST(ZResourceID, TakesFormsApart)
{
    const std::tuple<const char*, bool, const char*, const char*, const char*> cases[] = {
        {"assembly:/a/run.fbx", true, "assembly:/a/run.fbx", "", "fbx"},
        {"assembly:/a/run.fbx?/walk.take", true, "assembly:/a/run.fbx", "/walk.take", "take"},
        {"assembly:/a (1)/run.x.FBX", true, "assembly:/a (1)/run.x.FBX", "", "FBX"},
        {"assembly:/a.b/run", true, "assembly:/a.b/run", "", ""},
        {"assembly:/a.fbx?walk", true, "assembly:/a.fbx", "walk", ""},
        {"assembly:/a.fbx?walk.take", true, "assembly:/a.fbx", "walk.take", "take"},
        {"<assembly:/a.fbx?/w.take>.pc.animation", true, "assembly:/a.fbx", "/w.take", "animation"},
        {"<<assembly:/a.fbx>.pc.animationrig>(x|y).pc.rigxml", true, "assembly:/a.fbx", "", "rigxml"},
        {"", false, "", "", ""},
        {"run.fbx", false, "run.fbx", "", "fbx"},
        {"assembly:/", false, "assembly:/", "", ""},
        {"assembly:/?/walk.take", false, "assembly:/", "/walk.take", "take"},
        {"a/b:/c.fbx", false, "a/b:/c.fbx", "", "fbx"},
        {"a.b:/c.fbx", false, "a.b:/c.fbx", "", "fbx"},
        {"assembly:/a<b.fbx", false, "assembly:/a<b.fbx", "", "fbx"},
        {"<run.fbx>.pc.animation", false, "run.fbx", "", "animation"},
        {"<assembly:/a.fbx>.pc.", false, "assembly:/a.fbx", "", ""},
        {"<assembly:/a.fbx>", false, "<assembly:/a.fbx>", "", "fbx>"},
    };
    for (const auto& [szText, bValid, szRoot, szParameters, szExtension] : cases)
    {
        SCOPED_TRACE(szText);
        const ZResourceID id(ZString::ReferenceCString(szText));
        EXPECT_EQ(id.IsValid(), bValid);
        EXPECT_STREQ(id.GetRoot().ToString().ToCString(), szRoot);
        EXPECT_STREQ(id.GetRootParameters().ToCString(), szParameters);
        EXPECT_STREQ(id.GetExtension().ToCString(), szExtension);
    }
    EXPECT_TRUE(ZResourceID().IsEmpty());
}

TEST(ZResourceID, DerivedFormKeepsEveryPart)
{
    const ZResourceID source("assembly:/Chars (old)/Hero.fbx?/Run_01.take");
    const ZResourceID rig =
        ZResourceID("assembly:/a.rig.fbx")
            .CreateDerivedResourceID("animationrig", "p (1)|<assembly:/c.rig>(a (2).rig.fbx|b).pc.metarig|q)", "pc");
    const ZString parameters = ZString::Format("noevents|{0}|assembly:/b (2).rig", rig);
    const ZResourceID derived = source.CreateDerivedResourceID("animation", parameters, "ps3");

    // Lower-casing is the first thing that happens to an identifier in a packer.
    for (const ZResourceID& id : {derived, ZResourceID(derived.ToString().CopyToLower())})
    {
        EXPECT_TRUE(id.IsValid() && id.IsDerived());
        EXPECT_EQ(id.GetSourceResourceID().ToString().ICompare(source.ToString()), 0);
        EXPECT_STREQ(id.GetExtension().ToCString(), "animation");
        EXPECT_STREQ(id.GetPlatformFromExtension().ToCString(), "ps3");
        ASSERT_EQ(id.GetParameterCount(), 3u);
        EXPECT_TRUE(id.GetParameter(0) == "noevents");
        EXPECT_TRUE(id.GetParameter(1) == rig.ToString());
        EXPECT_TRUE(id.GetParameter(2) == "assembly:/b (2).rig");
    }
    EXPECT_STREQ(derived.ReplacePlatform("pc").GetPlatformFromExtension().ToCString(), "pc");
    EXPECT_TRUE(derived.ReplacePlatform("pc").GetSourceResourceID() == source);
    EXPECT_TRUE(source.ReplacePlatform("pc") == source);
}

TEST(ZResourceID, ReplacesExtensionAndParameters)
{
    EXPECT_TRUE(ZResourceID("assembly:/a/foo.xml").ReplaceExtension("fbx") == ZString("assembly:/a/foo.fbx"));
    EXPECT_TRUE(ZResourceID("assembly:/a.b/foo").ReplaceExtension("fbx") == ZString("assembly:/a.b/foo.fbx"));
    EXPECT_TRUE(ZResourceID("assembly:/a.fbx?/x.take").ReplaceExtension("rig") == ZString("assembly:/a.fbx?/x.rig"));
    EXPECT_TRUE(ZResourceID("assembly:/a.fbx?/x.take").ReplaceRootParameters("/y.rig") ==
                ZString("assembly:/a.fbx?/y.rig"));
    const ZResourceID derived("<<assembly:/a.fbx?/x.take>.pc.rig>(p?q).pc.rigxml");
    EXPECT_TRUE(derived.ReplaceRootParameters("/y.rig") == ZString("<<assembly:/a.fbx?/y.rig>.pc.rig>(p?q).pc.rigxml"));
    EXPECT_TRUE(derived.ReplaceRootParameters("") == ZString("<<assembly:/a.fbx>.pc.rig>(p?q).pc.rigxml"));
}

} // namespace
