#include "resource/animation/fbximport/fbxconverter.h"

#include "tests/fbx/loadscene.h"
#include "tests/support/testing.h"

#include <limits>

namespace
{

using namespace fbxfile;

constexpr int64_t kFrame = kSecond / 30;

/// Properties that the layout in use gives a node, as "name=value" in the order in which they were made.
std::string NewMarks(const FbxNode& node)
{
    constexpr std::string_view names[] = {"IsGroundRoot", "IsAttachRoot", "RootObjectNames", "IsRig",
                                          "RigResource",  "IsTakeNode",   "TakeData"};
    std::string sMarks;
    for (size_t n = 0; n < node.GetPropertyCount(); ++n)
        for (const std::string_view name : names)
            if (name == node.GetProperty(n).GetName())
                sMarks += (sMarks.empty() ? "" : "; ") + std::string(name) + "=" + node.GetProperty(n).GetString();
    return sMarks;
}

void Text(Scene& scene, int64_t nObject, const char* szName, const std::string& sValue)
{
    scene.Property(nObject, szName, "KString", "U", {S(sValue)});
}

void Bool(Scene& scene, int64_t nObject, const char* szName, bool bValue)
{
    scene.Property(nObject, szName, "bool", "U", {I(bValue)});
}

void Convert(LoadedScene& loaded, const char* szId = "assembly:/a/b.fbx")
{
    ASSERT_TRUE(loaded.IsLoaded()) << loaded.Error();
    ZFbxConverter::ConvertToNewPipeline(ZResourceID(ZString::AllocateFromCString(szId)), loaded.Get());
}

TEST(FbxConverter, KnowsTheOldLayout)
{
    const std::tuple<const char*, bool, const char*, bool> cases[] = {
        {"nothing", false, "Other", false},
        {"a stack's animated object by name", true, "AnimatedObjectName", true},
        {"or by number", true, "AnimatedObjectID", true},
        {"in this case only", true, "animatedobjectname", false},
        {"a ground alone is no mark", true, "GroundName", false},
        {"a node that is a ground", false, "IsGround", true},
        {"in this case only", false, "isground", false},
        {"a node with a number", false, "UniqueID", true},
        {"in any case", false, "uniqueId", true},
        {"stacks have none", true, "UniqueID", false},
    };
    for (const auto& [szLabel, bOnStack, szProperty, bOld] : cases)
    {
        SCOPED_TRACE(std::string(szLabel) + ", " + szProperty);
        Scene scene;
        const int64_t nNode = scene.Model("node");
        const int64_t nStack = scene.Stack("stack", 0, kSecond);
        scene.Property(bOnStack ? nStack : nNode, szProperty, "int", "U", {I(0)});
        LoadedScene loaded(scene.Write());
        EXPECT_EQ(ZFbxConverter::IsOldFormat(loaded.Get()), bOld);
        // Old stacks are gone afterwards, old properties of nodes are not.
        Convert(loaded);
        EXPECT_EQ(ZFbxConverter::IsOldFormat(loaded.Get()), bOld && !bOnStack);
    }
    ZAssertTrap trap;
    EXPECT_ANY_THROW(ZFbxConverter::IsOldFormat(nullptr));
    EXPECT_ANY_THROW(ZFbxConverter::ConvertToNewPipeline(ZResourceID("assembly:/a.fbx"), nullptr));
    EXPECT_EQ(trap.Count(), 2u);
    EXPECT_STREQ(trap.FirstExpression().ToCString(), "pScene");
}

TEST(FbxConverter, MarksOfNodes)
{
    struct SMark
    {
        const char* szName;
        const char* szText; ///< null: a bool that is true, "-": one that is false
    };
    // szInTakeFile: where no take uses the ground
    const std::tuple<const char*, std::vector<SMark>, const char*, const char*> cases[] = {
        {"a ground", {{"IsGround", nullptr}}, "IsAttachRoot=true; IsRig=true", "IsAttachRoot=true"},
        {"none", {{"IsGround", "-"}}, "IsAttachRoot=false; IsRig=true", "IsAttachRoot=false"},
        {"two roots",
         {{"IsGround", nullptr}, {"RootObjectName1", "b"}, {"RootObjectName0", "a"}},
         "IsGroundRoot=true; RootObjectNames=[\"a\", \"b\"]; IsRig=true",
         "IsGroundRoot=false; RootObjectNames=[\"a\", \"b\"]"},
        {"the plain name stands for the first",
         {{"IsGround", nullptr}, {"ROOTobjectname", "a"}, {"rootobjectname1", "b"}, {"RootObjectName3", "d"}},
         "IsGroundRoot=true; RootObjectNames=[\"a\", \"b\"]; IsRig=true",
         "IsGroundRoot=false; RootObjectNames=[\"a\", \"b\"]"},
        {"a number wins over the plain name",
         {{"IsGround", "-"}, {"RootObjectName", "x"}, {"RootObjectName0", "a"}},
         "IsGroundRoot=false; RootObjectNames=[\"a\"]; IsRig=true",
         "IsGroundRoot=false; RootObjectNames=[\"a\"]"},
        {"counting begins at the front",
         {{"IsGround", nullptr}, {"RootObjectName1", "b"}},
         "IsAttachRoot=true; IsRig=true",
         "IsAttachRoot=true"},
        {"roots of no ground", {{"RootObjectName0", "a"}}, "", ""},
        {"a number alone", {{"UniqueID", nullptr}}, "", ""},
    };
    for (const auto& [szLabel, marks, szInRigFile, szInTakeFile] : cases)
    {
        SCOPED_TRACE(szLabel);
        for (const bool bTakes : {false, true})
        {
            Scene scene;
            const int64_t nNode = scene.Model("node");
            for (const SMark& mark : marks)
            {
                if (!mark.szText || *mark.szText == '-')
                    Bool(scene, nNode, mark.szName, !mark.szText);
                else
                    Text(scene, nNode, mark.szName, mark.szText);
            }
            if (bTakes)
                scene.Stack("unmarked", 0, kSecond);
            LoadedScene loaded(scene.Write());
            Convert(loaded);
            EXPECT_EQ(NewMarks(loaded.Node("node")), bTakes ? szInTakeFile : szInRigFile);
        }
    }
}

TEST(FbxConverter, RigPaths)
{
    const std::pair<const char*, const char*> cases[] = {
        {"\\Assembly\\chars\\hero.xml", "assembly:/chars/hero.fbx"},
        {"\\main\\Assembly\\chars\\hero.xml", "assembly:/chars/hero.fbx"},
        {"d:\\Assembly\\chars\\hero.xml", "d:/Assembly/chars/hero.fbx"},
        {"\\assembly\\hero.xml", "/assembly/hero.fbx"},
        {"\\Assembly\\main\\Assembly\\hero", "assembly:/main/Assembly/hero"},
        {"\\Assembly\\a.xml\\b.xml", "assembly:/a.fbx/b.xml"},
        {"assembly:/chars/hero.fbx", "assembly:/chars/hero.fbx"},
        {"\\Assembly\\Chars\\Hero.xml", "assembly:/Chars/Hero.fbx"},
        {"", ""},
    };
    for (const auto& [szOld, szNew] : cases)
    {
        Scene scene;
        scene.Model("hero");
        const int64_t nStack = scene.Stack("walk", 0, kSecond);
        Text(scene, nStack, "AnimatedObjectName", "hero");
        Text(scene, nStack, "RigFile", szOld);
        LoadedScene loaded(scene.Write());
        Convert(loaded, "assembly:/chars/hero.fbx?/walk.take");
        // The scene itself is the rig where its own name stands there.
        const bool bOwnRig = ZString::ReferenceCString(szNew).ICompare("assembly:/chars/hero.fbx") == 0;
        EXPECT_EQ(NewMarks(loaded.Node("hero")),
                  "IsGroundRoot=true; RigResource=" + std::string(szNew) + (bOwnRig ? "; IsRig=true" : ""));
    }
}

/// A tree of grounds for takes to find: attach (attached) > mid > leaf, root (a ground root) > hip, lone, off (marked
/// as none) > toe.
class FbxConverterTakes : public testing::Test
{
protected:
    FbxConverterTakes()
    {
        const int64_t nAttach = Node("attach", 0, 1);
        const int64_t nMid = Node("mid", nAttach, 2);
        Node("leaf", nMid, 3);
        Bool(m_scene, nAttach, "IsGround", true);
        const int64_t nRoot = Node("root", 0, 4);
        Bool(m_scene, nRoot, "IsGround", true);
        Text(m_scene, nRoot, "RootObjectName", "hip");
        Node("hip", nRoot, 5);
        Node("lone", 0, 6);
        const int64_t nOff = Node("off", 0, 7);
        Bool(m_scene, nOff, "IsGround", false);
        Text(m_scene, nOff, "RootObjectName", "toe");
        Node("toe", nOff, 8);
    }

