#include "tests/fbx/loadscene.h"

#include <cstring>

namespace
{

using namespace fbxfile;

TEST(Damage, NoFbxFile)
{
    const std::tuple<const char*, std::string, bool> cases[] = {
        {"empty", "", false},
        {"text", "This is not a scene file.\n", false},
        {"picture", std::string("\x89PNG\r\n\x1a\n\0\0\0\r", 12) + std::string(500, '\x01'), false},
        {"head of a binary file alone", std::string("Kaydara FBX Binary  \0\x1a\0", 23), false},
        {"version of the future", WithVersion(CorpusFile("binary/rich7400"), 99900), true},
        {"version of long ago", WithVersion(CorpusFile("binary/rich7400"), 2000), true},
        {"text of the future", "; FBX 9.9.0 project file\nTakes: {\n}\n", true},
    };
    for (const auto& [szLabel, sBytes, bIsFbx] : cases)
    {
        SCOPED_TRACE(szLabel);
        LoadedScene scene(sBytes);
        EXPECT_FALSE(scene.IsInitialized());
        EXPECT_EQ(scene.IsFbx(), bIsFbx);
        EXPECT_NE(scene.Error(), "");
    }
}

/// A file of one curve whose array of key times is replaced by hand.
std::string WithTimes(uint32_t nCount, uint32_t nEncoding, const std::string& sBytes)
{
    Scene scene;
    const int64_t nModel = scene.Model("a");
    const int64_t nNode = scene.CurveNode(scene.Layer("l", scene.Stack("s", 0, 1)), nModel, "Lcl Rotation", {0, 0, 0});
    scene.Curve(nNode, "d|X", {0x1122334455667788}, {1});
    std::string sFile = scene.Write();
    // The one element makes its place known; the offsets around it are of a file with just these bytes.
    const size_t nAt = sFile.find("KeyTime") + 8;
    const std::string sHead = [&]
    {
        std::string s(12, '\0');
        const uint32_t nBytes = 8;
        std::memcpy(s.data(), &nCount, 4);
        std::memcpy(s.data() + 4, &nEncoding, 4);
        std::memcpy(s.data() + 8, &nBytes, 4);
        return s;
    }();
    sFile.replace(nAt, 12, sHead);
    sFile.replace(nAt + 12, 8, (sBytes + std::string(8, '\0')).substr(0, 8));
    return sFile;
}

TEST(Damage, ArraysThatLie)
{
    EXPECT_TRUE(LoadedScene(WithTimes(1, 0, "12345678")).IsLoaded());
    const std::tuple<const char*, uint32_t, uint32_t, const char*> cases[] = {
        {"longer than its record", 2, 0, "passes the end"},
        {"four thousand million elements", 0xfffffff0, 0, "passes the end"},
        {"more than deflate can hold", 0xfffffff0, 1, "more elements than"},
        {"no deflated bytes", 4, 1, "damaged"},
        {"unknown encoding", 1, 2, "unknown encoding"},
    };
    for (const auto& [szLabel, nCount, nEncoding, szError] : cases)
    {
        SCOPED_TRACE(szLabel);
        LoadedScene scene(WithTimes(nCount, nEncoding, "12345678"));
        EXPECT_FALSE(scene.IsLoaded());
        EXPECT_NE(scene.Error().find(szError), std::string::npos) << scene.Error();
    }
}

TEST(Damage, Curves)
{
    const auto load = [](std::vector<int64_t> times, std::vector<double> values, std::vector<KeyAttribute> attributes)
    {
        Scene scene;
        const int64_t nModel = scene.Model("a");
        const int64_t nNode =
            scene.CurveNode(scene.Layer("l", scene.Stack("s", 0, 1)), nModel, "Lcl Translation", {0, 0, 0});
        scene.Curve(nNode, "d|X", std::move(times), std::move(values), std::move(attributes));
        return scene.Write();
    };
    LoadedScene differ(load({0, 1, 2}, {1, 2}, {}));
    EXPECT_FALSE(differ.IsLoaded());
    EXPECT_NE(differ.Error().find("3 key times and 2 key values"), std::string::npos) << differ.Error();

    LoadedScene none(load({}, {}, {}));
    ASSERT_TRUE(none.IsLoaded());
    const FbxProperty property = none.Node("a").FindProperty("Lcl Translation");
    ASSERT_NE(property.GetCurveNode(), nullptr);
    EXPECT_FALSE(property.GetCurveNode()->IsAnimated());
    FbxTimeSpan span;
    EXPECT_FALSE(property.GetCurveNode()->GetAnimationInterval(span));
    EXPECT_EQ(none.Node("a").EvaluateLocalTransform(FbxTime()).t.x, 0.0);

    // Counts of attributes that are too small, too large, or below zero: the last entry goes on.
    for (const int64_t nCount : {int64_t(1), int64_t(1000000), int64_t(-5), int64_t(0)})
    {
        LoadedScene odd(
            load({0, kSecond, 2 * kSecond}, {0, 10, 20}, {{kStep, 0, 0, 0, nCount}, {kCubicUser, 0, 0, 0, nCount}}));
        ASSERT_TRUE(odd.IsLoaded());
        EXPECT_TRUE(std::isfinite(odd.Node("a").EvaluateLocalTransform(FbxTime::FromSeconds(1.5)).t.x));
    }

    // Keys out of order come in order, each with its kind.
    LoadedScene sorted(load({2 * kSecond, 0, kSecond}, {20, 0, 10},
                            {{kLinear, 0, 0, 0, 1}, {kStep, 0, 0, 0, 1}, {kLinear, 0, 0, 0, 1}}));
    ASSERT_TRUE(sorted.IsLoaded());
    EXPECT_EQ(sorted.Node("a").EvaluateLocalTransform(FbxTime::FromSeconds(0.5)).t.x, 0.0);
    EXPECT_EQ(sorted.Node("a").EvaluateLocalTransform(FbxTime::FromSeconds(1.5)).t.x, 15.0);

    // What is no number reaches the caller.
    LoadedScene nan(load({0, kSecond, 2 * kSecond}, {0, NAN, 2}, {}));
    ASSERT_TRUE(nan.IsLoaded());
    EXPECT_TRUE(std::isnan(nan.Node("a").EvaluateLocalTransform(FbxTime::FromSeconds(1.0)).t.x));
    EXPECT_EQ(nan.Node("a").EvaluateLocalTransform(FbxTime::FromSeconds(2.0)).t.x, 2.0);
}

TEST(Damage, Connections)
{
    Scene cycle;
    const int64_t nA = cycle.Model("a");
    const int64_t nB = cycle.Model("b", "Null", nA);
    Record top = cycle.Records();
    for (Record& record : top.children)
        if (record.name == "Connections")
            record.children[0].values[2].i = nB; // a below b below a
    LoadedScene turned(Write(top, {}));
    EXPECT_FALSE(turned.IsLoaded());
    EXPECT_NE(turned.Error().find("its own ancestor"), std::string::npos) << turned.Error();

    Scene odd;
    const int64_t nC = odd.Model("c", "Null", 424242); // below nothing: the root takes it
    const int64_t nD = odd.Model("d", "Null", nC);
    odd.Connect("OO", nD, nD);
    odd.Connect("OO", nD, 0); // a second parent does not count
    odd.Connect("OO", 999, 888);
    odd.Connect("OP", nD, nC, "Lcl Rotation");
    odd.Connect("XX", nD, nC);
    LoadedScene scene(odd.Write());
    ASSERT_TRUE(scene.IsLoaded()) << scene.Error();
    EXPECT_EQ(scene.Node("c").GetParent(), scene->GetRootNode());
    EXPECT_EQ(scene.Node("d").GetParent(), &scene.Node("c"));
    EXPECT_EQ(scene->GetRootNode()->GetChildCount(), 1u);
}

TEST(Damage, DeepAndWideTrees)
{
    Scene scene;
    int64_t nParent = 0;
    constexpr int kDepth = 20000;
    scene.objects.reserve(kDepth);
    for (int n = 0; n < kDepth; ++n)
    {
        const int64_t nId = 1 + n;
        scene.objects.push_back({"Model", {L(nId), Name("n" + std::to_string(n), "Model"), S("Null")}, {}});
        scene.objects.back()
            .Add("Properties70")
            .Add("P", {S("Lcl Translation"), S("Lcl Translation"), S(""), S("A"), D(1), D(0), D(0)});
        scene.Connect("OO", nId, nParent);
        nParent = nId;
    }
    LoadedScene deep(scene.Write());
    ASSERT_TRUE(deep.IsLoaded()) << deep.Error();
    EXPECT_EQ(deep.Node("n19999").EvaluateGlobalTransform(FbxTime::Infinite()).t.x, kDepth);
    EXPECT_EQ(deep->FindNodeByName("nobody"), nullptr);
    FbxAxisSystem(1, 1, 2, 1, 0, 1).ConvertScene(deep.Get());
    EXPECT_EQ(deep.Node("n19999").EvaluateGlobalTransform(FbxTime()).t.x, kDepth);
}

} // namespace
