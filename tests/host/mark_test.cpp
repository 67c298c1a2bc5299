#include "fbx/file/fbxdocument.h"
#include "host/commands/commands.h"
#include "host/marking/marking.h"
#include "host/text/hosterror.h"
#include "tests/fbx/loadscene.h"
#include "tests/support/tempfolder.h"

#include <gtest/gtest.h>

#include <set>

using namespace Host;

namespace
{

std::string ErrorOf(std::string_view marks)
{
    try
    {
        ReadMarks(marks);
        return "none";
    }
    catch (const ZMarksError& e)
    {
        return e.what();
    }
}

/// A file as a tool exports it: hips > spine, a camera, and two nodes of one name.
std::string StockFile(const fbxfile::Format& format = {})
{
    using namespace fbxfile;
    Scene scene;
    const int64_t nRoot = scene.Model("ground");
    const int64_t nHips = scene.Model("ns:Hips", "LimbNode", nRoot);
    scene.Model("ns:Spine", "LimbNode", nHips);
    scene.Property(nRoot, "isrig", "int", "U", {I(3)});
    scene.Property(nRoot, "Kept", "KString", "U", {S("as it is")});
    scene.Attribute("Camera", scene.Model("cam", "Camera"));
    scene.Model("twin");
    scene.Model("twin", "Null", nHips);
    scene.Template("Model", "FbxNode", {"Properties70", {}, {}});
    return scene.Write(format);
}

/// Properties as "NAME TYPE FLAGS VALUE", one a line; "NAME -" where there is none.
std::string Marks(const FbxNode& node, std::initializer_list<const char*> names)
{
    std::string sText;
    for (const char* szName : names)
    {
        const FbxProperty property = node.FindProperty(szName);
        sText +=
            szName + std::string(" ") +
            (property.IsValid() ? property.GetTypeName() + (" " + property.GetFlagsText()) + ' ' + property.GetString()
                                : "-") +
            '\n';
    }
    return sText;
}

struct SRun
{
    int nExitCode;
    std::string sOut, sError;
};

SRun Mark(std::vector<const char*> words)
{
    // With a tree elsewhere, so that packing is not tried.
    words.insert(words.begin(), {"animpack", "mark", "--assets", "/usr"});
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const int nExitCode = RunProgram(static_cast<int>(words.size()), words.data());
    std::string sOut = testing::internal::GetCapturedStdout();
    return {nExitCode, sOut, testing::internal::GetCapturedStderr()};
}

constexpr const char GOOD[] = R"({
  "nodes": {
    "ground": {
      "IsGroundRoot": {"type": "bool", "value": true},
      "IsRig": {"type": "Bool", "value": false, "flags": "A+U"},
      "RigResource": {"type": "KString", "value": "assembly:/a \"b\".fbx"},
      "Count": {"type": "int", "value": -7},
      "Tint": {"type": "Color", "value": [0.1, 2, 3]}
    },
    "cam": {}
  },
  "takes": [
    {"ground": "ground", "name": "wal\u00e4k", "startFrame": -5, "endFrame": 30, "partialList": ["ns:Hips", "ns:Spine"]},
    {"ground": "cam", "node": "shot", "name": "still", "startFrame": 4.0, "endFrame": 4,
     "sequenceOrigin": {"translation": [1, 2, 3], "rotation": [0, 0, 90]}}
  ]
})";

} // namespace