    int64_t Node(const char* szName, int64_t nParent, int64_t nId)
    {
        const int64_t nNode = m_scene.Model(szName, "Null", nParent);
        m_scene.Property(nNode, "uniqueid", "ULongLong", "U", {L(nId)});
        return nNode;
    }
    int64_t Take(const char* szName, int nFirst, int nLast)
    {
        const int64_t nStack = m_scene.Stack(szName, nFirst * kFrame, nLast * kFrame);
        Text(m_scene, nStack, "RigFile", std::string(szName) + ".fbx");
        return nStack;
    }

    Scene m_scene;
};

TEST_F(FbxConverterTakes, FindTheirGround)
{
    // nGroundId: 0: none
    // szExpected: the ground; null: no take node
    const std::tuple<const char*, int, const char*, int, const char*, const char*> cases[] = {
        {"by name", 0, "root", 0, "leaf", "root"},
        {"by number", 4, nullptr, 0, nullptr, "root"},
        {"the number wins", 4, "attach", 0, "leaf", "root"},
        {"a number that nobody has hides the name", 99, "root", 0, "leaf", "attach"},
        {"a name that nobody has", 0, "nobody", 0, "hip", "root"},
        {"any ground that is named", 0, "lone", 0, nullptr, "lone"},
        {"above the object", 0, nullptr, 3, nullptr, "attach"},
        {"the object's number wins", 0, nullptr, 3, "hip", "attach"},
        {"above, not itself", 0, nullptr, 0, "root", "root"},
        {"the object where there is nothing above", 0, nullptr, 0, "lone", "lone"},
        {"a ground that is marked as none", 0, nullptr, 0, "toe", "toe"},
        {"nothing", 0, nullptr, 0, nullptr, nullptr},
        {"an object that is not there", 0, nullptr, 99, "leaf", nullptr},
    };
    for (const auto& [szLabel, nGroundId, szGround, nObjectId, szObject, szExpected] : cases)
    {
        SCOPED_TRACE(szLabel);
        Scene base = m_scene;
        const int64_t nStack = base.Stack("take", 0, kSecond);
        if (nGroundId)
            base.Property(nStack, "GroundID", "ULongLong", "U", {L(nGroundId)});
        if (szGround)
            Text(base, nStack, "GroundName", szGround);
        if (nObjectId)
            Text(base, nStack, "AnimatedObjectID", std::to_string(nObjectId));
        if (szObject)
            Text(base, nStack, "AnimatedObjectName", szObject);
        LoadedScene loaded(base.Write());
        Convert(loaded);
        const FbxNode* pTake = loaded->FindNodeByName("TAKE_NODE0");
        ASSERT_EQ(pTake != nullptr, szExpected != nullptr);
        if (!pTake)
            continue;
        EXPECT_STREQ(pTake->GetParent()->GetName(), szExpected);
        EXPECT_EQ(pTake->GetIndex() + 1, static_cast<int>(loaded->GetNodeCount()));
        EXPECT_TRUE(pTake->GetParent()->FindProperty("RigResource").IsValid());
    }
}

TEST_F(FbxConverterTakes, AreWritten)
{
    const int64_t nFirst = Take("walk", 10, 95);
    Text(m_scene, nFirst, "AnimatedObjectName", "lone");
    Take("nothing", -20, 5);
    const int64_t nThird = Take("say \"x\"", 100, 300);
    Text(m_scene, nThird, "AnimatedObjectName", "lone");
    std::vector<Value> matrix;
    for (const double f : {0.0, 1.0, 0.0, 0.0, -1.0, 0.0, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0, 10.0, 20.0, 0.0, 1.0})
        matrix.push_back(D(f));
    m_scene.Property(nThird, "CutsequenceOriginObject", "matrix4x4", "U", matrix);
    LoadedScene loaded(m_scene.Write());
    Convert(loaded);

    EXPECT_EQ(NewMarks(loaded.Node("lone")), "IsGroundRoot=true; RigResource=walk.fbx") << "the first take decides";
    EXPECT_EQ(NewMarks(loaded.Node("TAKE_NODE0")),
              "IsTakeNode=true; TakeData={\"startFrame\": 10\"endFrame\": 95\"partialList\": []\"name\": \"walk\"}");
    EXPECT_FALSE(loaded.Node("TAKE_NODE0").FindProperty("TakeSequenceOrigin").IsValid());
    EXPECT_EQ(loaded->FindNodeByName("TAKE_NODE1"), nullptr);
    EXPECT_EQ(NewMarks(loaded.Node("TAKE_NODE2")), "IsTakeNode=true; TakeData={\"startFrame\": 100\"endFrame\": "
                                                   "300\"partialList\": []\"name\": \"say \"x\"\"}");
    const FbxProperty origin = loaded.Node("TAKE_NODE2").FindProperty("TakeSequenceOrigin");
    EXPECT_EQ(origin.GetType(), EFbxType::eDouble4x4);
    EXPECT_EQ(origin.GetMatrix().m[3][1], 20.0);
    EXPECT_EQ(origin.GetMatrix().m[1][0], -1.0);

    // A ground without takes has no rig, so it is none any more; an attached one stays.
    EXPECT_EQ(NewMarks(loaded.Node("root")), "IsGroundRoot=false; RootObjectNames=[\"hip\"]");
    EXPECT_EQ(NewMarks(loaded.Node("attach")), "IsAttachRoot=true");

    // Skipped takes count in the span.
    ASSERT_EQ(loaded->GetAnimStackCount(), 1u);
    const FbxTimeSpan span = loaded->GetAnimStack(0)->GetLocalTimeSpan();
    EXPECT_EQ(span.start.Get(), -20 * kFrame);
    EXPECT_EQ(span.stop.Get(), 300 * kFrame);
}

TEST(FbxConverter, StacksBecomeOne)
{
    Scene scene;
    const int64_t nNode = scene.Model("node");
    Bool(scene, nNode, "IsGround", true);
    const int64_t stacks[] = {scene.Stack("a", 0, kSecond), scene.Stack("b", kSecond, 2 * kSecond)};
    double fValue = 5.0;
    for (const int64_t nStack : stacks)
    {
        for (int n = 0; n < 2; ++n, fValue += 10.0)
        {
            const int64_t nLayer = scene.Layer("layer", nStack);
            const int64_t nCurveNode = scene.CurveNode(nLayer, nNode, "Lcl Translation", {0, 0, 0});
            scene.Curve(nCurveNode, "d|X", {0, kSecond}, {fValue, fValue + 1.0});
        }
    }
    scene.ActiveStack("b");
    LoadedScene loaded(scene.Write());
    ASSERT_TRUE(loaded.IsLoaded());
    EXPECT_EQ(loaded.Node("node").EvaluateLocalTransform(FbxTime()).t.x, 25.0 + 35.0);
    Convert(loaded);
    ASSERT_EQ(loaded->GetAnimStackCount(), 1u);
    FbxAnimStack* pStack = loaded->GetAnimStack(0);
    EXPECT_STREQ(pStack->GetName(), "_Take001");
    EXPECT_EQ(loaded->GetCurrentAnimStack(), pStack);
    EXPECT_EQ(pStack->GetLayerCount(), 2u);
    EXPECT_EQ(loaded.Node("node").EvaluateLocalTransform(FbxTime()).t.x, 5.0 + 15.0) << "the first stack's curves";
    EXPECT_EQ(pStack->GetLocalTimeSpan().stop.Get(), 2 * kSecond);
}

} // namespace
