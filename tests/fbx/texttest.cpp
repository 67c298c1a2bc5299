#include "tests/fbx/loadscene.h"
#include "tests/fbx/sametree.h"

#include "fbx/file/fbxrecord.h"
#include "fbx/file/fbxtextscan.h"

#include <algorithm>
#include <cmath>

namespace
{

struct Parsed
{
    explicit Parsed(const std::string& sText)
    {
        SFbxHead head;
        head.eFormat = EFbxFormat::eText;
        head.nVersion = 7400;
        bOk = FbxReadText(reinterpret_cast<const uint8_t*>(sText.data()), sText.size(), head, tree, sError);
    }
    const SFbxRecord* Find(std::string_view name) const
    {
        const SFbxRecord* pAll = tree.root.Find("Takes");
        return pAll ? pAll->Find(name) : nullptr;
    }
    SFbxRecordTree tree;
    std::string sError;
    bool bOk;
};

TEST(Text, Values)
{
    // Everything stands below a record that is read whole.
    const std::string sText = "; comment\n"
                              "Takes:  { ; { \" in a comment\n"
                              "\tNumbers: 1, -2,+3, 4.5, -1e3, 9223372036854775807, 1.5e-400,1e400,0.5e400, -0\n"
                              "\tOdd: nan, -inf, 1.#INF, -1.#IND, Infinity\n"
                              "\tTexts: \"a &quot;b&quot; &amp; c\", \"\", \"x;y{z}\"\n"
                              "\tWords: T, Y\n"
                              "\tWrapped: 1,2\n\t\t,3,\n\t\t4\n"
                              "\tEmpty:\n"
                              "\tLeftOut: , \"late\"\n"
                              "\tList: *4 {\n\t\ta: 1,2,\n3,4\n\t}\n"
                              "\tMixed: *1 { a: 1,2.5,-inf }\n"
                              "\tNothing: *0 { a: \n }\n"
                              "\tNested:  \"name\" {\n\t\tInner: 5\n\t}\n"
                              "}\n";
    const Parsed parsed(sText);
    ASSERT_TRUE(parsed.bOk) << parsed.sError;
    std::vector<std::string> lines = TreeText(parsed.tree, sText.size(), true).Lines();
    std::sort(lines.begin(), lines.end());
    EXPECT_EQ(lines, (std::vector<std::string>{"0 {", "1Takes {", "2Empty", "2LeftOut late", "2List *4  1 2 3 4",
                                               "2Mixed *3  1 2.5 -inf", "2Nested { name", "2Nothing *0 ",
                                               "2Numbers 1 -2 3 4.5 -1000 9223372036854775807 0 inf inf 0",
                                               "2Odd nan -inf inf nan inf", "2Texts a \"b\" &amp; c  x;y{z}",
                                               "2Words 84 89", "2Wrapped 1 2 3 4", "3Inner 5"}));
    EXPECT_TRUE(std::signbit(parsed.Find("Numbers")->Value(9)->AsDouble()));
    EXPECT_EQ(parsed.Find("List")->Value(0)->type, 'l');
    EXPECT_EQ(parsed.Find("Mixed")->Value(0)->type, 'd') << "nor is the count believed";
}

TEST(Text, Refusals)
{
    const std::pair<const char*, const char*> cases[] = {
        {"cut off behind its head", "; FBX 7.4.0 project file\n"},
        {"not closed", "Takes: {\n A: 1\n"},
        {"closed twice", "Takes: {\n}\n}\n"},
        {"text not closed", "Takes: {\n A: \"x\n}\n"},
        {"value without a name", "Takes: {\n 5\n}\n"},
        {"array not closed", "Takes: {\n A: *3 { a: 1,2,3 \n B: 1 }\n"},
        {"array of words", "Takes: {\n A: *1 { a: x }\n}\n"},
        {"array without a list", "Takes: {\n A: *1\n}\n"},
        {"skipped record not closed", "Pictures: {\n A: { \n}\n"},
        {"skipped text not closed", "Pictures: {\n A: \"{ \n}\n"},
    };
    for (const auto& [szLabel, szText] : cases)
    {
        SCOPED_TRACE(szLabel);
        const Parsed parsed(szText);
        EXPECT_FALSE(parsed.bOk);
        EXPECT_NE(parsed.sError.find("(in line "), std::string::npos) << parsed.sError;
    }
    std::string sDeep;
    for (int n = 0; n < 5000; ++n)
        sDeep += "Takes: {\n";
    EXPECT_FALSE(Parsed(sDeep).bOk);
    EXPECT_FALSE(Parsed("Pictures: 1, :\nTakes: {\n}\n").bOk);
}

TEST(Text, WhatIsSteppedOver)
{
    for (const char* szSkipped : {"\"{\", 1 {\n A: \"}\" { ; }\n } }", "", " *2 {\n a: 1,2\n} , T",
                                  "1.5,\n\t2;x: {\n,3", " \"Takes: }\", Word\nMore : -4e3"})
    {
        SCOPED_TRACE(szSkipped);
        const std::string sText = std::string("Pictures:") + szSkipped + "\nTakes: {\n Found: 5\n}\n";
        const Parsed parsed(sText);
        ASSERT_TRUE(parsed.bOk) << parsed.sError;
        EXPECT_TRUE(parsed.Find("Found"));
    }
    // Whatever lies before the letter that is looked for, and however much there is.
    const std::string sDigits(200, '7');
    for (size_t n = 0; n <= sDigits.size(); ++n)
    {
        std::string s = sDigits;
        if (n < s.size())
            s[n] = '}';
        ASSERT_EQ((FbxFindFirst<'{', '}'>(s.data(), s.data() + s.size())), s.data() + n);
    }
}

} // namespace
