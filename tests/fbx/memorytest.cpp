#include "tests/fbx/loadscene.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <malloc.h>
#include <new>

// How much memory a file can ask for: everything that goes through new is counted, and the bound of docs/limits.md is
// held against files made to break it.
namespace
{

std::atomic<size_t> g_nNow{0};
std::atomic<size_t> g_nPeak{0};

void* Take(size_t nSize) noexcept
{
    void* p = std::malloc(nSize);
    if (p)
    {
        const size_t nNow = g_nNow += malloc_usable_size(p);
        g_nPeak = std::max<size_t>(g_nPeak, nNow);
    }
    return p;
}

void Give(void* p)
{
    g_nNow -= p ? malloc_usable_size(p) : 0;
    std::free(p);
}

} // namespace

// The forms for arrays and those that do not throw come here by default.
void* operator new(size_t nSize)
{
    if (void* p = Take(nSize))
        return p;
    throw std::bad_alloc();
}
// The sanitizer's own would not count, and not fit.
void* operator new(size_t nSize, const std::nothrow_t&) noexcept
{
    return Take(nSize);
}
void operator delete(void* p, const std::nothrow_t&) noexcept
{
    Give(p);
}
void operator delete(void* p) noexcept
{
    Give(p);
}
void operator delete(void* p, size_t) noexcept
{
    Give(p);
}