TEST(Marks, FaultsNameTheirPlace)
{
    // szError: its beginning
    const std::pair<const char*, const char*> cases[] = {
        {"", "no JSON: parse error at line 1, column 1"},
        {"{\"nodes\": {},\n \"takes\": [}", "no JSON: parse error at line 2, column 12"},
        {"[]", "/: must be an object, not an array of 0"},
        {R"({"stack": ""})", "/stack: must not be empty"},
        {R"({"nodes": {"a": {}, "a": {}}})", "the key 'a' is there twice"},
        {R"({"nodes": {"a/b~": 1}})", "/nodes/a~1b~0: must be an object, not 1"},
        {R"({"nodes": {"a": {"P": true}}})", "/nodes/a/P: must be an object, not true"},
        {R"({"nodes": {"a": {"P": {"type": "bool"}}}})", "/nodes/a/P: the key 'value' is missing"},
        {R"({"nodes": {"a": {"P": {"type": "string", "value": ""}}}})",
         "/nodes/a/P/type: there is no type 'string'; known are bool, Bool, int"},
        {R"({"nodes": {"a": {"P": {"type": "bool", "value": 1}}}})", "/nodes/a/P/value: must be true or false, not 1"},
        {R"({"nodes": {"a": {"P": {"type": "int", "value": 1.5}}}})", "/nodes/a/P/value: must be a whole number"},
        {R"({"nodes": {"a": {"P": {"type": "int", "value": 2147483648}}}})",
         "/nodes/a/P/value: must lie within 32 bits"},
        {R"({"nodes": {"a": {"P": {"type": "double", "value": "1"}}}})",
         "/nodes/a/P/value: must be a number, not a text"},
        {R"({"nodes": {"a": {"P": {"type": "Vector", "value": [1, 2]}}}})",
         "/nodes/a/P/value: must be an array of 3 numbers, not an array of 2"},
        {R"({"nodes": {"a": {"P": {"type": "Vector", "value": [1, 2, "3"]}}}})",
         "/nodes/a/P/value/2: must be a number"},
        {R"({"nodes": {"a": {"P": {"type": "KString", "value": null}}}})",
         "/nodes/a/P/value: must be a text, not null"},
        {R"({"nodes": {"a": {"P": {"type": "KString", "value": "a\u0000"}}}})", "/nodes/a/P/value: holds a zero byte"},
        {R"({"nodes": {"a": {"P": {"type": "bool", "value": true, "flags": "X"}}}})", "/nodes/a/P/flags: 'X' holds"},
        {R"({"nodes": {"a": {"P": {"type": "bool", "value": true, "flag": "U"}}}})",
         "/nodes/a/P/flag: there is no such key"},
        {R"({"nodes": {"a": {"IsRig": null, "isrig": null}}})", "/nodes/a/isrig: properties that differ in case"},
        {R"({"nodes": {"a": {"isrig": {"type": "KString", "value": "yes"}}}})",
         "/nodes/a/isrig/type: 'isrig' is read as bool, not as KString"},
        {R"({"stripNamespaces": 1})", "/stripNamespaces: must be true or false, not 1"},
        {R"({"takes": [{"ground": "g", "endFrame": 1}]})", "/takes/0: the key 'name' is missing"},
        {R"({"takes": [{"ground": "g", "name": "w", "startFrame": 2, "endFrame": 1}]})",
         "/takes/0/endFrame: frame 1 lies before the first one, 2"},
        {R"({"takes": [{"ground": "", "name": "w", "startFrame": 0, "endFrame": 1}]})",
         "/takes/0/ground: must not be empty"},
        {R"({"takes": [{"ground": "g", "name": "a/b", "startFrame": 0, "endFrame": 1}]})",
         "/takes/0/name: 'a/b' holds"},
        {R"({"takes": [{"ground": "g", "name": "w", "startFrame": 0, "endFrame": 1},
                       {"ground": "h", "name": "W", "startFrame": 0, "endFrame": 1}]})",
         "/takes/1/name: there are two takes 'W'"},
        {R"({"takes": [{"ground": "g", "name": "w", "startFrame": 0, "endFrame": 1, "partialList": [1]}]})",
         "/takes/0/partialList/0: must be a text, not 1"},
        {R"({"takes": [{"ground": "g", "name": "w", "startFrame": 0, "endFrame": 1, "sequenceOrigin": [1]}]})",
         "/takes/0/sequenceOrigin: must be an array of 16 numbers"},
        {R"({"takes": [{"ground": "g", "name": "w", "startFrame": 0, "endFrame": 1, "sequenceOrigin": {"scale": 1}}]})",
         "/takes/0/sequenceOrigin/scale: there is no such key"},
    };
    for (const auto& [szMarks, szError] : cases)
        EXPECT_EQ(ErrorOf(szMarks).substr(0, std::string_view(szError).size()), szError) << szMarks;
    // All of them, not the first one alone.
    try
    {
        ReadMarks(R"({"stack": "", "nodes": {"a": {"P": 1, "Q": {"type": "x"}}}, "takes": [{}, {"ground": ""}]})");
        FAIL();
    }
    catch (const ZMarksError& e)
    {
        EXPECT_EQ(e.Faults().size(), 5u);
    }
    const SMarks misspelt = ReadMarks(R"({"nodes": {"a": {"IsGroundRot": {"type": "bool", "value": true}}}})");
    ASSERT_EQ(misspelt.warnings.size(), 1u);
    EXPECT_EQ(misspelt.warnings[0],
              "/nodes/a/IsGroundRot: nothing looks for 'IsGroundRot'; did you mean 'IsGroundRoot'?");
    EXPECT_EQ(ErrorOf(GOOD), "none");
    EXPECT_EQ(ErrorOf("{}"), "none");
    // Nested as deep as a text can be, in bounded memory and without recursion.
    EXPECT_EQ(ErrorOf(std::string(1000000, '[')).substr(0, 8), "no JSON:");
}

