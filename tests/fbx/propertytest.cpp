#include "tests/fbx/loadscene.h"

#include "fbx/types/fbxpropertytypes.h"

#include <sstream>

namespace
{

using namespace fbxfile;

TEST(Property, TypesBySpelling)
{
    const std::tuple<const char*, EFbxType, int> cases[] = {
        {"bool", EFbxType::eBool, 1},         {"Bool", EFbxType::eBool, 1},
        {"int", EFbxType::eInt, 1},           {"Integer", EFbxType::eInt, 1},
        {"UInteger", EFbxType::eUInt, 1},     {"Byte", EFbxType::eChar, 1},
        {"float", EFbxType::eFloat, 1},       {"ULongLong", EFbxType::eULongLong, 1},
        {"double", EFbxType::eDouble, 1},     {"Number", EFbxType::eDouble, 1},
        {"Vector2D", EFbxType::eDouble2, 2},  {"FieldOfView", EFbxType::eDouble, 1},
        {"Vector", EFbxType::eDouble3, 3},    {"Vector3", EFbxType::eDouble3, 3},
        {"Color", EFbxType::eDouble3, 3},     {"ColorAndAlpha", EFbxType::eDouble4, 4},
        {"Matrix", EFbxType::eDouble4x4, 16}, {"matrix4x4", EFbxType::eDouble4x4, 16},
        {"KString", EFbxType::eString, 0},    {"charptr", EFbxType::eString, 0},
        {"enum", EFbxType::eEnum, 1},         {"KTime", EFbxType::eTime, 1},
        {"object", EFbxType::eReference, 0},  {"Compound", EFbxType::eUndefined, 0}};
    Scene scene;
    const int64_t nModel = scene.Model("a");
    for (const auto& [szSpelling, eType, nChannels] : cases)
        scene.Property(nModel, std::string("p_") + szSpelling, szSpelling, "U", {D(1), D(2), D(3), D(4)});
    for (const char* szUnknown : {"Boolean", "Char", "String", "uint", "double4x4", "Opacity", "Transform"})
        scene.Property(nModel, std::string("p_") + szUnknown, szUnknown, "U", {D(1)});
    LoadedScene loaded(scene.Write());
    ASSERT_TRUE(loaded.IsLoaded()) << loaded.Error();
    for (const auto& [szSpelling, eType, nChannels] : cases)
    {
        SCOPED_TRACE(szSpelling);
        const FbxProperty property = loaded.Node("a").FindProperty(std::string("p_") + szSpelling);
        ASSERT_TRUE(property.IsValid());
        EXPECT_EQ(property.GetType(), eType);
        EXPECT_STREQ(property.GetTypeName(), szSpelling);
        EXPECT_EQ(property.GetChannelCount(), nChannels);
        double channels[16];
        property.GetChannels(channels);
        for (int n = 0; n < 4; ++n)
            EXPECT_EQ(channels[n], n < std::min(nChannels, 4) ? n + 1.0 : 0.0);
    }
    EXPECT_FALSE(loaded.Node("a").FindProperty("p_Boolean").IsValid()) << "unknown types are dropped";
    EXPECT_FALSE(loaded.Node("a").FindProperty("p_Transform").IsValid());
    EXPECT_STREQ(FbxTypeName(EFbxType::eBool), "Bool");
    EXPECT_STREQ(FbxTypeName(EFbxType::eInt), "Integer");
    EXPECT_STREQ(FbxTypeName(static_cast<EFbxType>(99)), "Undefined");
}

TEST(Property, Flags)
{
    for (const char* szFlags : {"", "A", "A+", "U", "A+U", "H", "AL7", "A+L1M4", "A+HNL2M5U"})
        EXPECT_EQ(FbxFlagsText(FbxParseFlags(szFlags)), szFlags);
    EXPECT_EQ(FbxParseFlags("A") & 1u, 1u);
    EXPECT_EQ(FbxParseFlags("+U") & 1u, 0u);
    EXPECT_EQ(FbxParseFlags("AL"), FbxParseFlags("AL7"));
}

TEST(Property, ValuesConvert)
{
    Scene scene;
    const int64_t nModel = scene.Model("a");
    scene.Property(nModel, "flag", "bool", "U", {I(1)});
    scene.Property(nModel, "count", "int", "U", {I(-7)});
    scene.Property(nModel, "id", "ULongLong", "U", {L(-1)});
    scene.Property(nModel, "length", "Number", "U", {D(2.5)});
    scene.Property(nModel, "text", "KString", "U", {S("12.75 and more")});
    scene.Property(nModel, "big", "KString", "U", {S("18446744073709551615")});
    scene.Property(nModel, "empty", "KString", "U", {});
    scene.Property(nModel, "none", "KString", "U", {S("nan")});
    scene.Property(nModel, "signs", "KString", "U", {S("+-1")});
    std::vector<Value> matrix;
    for (int n = 0; n < 16; ++n)
        matrix.push_back(D(n));
    scene.Property(nModel, "matrix", "matrix4x4", "U", matrix);
    for (const bool bText : {false, true})
    {
        LoadedScene loaded(scene.Write({7400, bText}));
        ASSERT_TRUE(loaded.IsLoaded()) << loaded.Error();
        const FbxNode& node = loaded.Node("a");
        const auto property = [&node](const char* sz) { return node.FindProperty(sz); };
        std::ostringstream told;
        for (const char* szName : {"flag", "count", "length", "text", "none", "signs", "empty", "missing"})
            told << property(szName).GetBool() << ' ' << property(szName).GetInt64() << ' '
                 << property(szName).GetDouble() << ' ' << property(szName).GetString() << " | ";
        EXPECT_EQ(told.str(), "1 1 1 true | 1 -7 -7 -7 | 1 2 2.5 2.5 | 1 12 12.75 12.75 and more | 0 0 0 nan | "
                              "0 0 0 +-1 | 0 0 0  | 0 0 0  | ");
        EXPECT_EQ(property("id").GetUInt64(), UINT64_MAX);
        EXPECT_EQ(property("big").GetUInt64(), UINT64_MAX);
        EXPECT_EQ(property("matrix").GetMatrix().m[3][1], 13.0);
        EXPECT_EQ(property("missing").GetMatrix().m[2][2], 1.0);
        EXPECT_EQ(property("missing").GetCurveNode(), nullptr);
        EXPECT_STREQ(property("missing").GetName(), "");

        EXPECT_FALSE(property("FLAG").IsValid());
        EXPECT_TRUE(node.FindProperty("FLAG", false).IsValid());
    }
}

TEST(Property, WrittenOnesStandBeforeTheTemplates)
{
    Scene scene;
    Record defaults;
    defaults.Add("P", {S("Size"), S("double"), S("Number"), S(""), D(100)});
    defaults.Add("P", {S("Lcl Translation"), S("Lcl Translation"), S(""), S("A"), D(9), D(9), D(9)});
    scene.Template("Model", "FbxNode", defaults);
    const int64_t nModel = scene.Model("a");
    scene.Vector(nModel, "Lcl Translation", 1, 2, 3);
    scene.Property(nModel, "last", "int", "U", {I(5)});
    scene.Model("b");
    LoadedScene loaded(scene.Write());
    ASSERT_TRUE(loaded.IsLoaded()) << loaded.Error();
    const FbxNode& node = loaded.Node("a");
    std::vector<std::string> names;
    for (size_t n = 0; n < node.GetPropertyCount(); ++n)
        names.push_back(node.GetProperty(n).GetName());
    ASSERT_GE(names.size(), 4u);
    EXPECT_EQ(names[0], "InheritType");
    EXPECT_EQ(names[1], "Lcl Translation");
    EXPECT_EQ(names[2], "last");
    EXPECT_EQ(names[3], "Size");
    EXPECT_EQ(std::count(names.begin(), names.end(), "Lcl Translation"), 1);
    EXPECT_EQ(node.FindProperty("Size").GetDouble(), 100.0);
    EXPECT_TRUE(Near(node.EvaluateLocalTransform(FbxTime::Infinite()).t, {1, 2, 3}, 0.0));
    EXPECT_TRUE(Near(loaded.Node("b").EvaluateLocalTransform(FbxTime::Infinite()).t, {9, 9, 9}, 0.0));
    EXPECT_FALSE(node.GetProperty(names.size()).IsValid());
}

TEST(Property, CurveNodeOfTheCurrentStack)
{
    LoadedScene loaded(CorpusFile("binary/rich7400"));
    ASSERT_TRUE(loaded.IsLoaded()) << loaded.Error();
    const FbxProperty scaling = loaded.Node("hip").FindProperty("Lcl Scaling");
    const FbxProperty flag = loaded.Node("hip").FindProperty("export_flag");
    EXPECT_EQ(scaling.GetCurveNode(), nullptr);
    ASSERT_NE(flag.GetCurveNode(), nullptr);
    EXPECT_TRUE(flag.GetCurveNode()->IsAnimated());
    FbxTimeSpan span;
    ASSERT_TRUE(flag.GetCurveNode()->GetAnimationInterval(span));
    EXPECT_EQ(span.start.Get(), 0);
    EXPECT_EQ(span.stop.Get(), kSecond);
    double value[4];
    FbxAnimEvaluator& evaluator = *loaded->GetAnimationEvaluator();
    EXPECT_EQ(evaluator.EvaluateProperty(flag, FbxTime::FromSeconds(0.5), value), 1);
    EXPECT_EQ(value[0], 1.0) << "the next key's value at once";
    evaluator.EvaluateProperty(flag, FbxTime::Infinite(), value);
    EXPECT_EQ(value[0], 1.0);

    loaded->SetCurrentAnimStack(loaded->GetAnimStack(1));
    EXPECT_NE(scaling.GetCurveNode(), nullptr);
    EXPECT_EQ(flag.GetCurveNode(), nullptr);
    EXPECT_EQ(evaluator.EvaluateProperty(scaling, FbxTime::FromSeconds(1.5), value), 3);
    EXPECT_EQ(value[0], 0.5);
    EXPECT_EQ(value[1], 1.0);
    EXPECT_EQ(evaluator.EvaluateProperty(loaded.Node("hip").FindProperty("TakeData"), FbxTime(), value), 0);
}

} // namespace