namespace
{

using namespace fbxfile;

constexpr size_t kMB = size_t(1) << 20;

/// Most memory held at once while a file is loaded and looked at in full, its own bytes included.
size_t PeakOf(const std::string& sFile)
{
    const size_t nBefore = g_nNow;
    g_nPeak = nBefore;
    LoadedScene scene(sFile);
    if (!scene.IsLoaded())
    {
        EXPECT_NE(scene.Error(), "");
        return g_nPeak - nBefore;
    }
    for (const bool bTurned : {false, true})
    {
        if (bTurned)
            FbxAxisSystem::ZUpMinusYFront().ConvertScene(scene.Get());
        for (const FbxTime time : {FbxTime::Infinite(), FbxTime::FromSeconds(0.3)})
            for (size_t n = 0; n < scene->GetNodeCount(); ++n)
            {
                scene->GetNode(n)->EvaluateGlobalTransform(time);
                scene->GetNode(n)->GetPropertyCount();
            }
    }
    return g_nPeak - nBefore;
}

std::string Repeat(std::string_view part, size_t nBytes)
{
    std::string s;
    for (s.reserve(nBytes + part.size()); s.size() < nBytes;)
        s += part;
    return s;
}

std::string Text7(const std::string& sObjects, const std::string& sConnections = "")
{
    return "; FBX 7.4.0 project file\nObjects: {\n" + sObjects + "}\nConnections: {\n" + sConnections + "}\n";
}

std::string Numbered(size_t nCount, std::string_view before, std::string_view behind)
{
    std::string s;
    for (size_t n = 0; n < nCount; ++n)
        s.append(before).append(std::to_string(n)).append(behind);
    return s;
}

/// A curve node in as many layers as one may be in, and connected to a node's property again and again.
std::string ManyLinks(bool bOneProperty)
{
    std::string s = Numbered(64, "AnimationLayer: 2", ",\"\",\"\" {}\n") + "AnimationStack: 1,\"\",\"\" {}\n" +
                    "AnimationCurveNode: 3,\"\",\"\" {}\nModel: 4,\"\",\"Null\" {}\n";
    std::string c = Numbered(64, "C:\"OO\",2", ",1\n") + Numbered(64, "C:\"OO\",3,2", "\n");
    c += bOneProperty ? Repeat("C:\"OP\",3,4,\"x\"\n", kMB) : Numbered(60000, "C:\"OP\",3,4,\"", "\"\n");
    return Text7(s, c);
}

std::string ManyKeys(bool bDeflate, size_t nKeys, int64_t nStep)
{
    Scene scene;
    const int64_t nLayer = scene.Layer("Base", scene.Stack("Take", 0, kSecond));
    const int64_t nModel = scene.Model("a");
    const int64_t nCurveNode = scene.CurveNode(nLayer, nModel, "Lcl Translation", {0, 0, 0});
    std::vector<int64_t> times(nKeys);
    for (size_t n = 0; n < nKeys; ++n)
        times[n] = nStep * static_cast<int64_t>(n);
    scene.Curve(nCurveNode, "d|X", times, std::vector<double>(nKeys, 0.0), {{kCubicUser, 1, 1, 0, int64_t(nKeys)}});
    return scene.Write({7400, false, false, bDeflate});
}

TEST(Memory, FilesMadeToTakeMuch)
{
    const std::string sNumbers = Repeat("1,0,", kMB / 2);
    const auto curve = [](const std::string& sTimes, const std::string& sValues)
    {
        return "AnimationCurve: 3,\"\",\"\" {\nKeyTime: *1 {a: " + sTimes + "1}\nKeyValueFloat: *1 {a: " + sValues +
               "1}\nKeyAttrFlags: *1 {a: 8}\nKeyAttrDataFloat: *4 {a: 0,0,0,0}\nKeyAttrRefCount: *1 {a: 1}\n}\n";
    };
    const std::pair<const char*, std::string> cases[] = {
        {"empty records", "; FBX 7.4.0 project file\nTakes: {\n" + Repeat("a:", kMB) + "}\n"},
        {"values", "; FBX 7.4.0 project file\nTakes: {\na: " + Repeat("1,", kMB) + "1\n}\n"},
        {"nested records",
         "; FBX 7.4.0 project file\nTakes: {\n" + Repeat(Repeat("a:{", 2900) + Repeat("}", 967), kMB)},
        {"whole numbers", Text7(curve(sNumbers, sNumbers))},
        {"fractions in the end", Text7(curve(sNumbers + ".5,", sNumbers + ".5,"))},
        {"nodes", Text7(Repeat("Model:\n", kMB))},
        {"named nodes", Text7(Numbered(30000, "Model: ", ",\"a\",\"Null\"{}\n"))},
        {"a chain of nodes", Text7(Numbered(30000, "Model: 1", ",\"Model::a\",\"Null\"{Version: 232}\n"),
                                   Numbered(30000, "C:\"OO\",2,1", "\n"))},
        {"nodes below the root", Text7(Numbered(30000, "Model: 1", ",\"Model::a\",\"Null\"{V: 1}\n"))},
        {"attributes of many kinds", Text7(Numbered(30000, "NodeAttribute: 1,\"\",\"", "\"\n"))},
        {"properties",
         Text7("Model: 1,\"\",\"\" {Properties70: {" + Repeat("P:\"\",\"int\",\"\",\"\"\n", kMB) + "}}\n")},
        {"matrices",
         Text7("Model: 1,\"\",\"\" {Properties70: {" + Repeat("P:\"\",\"matrix\",\"\",\"\"\n", kMB) + "}}\n")},
        {"curve nodes", Text7(Repeat("AnimationCurveNode: 1\n", kMB))},
        {"curves of one key", Text7(Repeat("AnimationCurve: 1{KeyTime:*1{a:1}KeyValueFloat:*1{a:1}}\n", kMB))},
        {"links to one property", ManyLinks(true)},
        {"links to many properties", ManyLinks(false)},
        {"takes", "; FBX 6.1.0 project file\nTakes: {\n" + Repeat("Take:\n", kMB) + "}\n"},
        {"takes and nodes", "; FBX 6.1.0 project file\nObjects: {\n" +
                                Numbered(16000, "Model: \"Model::a", "\", \"Null\" {Properties60: {}}\n") +
                                "}\nTakes: {\n" + Numbered(16000, "Take: \"", "\" {LocalTime: 0,1924423250}\n") +
                                "}\n"},
        {"old keys",
         "; FBX 6.1.0 project file\nObjects: {Model: \"a\",\"\"{}}\nTakes: {Take: \"b\" {Model: \"a\" {Channel: "
         "\"x\" {KeyCount: 170000\nKey: " +
             Repeat("2,1,L,1,1,L,", kMB) + "}}}}\n"},
        {"keys", ManyKeys(false, 100000, 1000)},
        {"keys that go back", ManyKeys(false, 100000, -1000)},
    };
    for (const auto& [szLabel, sFile] : cases)
    {
        SCOPED_TRACE(szLabel);
        const auto begin = std::chrono::steady_clock::now();
        const size_t nPeak = PeakOf(sFile);
        EXPECT_LE(nPeak, 64 * sFile.size() + kMB) << double(nPeak) / double(sFile.size()) << " a byte";
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
        RecordProperty(szLabel, std::to_string(double(nPeak) / double(sFile.size())));
    }
}

TEST(Memory, ArraysThatInflate)
{
    const std::pair<int64_t, size_t> cases[] = {{0, 1000000}, {-1, 1000000}, {0, 8000000}};
    for (const auto& [nStep, nKeys] : cases)
    {
        const std::string sFile = ManyKeys(true, nKeys, nStep);
        EXPECT_LE(PeakOf(sFile), 96 * sFile.size() + 129 * kMB) << nKeys << " keys in " << sFile.size();
        LoadedScene scene(sFile);
        const bool bRefused = scene.Error().find("inflate to more") != std::string::npos;
        EXPECT_EQ(bRefused, nKeys > 2000000) << scene.Error();
        EXPECT_NE(bRefused, scene.IsLoaded());
    }
}

TEST(Memory, GoodFiles)
{
    for (const char* szFile : {"binary/rich7400", "binary/rich7500bigdeflated", "text/rich7400", "text/old6100"})
    {
        const std::string sFile = CorpusFile(szFile);
        EXPECT_LE(PeakOf(sFile), 8 * sFile.size() + kMB / 4) << szFile;
    }
}

} // namespace
