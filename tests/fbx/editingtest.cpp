#include "tests/fbx/loadscene.h"

namespace
{

using namespace fbxfile;

TEST(Editing, Properties)
{
    Scene scene;
    Record defaults{"Properties70", {}, {}};
    defaults.Add("P", {S("Known"), S("int"), S("Integer"), S(""), I(7)});
    scene.Template("Model", "FbxNode", defaults);
    const int64_t nNode = scene.Model("node");
    scene.Model("other");
    scene.Property(nNode, "Text", "KString", "U", {S("old")});
    LoadedScene loaded(scene.Write());
    FbxNode& node = loaded.Node("node");
    const size_t nBefore = node.GetPropertyCount();

    // What is there keeps its type, whatever is asked for.
    FbxProperty text = node.CreateProperty("Text", EFbxType::eBool);
    EXPECT_EQ(text.GetType(), EFbxType::eString);
    EXPECT_TRUE(text.SetBool(true));
    EXPECT_EQ(node.FindProperty("Text").GetString(), "true");
    EXPECT_FALSE(text.SetMatrix(FbxMatrix4()));

    // A default becomes the object's own, and stays the others'.
    FbxProperty known = node.CreateProperty("Known", EFbxType::eInt);
    EXPECT_EQ(known.GetInt64(), 7);
    EXPECT_TRUE(known.SetBool(false));
    EXPECT_EQ(known.GetInt64(), 0);
    EXPECT_EQ(node.FindProperty("Known").GetInt64(), 0);
    EXPECT_EQ(loaded.Node("other").FindProperty("Known").GetInt64(), 7);
    EXPECT_EQ(node.GetPropertyCount(), nBefore);

    const std::pair<EFbxType, const char*> made[] = {
        {EFbxType::eBool, "bool"}, {EFbxType::eString, "KString"},   {EFbxType::eDouble, "double"},
        {EFbxType::eInt, "int"},   {EFbxType::eDouble3, "Vector3D"}, {EFbxType::eDouble4x4, "matrix4x4"}};
    for (const auto& [eType, szTypeName] : made)
    {
        const FbxProperty property = node.CreateProperty(szTypeName, eType);
        EXPECT_TRUE(property.GetType() == eType && property.IsUserDefined()) << szTypeName;
        EXPECT_STREQ(property.GetTypeName(), szTypeName);
    }
    EXPECT_EQ(node.GetPropertyCount(), nBefore + std::size(made));
    EXPECT_EQ(node.FindProperty("KString").GetString(), "");
    EXPECT_EQ(node.FindProperty("matrix4x4").GetMatrix().m[2][2], 1.0);
    EXPECT_FALSE(node.CreateProperty("never", EFbxType::eBlob).IsValid());
    EXPECT_FALSE(FbxProperty().SetBool(true));
    EXPECT_FALSE(node.FindProperty("Vector3D").SetBool(true));
}

TEST(Editing, NodesAndStacks)
{
    Scene scene;
    const int64_t nNode = scene.Model("node");
    scene.Vector(nNode, "Lcl Translation", 1, 2, 3);
    const int64_t nLayer = scene.Layer("layer", scene.Stack("old", 0, kSecond));
    scene.Curve(scene.CurveNode(nLayer, nNode, "Lcl Translation", {0, 0, 0}), "d|X", {0, kSecond}, {10, 20});
    LoadedScene loaded(scene.Write());
    const FbxTime time = FbxTime::FromSeconds(0.5);
    FbxNode& node = loaded.Node("node");
    EXPECT_EQ(node.EvaluateGlobalTransform(time).t.x, 15.0);

    FbxNode* pMade = FbxNode::Create(&node, "made");
    EXPECT_EQ(pMade->GetParent(), &node);
    EXPECT_EQ(loaded->FindNodeByName("made"), pMade);
    EXPECT_EQ(loaded->GetNode(loaded->GetNodeCount() - 1), pMade);
    EXPECT_EQ(pMade->EvaluateGlobalTransform(time).t.x, 15.0) << "the evaluator has heard of it";

    FbxAnimStack* pOld = loaded->GetAnimStack(0);
    FbxAnimStack* pNew = FbxAnimStack::Create(loaded.Get(), "new");
    EXPECT_EQ(loaded->GetAnimStackCount(), 1u);
    loaded->ConnectAnimStack(pNew);
    loaded->ConnectAnimStack(pNew);
    EXPECT_EQ(loaded->GetAnimStackCount(), 2u) << "once";
    EXPECT_EQ(loaded->GetCurrentAnimStack(), pOld);
    loaded->DisconnectAnimStack(pOld);
    EXPECT_EQ(loaded->GetCurrentAnimStack(), pNew);
    EXPECT_EQ(node.EvaluateGlobalTransform(time).t.x, 1.0) << "it has no layers";
    pNew->ConnectLayer(pOld->GetLayer(0));
    EXPECT_EQ(node.EvaluateGlobalTransform(time).t.x, 15.0);
    EXPECT_EQ(pOld->GetLayerCount(), 1u);
    loaded->DisconnectAnimStack(pOld);
    loaded->DisconnectAnimStack(pNew);
    EXPECT_EQ(loaded->GetCurrentAnimStack(), nullptr);
    pNew->SetLocalTimeSpan({FbxTime::FromFrame(-3, 30.0), FbxTime::FromFrame(90, 30.0)});
    EXPECT_EQ(pNew->GetLocalTimeSpan().stop.GetSecondDouble(), 3.0);
}

} // namespace