TEST(Marks, LandInEveryKindOfFile)
{
    using fbxfile::Format;
    const ZTempFolder folder;
    folder.Write("marks.json", GOOD);
    const std::string sIn = folder / "in.fbx", sMarks = folder / "marks.json", sOut = folder / "new/out.fbx";
    for (const Format& format : {Format{7400, false, false, true}, Format{7500, false, false, false},
                                 Format{7300, false, true, false}, Format{7400, true, false, false}})
    {
        SCOPED_TRACE(std::to_string(format.nVersion) + (format.bText ? " text" : ""));
        folder.Write("in.fbx", StockFile(format));
        const SRun run = Mark({sIn.c_str(), sMarks.c_str(), sOut.c_str(), "--json"});
        EXPECT_EQ(run.nExitCode, eExit_Done) << run.sError;
        EXPECT_EQ(run.sOut.find("{\"file\":\"" + sOut + "\",\"nodes\":2,\"takes\":2,"), 0u) << run.sOut;
        EXPECT_EQ(run.sError.find("warning"), std::string::npos) << run.sError;

        const std::string sFile = folder.Read("new/out.fbx");
        EXPECT_EQ(sFile[0] == ';', format.bText);
        LoadedScene loaded(sFile);
        ASSERT_TRUE(loaded.IsLoaded()) << loaded.Error();
        EXPECT_EQ(loaded.Version(), format.nVersion);
        const FbxNode& ground = loaded.Node("ground");
        EXPECT_EQ(Marks(ground, {"IsGroundRoot", "isrig", "IsRig", "RigResource", "Count", "Kept"}),
                  "IsGroundRoot bool U true\nisrig -\nIsRig Bool A+U false\n"
                  "RigResource KString U assembly:/a \"b\".fbx\nCount int U -7\nKept KString U as it is\n");
        EXPECT_EQ(ground.FindProperty("Tint").GetVector3().x, 0.1);
        const FbxNode& take = loaded.Node("TAKE_wal\xc3\xa4k");
        EXPECT_EQ(take.GetParent(), &ground);
        EXPECT_STREQ(take.GetTypeText(), "Null");
        EXPECT_EQ(take.GetNodeAttributeCount(), 1u);
        EXPECT_EQ(
            Marks(take, {"IsTakeNode", "TakeData", "TakeSequenceOrigin"}),
            "IsTakeNode bool U true\nTakeData KString U {\"name\":\"wal\xc3\xa4k\",\"startFrame\":-5,\"endFrame\":30,"
            "\"partialList\":[\"ns:Hips\",\"ns:Spine\"]}\nTakeSequenceOrigin -\n");
        const FbxMatrix4 origin = loaded.Node("shot").FindProperty("TakeSequenceOrigin").GetMatrix();
        EXPECT_EQ(origin.m[3][2], 3.0);
        EXPECT_EQ(origin.m[0][1], 1.0) << "x goes to y";
        EXPECT_STREQ(loaded.Node("shot").GetParent()->GetName(), "cam");
    }
    EXPECT_EQ(folder.FileCount(), 3u) << "nothing passing stays";
}

