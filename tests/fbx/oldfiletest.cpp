#include "tests/fbx/loadscene.h"
#include "tests/fbx/samplescenes.h"

namespace
{

using namespace fbxfile;

TEST(OldFile, Version6)
{
    for (const Format& format : {Format{6100}, Format{6100, false, true}, Format{6100, true}})
    {
        SCOPED_TRACE(format.bText ? "text" : format.bBigEndian ? "big endian" : "binary");
        LoadedScene scene(Write(OldScene(), format));
        ASSERT_TRUE(scene.IsLoaded()) << scene.Error();
        ASSERT_EQ(scene->GetNodeCount(), 3u);
        FbxNode& arm = scene.Node("arm");
        FbxNode& lens = scene.Node("lens");
        EXPECT_EQ(lens.GetParent(), &arm);
        EXPECT_EQ(scene->GetGlobalSettings().GetFrameRate(), 25.0);
        ASSERT_EQ(scene->GetAnimStackCount(), 1u);
        EXPECT_STREQ(scene->GetAnimStack(0)->GetName(), "walk");
        EXPECT_EQ(scene->GetAnimStack(0)->GetLocalTimeSpan().stop.Get(), 2 * kSecond);

        // The camera's properties moved to the attribute, the node's stayed.
        ASSERT_NE(lens.GetCamera(), nullptr);
        EXPECT_EQ(lens.GetCamera()->FindProperty("FocalLength").GetDouble(), 50.0);
        EXPECT_FALSE(lens.FindProperty("FocalLength").IsValid());
        EXPECT_EQ(lens.FindProperty("InheritType").GetInt64(), 1);
        double value[4];
        scene->GetAnimationEvaluator()->EvaluateProperty(lens.GetCamera()->FindProperty("FocalLength"),
                                                         FbxTime::FromSeconds(0.5), value);
        EXPECT_EQ(value[0], 75.0);

        EXPECT_TRUE(Near(arm.EvaluateLocalTransform(FbxTime::Infinite()).t, {1, 2, 3}, 0.0));
        const FbxTransform half = arm.EvaluateLocalTransform(FbxTime::FromSeconds(0.5));
        EXPECT_EQ(half.t.y, 5.0) << "no keys: the channel's fixed value";
        EXPECT_EQ(half.t.z, 1.0);
        EXPECT_EQ(arm.EvaluateLocalTransform(FbxTime::FromSeconds(1.5)).t.z, 3.0) << "the next key's value";
        // The automatic slope at one second leans on both neighbours: chord 15, and the mean of 10 and 20.
        const FbxTransform late = arm.EvaluateLocalTransform(FbxTime::FromSeconds(1.5));
        EXPECT_NEAR(late.t.x, 20 + (15 - 0) / 8.0, 1e-6) << "the last key is linear, its left side flat";
        EXPECT_EQ(arm.EvaluateLocalTransform(FbxTime::FromSeconds(1.0)).t.x, 10.0);
    }
}

TEST(OldFile, Version5NamesChildrenAndHoldsChannels)
{
    Record top;
    top.Add("FBXHeaderExtension").Add("FBXVersion", {I(5000)});
    const auto model = [&top](const std::string& sName, const char* szAxis, double fPlace, std::vector<Value> children)
    {
        Record& record = top.Add("Model", {S(sName)});
        record.Add("Type", {S("Null")});
        Record& transform = record.Add("Channel", {S("Transform")});
        transform.Add("Channel", {S("T")}).children.push_back(OldChannel(szAxis, fPlace, {}, 0));
        if (!children.empty())
            record.Add("Children", std::move(children));
    };
    model("inner", "X", 3, {});
    model("outer", "X", 4, {S("inner"), S("nobody"), S("outer")});
    model("side", "Y", 5, {});
    top.Add("Settings").Add("FrameRate", {S("15")});
    LoadedScene scene(Write(top, {3000})); // what such files have in their head
    ASSERT_TRUE(scene.IsLoaded()) << scene.Error();
    EXPECT_EQ(scene.Version(), 5000);
    EXPECT_EQ(scene.Node("inner").GetParent(), &scene.Node("outer"));
    EXPECT_EQ(scene.Node("inner").EvaluateGlobalTransform(FbxTime::Infinite()).t.x, 7.0);
    EXPECT_TRUE(Near(scene.Node("side").EvaluateLocalTransform(FbxTime()).t, {0, 5, 0}, 0.0));
    EXPECT_EQ(scene->GetGlobalSettings().GetFrameRate(), 15.0);
    EXPECT_EQ(scene->GetGlobalSettings().GetAxisSystem(), FbxAxisSystem());
    EXPECT_EQ(scene->GetAnimStackCount(), 1u);
}

TEST(OldFile, KeysThatCannotBeRead)
{
    const struct
    {
        const char* szLabel;
        std::vector<Value> keys;
        int64_t nKeys;
        bool bLoads;
    } cases[] = {
        {"fewer than claimed", {L(0), D(1), Letter('L')}, 2, false},
        {"a thousand million claimed", {L(0), D(1), Letter('L')}, 1000000000, false},
        {"below zero", {L(0), D(1), Letter('L')}, -1, false},
        {"unknown letter", {L(0), D(1), Letter('Q')}, 1, false},
        {"unknown slopes", {L(0), D(1), Letter('U'), Letter('x')}, 1, false},
        {"unknown weights", {L(0), D(1), Letter('U'), Letter('s'), D(0), D(0), Letter('x')}, 1, false},
        {"more than claimed", {L(0), D(1), Letter('L'), L(5), D(1), Letter('L')}, 1, true},
        {"letters for numbers", {L(0), S("x"), Letter('L')}, 1, false},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.szLabel);
        Record top = OldScene();
        for (Record& record : top.children)
            if (record.name == "Takes")
                record.children[1].children[1].children[0].children[0].children[0] =
                    OldChannel("X", 0, c.keys, c.nKeys < 0 ? 1 : c.nKeys);
        if (c.nKeys < 0)
            for (Record& record : top.children)
                if (record.name == "Takes")
                    record.children[1].children[1].children[0].children[0].children[0].children[2].values[0].i =
                        c.nKeys;
        LoadedScene scene(Write(top, {6100}));
        EXPECT_EQ(scene.IsLoaded(), c.bLoads) << scene.Error();
    }
}

} // namespace
