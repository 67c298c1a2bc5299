#include "tests/fbx/loadscene.h"

namespace
{

using namespace fbxfile;

TEST(Scene, NodesChildrenAndNames)
{
    // Objects stand in another order than the connections: nodes follow the one, children the other.
    Scene scene;
    const int64_t nTop = scene.Model("top");
    const int64_t nFirst = scene.Model("twin", "LimbNode", nTop);
    scene.Model("ns:other", "Mesh", nTop);
    const int64_t nBelow = scene.Model("twin", "Null", nFirst);
    scene.Model("Producer Front", "Camera");
    Record top = scene.Records();
    for (Record& record : top.children)
        if (record.name == "Connections")
            std::swap(record.children[1], record.children[2]);
    LoadedScene loaded(Write(top, {}));
    ASSERT_TRUE(loaded.IsLoaded()) << loaded.Error();
    ASSERT_EQ(loaded->GetNodeCount(), 5u) << "the root and four; an editor's camera is none";
    EXPECT_STREQ(loaded->GetNode(1)->GetName(), "top");
    EXPECT_STREQ(loaded->GetNode(3)->GetName(), "ns:other");
    EXPECT_STREQ(loaded->GetNode(3)->GetTypeText(), "Mesh");
    EXPECT_EQ(loaded->GetNode(4)->GetIndex(), 4);
    FbxNode& node = loaded.Node("top");
    ASSERT_EQ(node.GetChildCount(), 2u);
    EXPECT_STREQ(node.GetChild(0)->GetName(), "ns:other");
    EXPECT_EQ(loaded->FindNodeByName("twin")->GetId(), nFirst) << "the first in tree order";
    EXPECT_EQ(loaded->FindNodeByName("Twin"), nullptr);

    FbxNode* pTwin = loaded->FindNodeByName("twin");
    node.RemoveChild(pTwin);
    EXPECT_EQ(loaded->FindNodeByName("twin"), nullptr);
    EXPECT_EQ(loaded->GetNodeCount(), 5u) << "it stays in the list";
    EXPECT_EQ(pTwin->GetParent(), nullptr);
    EXPECT_EQ(pTwin->GetChild(0)->GetId(), nBelow);
    node.RemoveChild(pTwin);
    EXPECT_EQ(node.GetChildCount(), 1u);
}

TEST(Scene, CurrentStack)
{
    const std::pair<const char*, size_t> cases[] = {{"second", 1}, {"first", 0}, {"gone", 0}, {"", 0}};
    for (const auto& [szActive, nExpected] : cases)
    {
        SCOPED_TRACE(szActive);
        Scene scene;
        scene.Stack("first", 5, 10);
        scene.Layer("a", scene.Stack("second", 20, 30));
        scene.ActiveStack(szActive);
        LoadedScene loaded(scene.Write());
        ASSERT_TRUE(loaded.IsLoaded()) << loaded.Error();
        ASSERT_EQ(loaded->GetAnimStackCount(), 2u);
        EXPECT_EQ(loaded->GetCurrentAnimStack(), loaded->GetAnimStack(nExpected));
        EXPECT_EQ(loaded->GetAnimStack(1)->GetLayerCount(), 1u);
        EXPECT_EQ(loaded->GetAnimStack(1)->GetLocalTimeSpan().start.Get(), 20);
        EXPECT_EQ(loaded->GetAnimStack(1)->GetLocalTimeSpan().stop.Get(), 30);
    }
    LoadedScene none(Scene().Write());
    EXPECT_EQ(none->GetCurrentAnimStack(), nullptr);
    EXPECT_TRUE(Near(none->GetRootNode()->EvaluateGlobalTransform(FbxTime::FromSeconds(1)).t, {0, 0, 0}, 0.0));
}

TEST(Scene, SpanOfAStackWithoutItsOwn)
{
    Scene scene;
    Record top = scene.Records();
    for (Record& record : top.children)
    {
        if (record.name == "Objects")
            record.Add("AnimationStack", {L(7), Name("walk", "AnimStack"), S("")})
                .Add("Properties70")
                .Add("P", {S("RigFile"), S("KString"), S(""), S("U"), S("a.xml")});
        if (record.name == "Takes")
            record.Add("Take", {S("walk")}).Add("LocalTime", {L(11), L(22)});
    }
    LoadedScene loaded(Write(top, {}));
    ASSERT_EQ(loaded->GetAnimStackCount(), 1u);
    EXPECT_EQ(loaded->GetAnimStack(0)->GetLocalTimeSpan().start.Get(), 11);
    EXPECT_EQ(loaded->GetAnimStack(0)->GetLocalTimeSpan().stop.Get(), 22);
}

TEST(Scene, FilesMayCountTimeInOtherTicks)
{
    Scene scene;
    const int64_t nModel = scene.Model("a");
    const int64_t nNode =
        scene.CurveNode(scene.Layer("l", scene.Stack("s", 0, 141120000 / 24)), nModel, "Lcl Translation", {0, 0, 0});
    scene.Curve(nNode, "d|X", {0, 141120000}, {0, 10});
    Record top = scene.Records();
    for (const int nDefinition : {0, 127})
    {
        SCOPED_TRACE(nDefinition);
        for (Record& record : top.children)
            if (record.name == "FBXHeaderExtension")
                record.children = {{"OtherFlags", {}, {{"TCDefinition", {I(nDefinition)}, {}}}}};
        LoadedScene loaded(Write(top, {7700, false, false, false}));
        const int64_t nStop = loaded->GetAnimStack(0)->GetLocalTimeSpan().stop.Get();
        EXPECT_EQ(nStop, nDefinition == 0 ? kSecond / 24 : 141120000 / 24);
        EXPECT_NEAR(loaded.Node("a").EvaluateLocalTransform(FbxTime::FromSeconds(0.5)).t.x,
                    nDefinition == 0 ? 5.0 : 10.0, 1e-9);
    }
}

TEST(Scene, Settings)
{
    Scene scene;
    scene.Setting("TimeMode", "enum", I(14));
    scene.Setting("CustomFrameRate", "double", D(12.5));
    scene.Setting("UnitScaleFactor", "double", D(2.54));
    scene.Setting("UpAxis", "int", I(1));
    scene.Setting("FrontAxis", "int", I(2));
    scene.Setting("FrontAxisSign", "int", I(1));
    LoadedScene loaded(scene.Write());
    const FbxGlobalSettings& settings = loaded->GetGlobalSettings();
    EXPECT_EQ(settings.GetTimeMode(), 14);
    EXPECT_EQ(settings.GetFrameRate(), 12.5);
    EXPECT_EQ(settings.GetUnitScaleFactor(), 2.54);
    EXPECT_EQ(settings.GetAxisSystem(), FbxAxisSystem(1, 1, 2, 1, 0, 1));
    EXPECT_EQ(settings.FindProperty("UnitScaleFactor").GetDouble(), 2.54);

    // Two axes on top of each other mean nothing: Y up is taken.
    scene.Setting("UpAxis", "int", I(2));
    EXPECT_EQ(LoadedScene(scene.Write())->GetGlobalSettings().GetAxisSystem(), FbxAxisSystem());
}

/// What small exporters leave out: settings, definitions, classes, labels of arrays, layers' properties. Of what stands
/// twice the last one holds.
TEST(Scene, FileOfAHomeMadeWriter)
{
    LoadedScene scene(R"(FBXHeaderExtension: { FBXVersion: 7400 }
GlobalSettings: { Version: 1000 }
Objects: {
  Model: 10, "Hip", "LimbNode" { Version: 232
    Properties70: { P: "Lcl Translation", "Lcl Translation", "", "A+", 9,9,9
      P: "Lcl Translation", "Lcl Translation", "", "A+", 1,2,3 } }
  Model: 11, "Model::rig:Knee", "LimbNode" { }
  AnimationStack: 20, "walk", "" { }
  AnimationLayer: 21, "", "" { }
  AnimationCurveNode: 22, "T", "" { }
  AnimationCurve: 23, "", "" { KeyTime: 0,46186158000,
      92372316000
    KeyValueFloat: 0,10.5,20 }
}
Connections: { C: "OO", 10, 0
  C: "OO", 11, 10
  C: "OO", 21, 20
  C: "OO", 22, 21
  C: "OP", 22, 11, "Lcl Translation"
  C: "OP", 23, 22, "d|Y" }
)");
    ASSERT_TRUE(scene.IsLoaded()) << scene.Error();
    ASSERT_EQ(scene->GetAnimStackCount(), 1u);
    EXPECT_STREQ(scene->GetCurrentAnimStack()->GetName(), "walk");
    EXPECT_EQ(scene->GetGlobalSettings().GetFrameRate(), 30.0);
    const FbxVector3 t = scene.Node("rig:Knee").EvaluateGlobalTransform(FbxTime::FromSeconds(0.5)).t;
    EXPECT_TRUE(Near(t, {1, 2 + 5.25, 3}, 1e-12));
}

TEST(Scene, Cameras)
{
    Scene scene;
    const int64_t nLens = scene.Model("lens", "Camera");
    const int64_t nCamera = scene.Attribute("Camera", nLens);
    scene.Property(nCamera, "FilmWidth", "double", "", {D(1.41732)});
    scene.Property(nCamera, "FilmHeight", "double", "", {D(0.94488)});
    scene.Integer(nCamera, "ApertureMode", 3);
    const int64_t nTall = scene.Model("tall", "Camera");
    const int64_t nTallCamera = scene.Attribute("Camera", nTall);
    scene.Property(nTallCamera, "FilmHeight", "double", "", {D(0.94488)});
    scene.Integer(nTallCamera, "ApertureMode", 2);
    const int64_t nLamp = scene.Model("lamp", "Light");
    scene.Attribute("Light", nLamp);
    scene.Attribute("Camera", nLamp); // not the default attribute
    const int64_t nBoth = scene.Model("both", "Camera");
    scene.Attribute("Light", nBoth);
    scene.Attribute("Camera", nBoth);
    scene.Integer(nBoth, "DefaultAttributeIndex", 1);
    LoadedScene loaded(scene.Write());
    ASSERT_TRUE(loaded.IsLoaded()) << loaded.Error();
    ASSERT_NE(loaded.Node("lens").GetCamera(), nullptr);
    EXPECT_NEAR(loaded.Node("lens").GetCamera()->ComputeFieldOfView(35.0), 54.4321, 5e-5);
    EXPECT_NEAR(loaded.Node("tall").GetCamera()->ComputeFieldOfView(35.0), 37.8492, 5e-5);
    EXPECT_NEAR(loaded.Node("lens").GetCamera()->ComputeFieldOfView(0.0), 180.0, 1e-12);
    EXPECT_TRUE(loaded.Node("lens").GetCamera()->FindProperty("FieldOfView").IsValid());
    EXPECT_EQ(loaded.Node("lamp").GetCamera(), nullptr);
    EXPECT_EQ(loaded.Node("both").GetCamera(), loaded.Node("both").GetNodeAttribute(1));
    ASSERT_EQ(loaded.Node("lamp").GetNodeAttributeCount(), 2u);
    EXPECT_STREQ(loaded.Node("lamp").GetNodeAttribute(0)->GetTypeText(), "Light");
}

} // namespace