TEST(Marks, LandInFilesThatNameTheirObjects)
{
    using fbxfile::Format;
    const ZTempFolder folder;
    folder.Write("marks.json", R"({
      "stack": "walk",
      "nodes": {"arm": {"IsGroundRoot": {"type": "bool", "value": true}, "IsRig": {"type": "bool", "value": true},
                        "Tint": {"type": "Color", "value": [0.1, 2, 3]}}},
      "takes": [{"ground": "arm", "name": "run", "startFrame": 0, "endFrame": 30,
                 "sequenceOrigin": {"translation": [1, 2, 3], "rotation": [0, 0, 90]}}]
    })");
    const std::string sMarks = folder / "marks.json", sOut = folder / "out.fbx";
    for (const bool bText : {false, true})
    {
        SCOPED_TRACE(bText ? "text" : "binary");
        folder.Write("out.fbx", CorpusFile(bText ? "text/old6100" : "binary/old6100"));
        std::string sOnce;
        for (int n = 0; n < 2; ++n)
        {
            const SRun run = Mark({sOut.c_str(), sMarks.c_str(), sOut.c_str()});
            ASSERT_EQ(run.nExitCode, eExit_Done) << run.sError;
            EXPECT_EQ(run.sError.find("warning"), std::string::npos) << run.sError;
            EXPECT_TRUE(sOnce.empty() || sOnce == folder.Read("out.fbx")) << "again changes nothing";
            sOnce = folder.Read("out.fbx");
        }
        LoadedScene loaded(sOnce);
        ASSERT_TRUE(loaded.IsLoaded()) << loaded.Error();
        EXPECT_EQ(loaded.Version(), 6100);
        EXPECT_STREQ(loaded->GetCurrentAnimStack()->GetName(), "walk");
        const FbxNode& ground = loaded.Node("arm");
        EXPECT_EQ(Marks(ground, {"IsGroundRoot", "IsRig", "RotationActive"}),
                  "IsGroundRoot bool U true\nIsRig bool U true\nRotationActive bool  true\n");
        EXPECT_EQ(ground.FindProperty("Tint").GetVector3().y, 2.0);
        const FbxNode& take = loaded.Node("TAKE_run");
        EXPECT_EQ(take.GetParent(), &ground);
        EXPECT_EQ(Marks(take, {"IsTakeNode", "TakeData"}),
                  "IsTakeNode bool U true\nTakeData KString U "
                  "{\"name\":\"run\",\"startFrame\":0,\"endFrame\":30,\"partialList\":[]}\n");
        EXPECT_EQ(take.FindProperty("TakeSequenceOrigin").GetMatrix().m[3][2], 3.0);
    }
}

TEST(Marks, LeaveTheRestOfTheFile)
{
    const ZTempFolder folder;
    const std::string sSample = Z_SOURCE_DIR "/samples/assembly/props/drift.fbx";
    const std::string sMarks = folder / "marks.json", sOut = folder / "out.fbx";
    folder.Write("marks.json", "{}");
    ASSERT_EQ(Mark({sSample.c_str(), sMarks.c_str(), sOut.c_str()}).nExitCode, eExit_Done);
    std::ifstream in(sSample, std::ios::binary);
    const std::string sBefore{std::istreambuf_iterator<char>(in), {}};
    EXPECT_TRUE(folder.Read("out.fbx") == sBefore);

    // Counts and numbers of objects stay right, onto the file itself, and marking again changes nothing.
    folder.Write("out.fbx", StockFile());
    folder.Write("marks.json", GOOD);
    std::string sOnce;
    for (int n = 0; n < 2; ++n)
    {
        ASSERT_EQ(Mark({sOut.c_str(), sMarks.c_str(), sOut.c_str()}).nExitCode, eExit_Done);
        EXPECT_TRUE(sOnce.empty() || sOnce == folder.Read("out.fbx"));
        sOnce = folder.Read("out.fbx");
    }
    FbxDocument document;
    ASSERT_TRUE(document.LoadFromMemory(sOnce.data(), sOnce.size()));
    std::set<int64_t> ids;
    for (const SFbxRecord* p = document.Root().Find("Objects")->pChild; p; p = p->pNext)
        EXPECT_TRUE(ids.insert(p->Int(0)).second) << p->Int(0);
    EXPECT_EQ(document.Root().Find("Definitions")->pChild->Find("Count")->Int(0), 2)
        << "the file counted none of its own";

    // Taking the marks away.
    folder.Write("marks.json", R"({"nodes": {"ground": {"IsGroundRoot": null, "TINT": null, "never": null}}})");
    const SRun run = Mark({sOut.c_str(), sMarks.c_str(), sOut.c_str()});
    EXPECT_NE(run.sError.find("warning: /nodes/ground/never: 'ground' has no such property"), std::string::npos);
    LoadedScene loaded(folder.Read("out.fbx"));
    EXPECT_FALSE(loaded.Node("ground").FindProperty("IsGroundRoot").IsValid());
    EXPECT_FALSE(loaded.Node("ground").FindProperty("Tint").IsValid());
    EXPECT_TRUE(loaded.Node("ground").FindProperty("Kept").IsValid());
}

