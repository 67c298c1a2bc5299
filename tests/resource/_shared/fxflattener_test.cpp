#include "base/misc/memory.h"

#include "resource/_shared/fxfilenames.h"
#include "tests/resource/_shared/effectfixtures.h"
#include "tests/support/testing.h"

#include <sys/stat.h>

namespace
{

struct SFlattened
{
    bool bGood = false;
    bool bMalformed = false;
    std::string flat;
    std::vector<std::string> found;
    std::string error;
};

SFlattened Flatten(const std::string& source, const std::vector<std::string>& folders, const TEffectFiles& files)
{
    // In a block of its exact size, without a terminator.
    const std::vector<char> text(source.begin(), source.end());
    TArray<ZString> directories;
    for (const std::string& folder : folders)
        directories.Add(ZString::FromView(folder));
    ZFXFlattener flattener(text.data(), text.size(), directories, ReaderOf(files));
    SFlattened result;
    try
    {
        result.bGood = flattener.Run([&](const ZString& path) { result.found.emplace_back(path.View()); });
    }
    catch (const FXCompilerUtil::SFXScanFailure&)
    {
        result.bMalformed = true;
        return result;
    }
    result.error = flattener.Error().View();
    char* pFlat = flattener.CopyFlat();
    result.flat.assign(pFlat, flattener.Size());
    EXPECT_EQ(pFlat[flattener.Size()], '\0');
    GetMemoryManager()->Free(pFlat);
    return result;
}

TEST(FXFlattener, PutsFilesInWithTheirLines)
{
    const TEffectFiles files = {{"/fx/a.fxh", "float a;\n#include <sub/b.fxh>\nfloat a2;\n"},
                                {"/fx/sub/b.fxh", "float b;\n#Include \"c.fxh\""},
                                {"/fx/sub/c.fxh", "float c;"},
                                {"/fx/c.fxh", "the wrong one"},
                                {"/fx/empty", ""},
                                {"/other/x.fxh", "x\n"}};
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"no include: as it is", "#define A\n#pragma once\n a # b\n", "#define A\n#pragma once\n a # b\n"},
        {"nothing", "", ""},
        {"counter: the line behind the directive keeps its number", "one\n#include \"empty\"\nthree\n",
         "one\n#line 1 \"/fx/empty\"\n#line 2 \"sourcefile\"\n\nthree\n"},
        {"nested, beside the including file first", "#include \"a.fxh\"\nend\n",
         "#line 1 \"/fx/a.fxh\"\nfloat a;\n#line 1 \"/fx/sub/b.fxh\"\nfloat b;\n#line 1 \"/fx/sub/c.fxh\"\nfloat c;"
         "#line 2 \"/fx/sub/b.fxh\"\n#line 2 \"/fx/a.fxh\"\n\nfloat a2;\n#line 1 \"sourcefile\"\n\nend\n"},
        {"a #line moves the folder", "#line 40 \"/other/main.fx\"\n#include \"x.fxh\"\n",
         "#line 40 \"/other/main.fx\"\n#line 1 \"/other/x.fxh\"\nx\n#line 40 \"/other/main.fx\"\n\n"},
        {"comments are not looked at", "// #include \"empty\" x\n",
         "// #line 1 \"/fx/empty\"\n#line 1 \"sourcefile\"\n x\n"},
        {"other directives hide theirs", "#define X #include \"nothing\"\n", "#define X #include \"nothing\"\n"},
        {"backslashes", "#include \"sub\\c.fxh\"", "#line 1 \"/fx/sub/c.fxh\"\nfloat c;#line 1 \"sourcefile\"\n"},
        {"no such keyword", "# include \"nothing\"\n#includes \"nothing\"\n",
         "# include \"nothing\"\n#includes \"nothing\"\n"},
    };
    for (const auto& [szLabel, szSource, szFlat] : cases)
    {
        SCOPED_TRACE(szLabel);
        const SFlattened result = Flatten(szSource, {"/fx"}, files);
        EXPECT_TRUE(result.bGood) << result.error;
        EXPECT_EQ(result.flat, szFlat);
    }
}

TEST(FXFlattener, FilesAreTold)
{
    EXPECT_EQ(Flatten("#include <x>", {"/a", "b"}, {}).error,
              "Could not find file 'x' while looking into following directories: /a, b");
    EXPECT_EQ(Flatten("#include <x>", {}, {}).error,
              "Could not find file 'x' while looking into following directories: no valid directories found");
    EXPECT_EQ(Flatten("#line 1 \"/m/n.fx\"\n#include <x>", {"b"}, {}).error,
              "Could not find file 'x' while looking into following directories: /m, b");
    EXPECT_EQ(Flatten("#include \"a\"\n#include \"b\"\n#include \"a\"", {"", "d"},
                      {{"d/a", "#include \"b\"\n"}, {"d/b", "b"}})
                  .found,
              (std::vector<std::string>{"d/a", "d/b", "d/b", "d/a", "d/b"}));
    for (const char* szText : {"#include x", "#include \"x", "#include ", "#line 1 x\n", "#line 1\n", "#line 5 \"x"})
        EXPECT_TRUE(Flatten(szText, {}, {}).bMalformed) << szText;
}

