#include "tests/fbx/loadscene.h"
#include "tests/fbx/sametree.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>

namespace
{

using namespace fbxfile;

/// Reads, writes and reads again; the difference, or the error.
std::string RoundTrip(std::string_view file, bool bAcross, std::string* pWritten = nullptr)
{
    FbxDocument first;
    if (!first.LoadFromMemory(file.data(), file.size()))
        return "read: " + first.Error();
    FbxDocument kept;
    kept.LoadFromMemory(file.data(), file.size());
    if (bAcross && !first.SetFormat(!first.IsBinary(), first.GetVersion()))
        return "format: " + first.Error();
    std::string sWritten;
    if (!first.Write(sWritten))
        return "write: " + first.Error();
    FbxDocument second;
    if (!second.LoadFromMemory(sWritten.data(), sWritten.size()))
        return "read again: " + second.Error();
    if (second.GetVersion() != kept.GetVersion() || second.IsBinary() != first.IsBinary())
        return "another version or kind";
    if (pWritten)
        *pWritten = sWritten;
    return TreeText(kept.Tree(), file.size(), bAcross).Difference(TreeText(second.Tree(), sWritten.size(), bAcross));
}

std::string ReadAll(const std::filesystem::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

TEST(Document, WritesWhatItRead)
{
    for (const char* szFile : {"binary/rich7400", "binary/rich7400big", "binary/rich7500deflated",
                               "binary/rich7500bigdeflated", "text/rich7400"})
    {
        SCOPED_TRACE(szFile);
        const std::string sFile = CorpusFile(szFile);
        std::string sSame, sOther;
        EXPECT_EQ(RoundTrip(sFile, false, &sSame), "");
        EXPECT_EQ(RoundTrip(sFile, true, &sOther), "");
        // And the scene that is made of it is the same one.
        LoadedScene before(sFile), same(sSame), other(sOther);
        ASSERT_TRUE(before.IsLoaded() && same.IsLoaded() && other.IsLoaded()) << same.Error() << other.Error();
        ASSERT_EQ(before->GetNodeCount(), other->GetNodeCount());
        for (size_t n = 0; n < before->GetNodeCount(); ++n)
        {
            const FbxTime time = FbxTime::FromSeconds(0.37);
            const FbxMatrix4 expected = before->GetNode(n)->EvaluateGlobalMatrix(time);
            EXPECT_STREQ(before->GetNode(n)->GetName(), other->GetNode(n)->GetName());
            EXPECT_TRUE(Near(same->GetNode(n)->EvaluateGlobalMatrix(time), expected, 0.0));
            EXPECT_TRUE(Near(other->GetNode(n)->EvaluateGlobalMatrix(time), expected, 0.0));
        }
    }
}

/// The repository's samples.
TEST(Document, WritesWhatItReadOfRealFiles)
{
    size_t nFiles = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(Z_SOURCE_DIR "/samples"))
    {
        const std::string sFile = entry.path().extension() == ".fbx" ? ReadAll(entry.path()) : "";
        FbxDocument document;
        if (!document.LoadFromMemory(sFile.data(), sFile.size()))
            continue;
        SCOPED_TRACE(entry.path().string());
        ++nFiles;
        EXPECT_EQ(RoundTrip(sFile, false), "");
        // An array whose bytes are damaged can't be unpacked; files of version 6 keep their kind.
        const std::string sAcross = document.GetVersion() < 7000 ? "" : RoundTrip(sFile, true);
        EXPECT_TRUE(sAcross.empty() || sAcross == "write: an array's compressed bytes are damaged") << sAcross;
    }
    EXPECT_GT(nFiles, 40u);
}

std::string File(std::initializer_list<Value> values, const Format& format = {})
{
    Record top;
    top.Add("FBXHeaderExtension").Add("FBXVersion", {I(format.nVersion)});
    top.Add("Creator", {S("test")});
    top.Add("Things").Add("Thing", values);
    return Write(top, format);
}

TEST(Document, NumbersKeepTheirBits)
{
    const double fInfinity = std::numeric_limits<double>::infinity();
    const double reals[] = {0.1,       -0.0,        1e300,     5e-324,    2.2250738585072014e-308,
                            1.0 / 3.0, 123456789.0, 1e15,      1e16,      1e22,
                            0.3,       -1.5e-7,     fInfinity, -fInfinity};
    std::vector<double> floats;
    uint32_t nBits = 1;
    for (int n = 0; n < 20000; ++n, nBits = nBits * 1664525u + 1013904223u)
        if ((nBits & 0x7f800000u) != 0x7f800000u)
            floats.push_back(static_cast<double>(std::bit_cast<float>(nBits)));
    const std::vector<double> doubles(std::begin(reals), std::end(reals));
    for (const double f : reals)
    {
        SCOPED_TRACE(f);
        EXPECT_EQ(RoundTrip(File({D(f), Doubles({f, 1.0})}), false), "");
        std::string sText;
        EXPECT_EQ(RoundTrip(File({D(f), Doubles({f, 1.0})}), true, &sText), "");
        FbxDocument document; // and across, too
        ASSERT_TRUE(document.LoadFromMemory(sText.data(), sText.size()));
        EXPECT_EQ(document.Root().Find("Things")->Find("Thing")->Value(0)->AsDouble(), f);
        EXPECT_EQ(RoundTrip(File({D(f), Doubles({f, 1.5})}, {7400, true, false, false}), false), "");
    }
    EXPECT_EQ(RoundTrip(File({Floats(floats), Doubles(doubles), Longs({INT64_MIN, INT64_MAX, 0})}), true), "")
        << "shortest digits of 32-bit floats too";
    EXPECT_EQ(RoundTrip(File({L(INT64_MIN), L(INT64_MAX), I(-1), Ints({-1, INT32_MIN})}), true), "");

    // Unsigned bytes, and a letter that nobody knows, whose record is handed on; a text file has no way to say it.
    std::string sBytes;
    const Value byte{'Z', 200, 0.0, {}, {}, {}};
    const Value unknown{'Q', 0, 0.0, "???", {}, {}};
    EXPECT_EQ(RoundTrip(File({byte, I(5), unknown, I(7), I(8)}), false, &sBytes), "");
    EXPECT_NE(sBytes.find(std::string("Z\xC8I\5\0\0\0Q???I\7", 13)), std::string::npos);
    EXPECT_EQ(RoundTrip(File({byte, I(5)}), true), "");
    EXPECT_NE(RoundTrip(File({unknown}), true), "");

    // Not-a-number keeps its payload in binary files, a signalling one too.
    std::string sFile = File({D(0.0), {'F', 0, 0.0, {}, {}, {}}});
    const uint64_t nDouble = 0xfff0000000000123u;
    const uint32_t nFloat = 0x7f812345u;
    const size_t nAt = sFile.find(std::string("D\0\0\0\0\0\0\0\0F", 10));
    ASSERT_NE(nAt, std::string::npos);
    std::memcpy(sFile.data() + nAt + 1, &nDouble, 8);
    std::memcpy(sFile.data() + nAt + 10, &nFloat, 4);
    std::string sWritten;
    EXPECT_EQ(RoundTrip(sFile, false, &sWritten), "");
    EXPECT_NE(sWritten.find(sFile.substr(nAt, 14)), std::string::npos);
    EXPECT_EQ(RoundTrip(sFile, true), "");
}

TEST(Document, TextsAndWords)
{
    for (const char* szText : {"", "plain", "a \"quote\"", "two\nlines\r\n", "semi;colon, {brace} *star:", "a::b",
                               "&amp; & &quo", "\xc3\xa4\xff\x01"})
    {
        SCOPED_TRACE(szText);
        EXPECT_EQ(RoundTrip(File({S(szText), Name(szText, "Model")}), false), "");
        EXPECT_EQ(RoundTrip(File({S(szText), Name(szText, "Model")}), true), "");
    }
    for (const std::string& sText : {std::string("&quot;"), std::string("x&lf;"), std::string("a\0b", 3)})
    {
        EXPECT_EQ(RoundTrip(File({S(sText)}), false), "");
        EXPECT_EQ(RoundTrip(File({S(sText)}), true).substr(0, 20), "write: a text holds ");
    }
    const std::string sText =
        "; FBX 7.4.0 project file\nA: Y,T, word ,-nan,1.#INF,, \"x\"\nB:\nC: {\n}\nD: *0 {\n a: \n} {\n E: 1\n}\n";
    std::string sWritten; // the text itself must outlive what was read from it
    EXPECT_EQ(RoundTrip(sText, false, &sWritten), "");
    EXPECT_NE(sWritten.find("A: Y, T, word, -1.#IND, 1.#INF, \"x\"\n"), std::string::npos) << sWritten;
    EXPECT_NE(sWritten.find("C:  {\n}\n"), std::string::npos);
}

TEST(Document, BinaryFilesEndAsTheyBegan)
{
    // The same bytes come back where nothing was changed: arrays are not packed again, the footer's number is kept.
    const std::string sFile = ReadAll(std::filesystem::path(Z_SOURCE_DIR) / "samples/assembly/props/lever.fbx");
    FbxDocument document;
    ASSERT_TRUE(document.LoadFromMemory(sFile.data(), sFile.size())) << document.Error();
    std::string sWritten;
    ASSERT_TRUE(document.Write(sWritten));
    EXPECT_TRUE(sWritten == sFile);

    // From version 7500 on records have wider heads.
    ASSERT_TRUE(document.SetFormat(true, 7500));
    ASSERT_TRUE(document.Write(sWritten));
    EXPECT_GT(sWritten.size(), sFile.size());
    LoadedScene loaded(sWritten);
    EXPECT_TRUE(loaded.IsLoaded()) << loaded.Error();
    EXPECT_EQ(loaded.Version(), 7500);
    EXPECT_FALSE(document.SetFormat(true, 6100));

    FbxDocument old;
    const std::string sOld = "; FBX 5.8.0 project file\nFBXHeaderExtension: {\n FBXVersion: 5800\n}\n";
    EXPECT_FALSE(old.LoadFromMemory(sOld.data(), sOld.size()));
    EXPECT_EQ(old.Error(), "version 5800 can't be rewritten: 6000 to 7700 can");
}

} // namespace
