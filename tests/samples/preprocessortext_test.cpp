#include "samples/effectcompiler/preprocessortext.h"
#include "tests/resource/_shared/effectfixtures.h"

#include <gtest/gtest.h>

using namespace Samples;

namespace
{

constexpr const char HEAD[] = "#line 1 \"sourcefile\"\n";

TEST(PreprocessorText, DirectivesGetLinesOfTheirOwn)
{
    const std::pair<const char*, const char*> cases[] = {
        {"a;#line 3 \"x\\y\"\n#line 4 <z>\n", "a;\n#line 3 \"x\\\\y\"\n#line 4 \"z\"\n"},
        {"\xef\xbb\xbf#if 1\n#endif#line 9 \"w\"\n\xef\xbb\xbf", "#if 1\n#endif\n#line 9 \"w\"\n"},
        {"#define A \\#line 9 \"w\"\nb", "#define A \\\n\n#line 9 \"w\"\nb"},
        {"#define A \\\n#line 9 \"w\"\nb", "#define A \\\n\n#line 9 \"w\"\nb"},
        {"# include <x\\y.fxh>\n#include MACRO\n", "#include <x/y.fxh>\n#include MACRO\n"},
        {"\"/*\" # include \"s\\x\"\n// # include \"s\\x\"\n", "\"/*\" # include \"s\\x\"\n// # include \"s\\x\"\n"},
    };
    for (const auto& [szFlat, szPrepared] : cases)
        EXPECT_EQ(PrepareFlatSource(szFlat), std::string(HEAD) + szPrepared);
}

TEST(PreprocessorText, PlacesAreToldAgainBehindWhatMayBeSkipped)
{
    const std::string include = "#line 1 \"x\"\n1\n2\n#line 2 \"sourcefile\"\n\n";
    const auto prepared = [&](const std::string& before, const std::string& behind)
    { return PrepareFlatSource(before + include + behind).substr((HEAD + before + include).size()); };
    EXPECT_EQ(prepared("#if 0\n", "#endif\na\n"), "#endif\n#line 4 \"sourcefile\"\na\n");
    EXPECT_EQ(prepared("#if 0\n", "#else // x\na\n#endif\nb\n"),
              "#else // x\n#line 4 \"sourcefile\"\na\n#endif\n#line 6 \"sourcefile\"\nb\n");
    EXPECT_EQ(prepared("#if 0\n", "#  elif A \\\n && B\na\n"), "#  elif A \\\n && B\n#line 5 \"sourcefile\"\na\n");
    // What is told inside of something skipped is not heard: the outer end tells it, too.
    EXPECT_EQ(prepared("#if 0\n", "#if A\n#endif\n#endif\na"),
              "#if A\n#endif\n#line 5 \"sourcefile\"\n#endif\n#line 6 \"sourcefile\"\na");
    EXPECT_EQ(prepared("/*\n", "\"*/\nb"), "\"*/\n#line 4 \"sourcefile\"\nb");
    EXPECT_EQ(prepared("", "#if A\n#endif\n#if B\n#endif\na"),
              "#if A\n#endif\n#line 5 \"sourcefile\"\n#if B\n#endif\na")
        << "once is enough";
}

TEST(PreprocessorText, MarksBecomeDirectives)
{
    const SConvertedOutput converted = ConvertLineMarks(
        "# 0 \"in\"\n\n# 0 \"<built-in>\"\n# 1 \"in\"\n# 1 \"sourcefile\"\na\n# 14 \"sourcefile\"\nb\n"
        "# 1 \"d\\\\e\\\"\" 1 3\nc\n# 1 \"f\" 1\n# 2 \"d\\\\e\\\"\" 2\n# 16 \"sourcefile\" 2\n# 20000 \"sourcefile\"\n"
        "# 3 \"sourcefile\"\n");
    EXPECT_EQ(converted.text, "a\n\n\n\n\n\n\n\n\n\n\n\n\nb\n#line 1 \"d\\e\"\"\nc\n#line 1 \"f\"\n#line 2 \"d\\e\"\"\n"
                              "#line 16 \"sourcefile\"\n#line 20000 \"sourcefile\"\n#line 3 \"sourcefile\"\n");
    EXPECT_EQ(converted.files, (std::vector<std::string>{"d\\e\"", "f"}));
}

TEST(PreprocessorText, NothingMultiplies)
{
    std::string places = "#if 1\n#line 1 \"" + std::string(4000, 'x') + "\"\n";
    for (int n = 0; n < 100000; ++n)
        places += "#else\n";
    EXPECT_LT(PrepareFlatSource(places).size(), size_t(4) << 20);
    std::string jumps = "# 1 \"sourcefile\"\n";
    for (int n = 0; n < 5000; ++n)
        jumps += "a\n# 9000 \"sourcefile\"\nb\n# 1 \"sourcefile\"\n";
    EXPECT_LT(ConvertLineMarks(jumps).text.size(), 3 * jumps.size());
}

TEST(PreprocessorText, IncludesWithBlanksAreLookedForBesideTheirFile)
{
    const ZTempFolder folder;
    const std::string beside = folder.Write("a/sub/x.fxh", "");
    EXPECT_EQ(PrepareFlatSource("#line 5 \"" + (folder / "a/y.fxh") + "\"\n #\tinclude <sub\\x.fxh> // x\n"),
              std::string(HEAD) + "#line 5 \"" + (folder / "a/y.fxh") + "\"\n #include \"" + beside + "\" // x\n");
}

} // namespace
