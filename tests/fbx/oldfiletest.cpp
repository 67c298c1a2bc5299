#include "tests/fbx/loadscene.h"

namespace
{

using namespace fbxfile;

TEST(OldFile, Version6)
{
    for (const char* szFile : {"binary/old6100", "binary/old6100big", "text/old6100"})
    {
        SCOPED_TRACE(szFile);
        LoadedScene scene(CorpusFile(szFile));
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
        transform.Add("Channel", {S("T")}).Add("Channel", {S(szAxis)}).Add("Default", {D(fPlace)});
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
    const std::tuple<const char*, const char*, bool> cases[] = {
        {"fewer than claimed", "2 Key: 0,1,L", false},
        {"a thousand million claimed", "1000000000 Key: 0,1,L", false},
        {"below zero", "-1 Key: 0,1,L", false},
        {"unknown letter", "1 Key: 0,1,Q", false},
        {"unknown slopes", "1 Key: 0,1,U,x", false},
        {"unknown weights", "1 Key: 0,1,U,s,0,0,x", false},
        {"more than claimed", "1 Key: 0,1,L,5,1,L", true},
        {"letters for numbers", "1 Key: 0,\"x\",L", false},
    };
    for (const auto& [szLabel, szKeys, bLoads] : cases)
    {
        SCOPED_TRACE(szLabel);
        std::string sFile = CorpusFile("text/old6100"), sKeys = szKeys;
        const size_t nAt = sFile.find("3\n", sFile.find("KeyCount"));
        sFile.replace(nAt, sFile.find(", L\n", nAt) + 3 - nAt, sKeys.replace(sKeys.find(' '), 1, "\n"));
        LoadedScene scene(sFile);
        EXPECT_EQ(scene.IsLoaded(), bLoads) << scene.Error();
    }
}

} // namespace