TEST(Marks, FaultsLeaveTheOutputAlone)
{
    // szError: stands in what is said
    const std::tuple<const char*, const char*, bool> cases[] = {
        {R"({"nodes": {"hips": {}}})", "/nodes/hips: there is no node 'hips'; did you mean 'ns:Hips'?", true},
        {R"({"nodes": {"goround": {}}})", "did you mean 'ground'?", true},
        {R"({"nodes": {"elsewhere": {}}})", "there is no node 'elsewhere'\n", true},
        {R"({"node": {}})", "/node: is passed over; known are $schema, stack, stripNamespaces, nodes, takes\n", false},
        {R"({"takes": [{"ground": "Ground", "name": "w", "startFrame": 0, "endFrame": 1}]})",
         "/takes/0/ground: there is no node 'Ground'; did you mean 'ground'?", true},
        {R"({"takes": [{"ground": "cam", "node": "ns:Hips", "name": "w", "startFrame": 0, "endFrame": 1}]})",
         "/takes/0/node: there is a node 'ns:Hips' already", true},
        {R"({"takes": [{"ground": "ground", "name": "w", "startFrame": 0, "endFrame": 1}]})", "'ground' is no ground",
         false},
        {R"({"nodes": {"twin": {}}})", "there are 2 nodes 'twin'; the first one is marked", false},
        {R"({"nodes": {"twin": {"IsGroundRoot": {"type": "bool", "value": true}}}})", "names none in RigResource",
         false},
        {R"({"takes": [{"ground": "cam", "name": "w", "startFrame": 0, "endFrame": 1, "partialList": ["Spine"]}]})",
         "/takes/0/partialList: there is no node 'Spine'; did you mean 'ns:Spine'?", false},
    };
    const ZTempFolder folder;
    const std::string sIn = folder / "in.fbx", sMarks = folder / "marks.json", sOut = folder / "out.fbx";
    folder.Write("in.fbx", StockFile());
    for (const auto& [szMarks, szError, bFails] : cases)
    {
        SCOPED_TRACE(szMarks);
        folder.Write("marks.json", szMarks);
        folder.Write("out.fbx", "before");
        const SRun run = Mark({sIn.c_str(), sMarks.c_str(), sOut.c_str()});
        EXPECT_EQ(run.nExitCode, bFails ? eExit_AssetsFailed : eExit_Done);
        EXPECT_EQ(run.sError.find(sMarks + (bFails ? ": error: " : ": warning: ")), 0u) << run.sError;
        EXPECT_NE(run.sError.find(szError), std::string::npos) << run.sError;
        EXPECT_EQ(folder.Read("out.fbx") == "before", bFails);
        EXPECT_EQ(folder.FileCount(), 3u);
    }
    folder.Write("marks.json", "{}");
    folder.Write("in.fbx", "no scene");
    const std::string sNone = folder / "none.json";
    EXPECT_EQ(Mark({sIn.c_str(), sNone.c_str(), sOut.c_str()}).sError.find(sNone + ": error: can't be read"), 0u);
    const SRun run = Mark({sIn.c_str(), sMarks.c_str(), sOut.c_str()});
    EXPECT_EQ(run.sError.find(sIn + ": error: not an FBX file"), 0u) << run.sError;
    EXPECT_EQ(Mark({sIn.c_str(), sMarks.c_str()}).nExitCode, eExit_WrongUsage);
    const std::string sBlocked = sMarks + "/out.fbx";
    folder.Write("in.fbx", StockFile());
    EXPECT_EQ(Mark({sIn.c_str(), sMarks.c_str(), sBlocked.c_str()}).nExitCode, eExit_AssetsFailed);
}