TEST(FXFlattener, RunawaysAreStopped)
{
    const SFlattened self = Flatten("#include \"a\"", {"d"}, {{"d/a", "x\n#include \"a\"\n"}});
    EXPECT_FALSE(self.bGood);
    EXPECT_EQ(self.found.size(), ZFXFlattener::MAX_DEPTH);
    EXPECT_EQ(self.error, "'d/a' stands inside 1024 includes: does a file include itself?");

    // A chain without a cycle goes to the bound and not beyond, whatever stands behind each directive.
    for (const size_t nLinks : {ZFXFlattener::MAX_DEPTH, ZFXFlattener::MAX_DEPTH + 1})
    {
        TEffectFiles files;
        for (size_t n = 1; n <= nLinks; ++n)
            files["d/" + std::to_string(n)] =
                n == nLinks ? "end" : "#include \"" + std::to_string(n + 1) + "\"" + (n % 2 ? "\n" : "");
        EXPECT_EQ(Flatten("#include \"1\"", {"d"}, files).bGood, nLinks == ZFXFlattener::MAX_DEPTH);
    }

    // Siblings are not inside each other, however many.
    std::string many;
    for (int n = 0; n < 5000; ++n)
        many += "#include \"a\"\n";
    EXPECT_EQ(Flatten(many, {"d"}, {{"d/a", ""}}).found.size(), 5000u);

    // Forty levels that each include the next twice would make 2^40.
    TEffectFiles doubling;
    for (int n = 0; n < 40; ++n)
    {
        const std::string next = "#include \"" + std::to_string(n + 1) + "\"\n";
        doubling["d/" + std::to_string(n)] = std::string(4000, ' ') + next + next;
    }
    doubling["d/40"] = "";
    const SFlattened wide = Flatten("#include \"0\"", {"d"}, doubling);
    EXPECT_FALSE(wide.bGood);
    EXPECT_NE(wide.error.find("includes add more than 64 MB"), std::string::npos) << wide.error;
    EXPECT_LT(wide.flat.size(), ZFXFlattener::MAX_SPLICED + 100);
}

/// Files that flattening puts in, from where they lie in the folder.
std::string FoundOnDisk(const std::string& sSource, const ZTempFolder& folder, std::initializer_list<const char*> names,
                        const ZFXFlattener::FFindAnyCase& find = {})
{
    TArray<ZString> directories;
    for (const char* szName : names)
        directories.Add(ZString::FromView(folder / szName));
    std::string sFound;
    ZFXFlattener flattener(sSource.data(), sSource.size(), directories, &ZFXFlattener::ReadFromDisk, find);
    EXPECT_TRUE(flattener.Run([&](const ZString& path)
                              { sFound += path.ToCString() + folder.Path().size() + 1 + std::string(" "); }));
    return sFound;
}

TEST(FXFlattener, OnDiskOnlyRegularFilesCount)
{
    const ZTempFolder folder;
    folder.Write("first/x/inside", "");
    folder.Write("second/x", "two");
    folder.Write("second/empty", "");
    folder.Write("third/empty", "not this one");
    ASSERT_EQ(::mkfifo((folder / "first/pipe").c_str(), 0600), 0);

    std::vector<char> bytes;
    const auto read = [&](const std::string& path, size_t nMost)
    {
        bytes.clear();
        return ZFXFlattener::ReadFromDisk(ZString::FromView(folder / path), nMost, bytes);
    };
    EXPECT_FALSE(read("first/x", 9)) << "a folder";
    EXPECT_FALSE(read("first/pipe", 9)) << "and nobody writes to it";
    EXPECT_FALSE(read("nothing", 9));
    EXPECT_TRUE(read("second/empty", 9));
    EXPECT_TRUE(read("second/x", 2));
    EXPECT_EQ(bytes.size(), 2u);

    EXPECT_EQ(FoundOnDisk("#include \"x\"#include \"empty\"", folder, {"first", "second", "third"}),
              "second/x second/empty ");
}

TEST(FXFlattener, CaseCountsOnlyWhenItChooses)
{
    const ZTempFolder folder;
    folder.Write("one/Sub/Deep.fxh", "deep");
    folder.Write("one/Two.fxh", "Two");
    folder.Write("two/two.fxh", "two");
    folder.Write("two/B.fxh", "");
    folder.Write("two/b.FXH", "");
    ZFXFileNames names;
    const auto find = [&](const std::string& path)
    {
        const std::string found(names.Find(ZString::FromView(folder / path)).View());
        return found.empty() ? found : found.substr(folder.Path().size() + 1);
    };
    EXPECT_EQ(find("ONE/sub/../SUB/deep.FXH"), "one/Sub/../Sub/Deep.fxh");
    EXPECT_EQ(find("two/b.fxh"), "two/B.fxh") << "the first of several";
    EXPECT_EQ(find("one/none"), "");
    EXPECT_EQ(find("one/two.fxh/x"), "");
    EXPECT_EQ(find(std::string(100000, '/') + "x"), "");

    EXPECT_EQ(FoundOnDisk("#include \"two.fxh\"\n#include \"TWO.fxh\"\n#include \"sub\\DEEP.fxh\"\n", folder,
                          {"one", "two"}, [&](const ZString& path) { return names.Find(path); }),
              "two/two.fxh one/Two.fxh one/Sub/Deep.fxh ");
}

} // namespace
