#include "tests/fbx/loadscene.h"

#include "fbx/file/fbxrecord.h"
#include "fbx/file/fbxtextscan.h"

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
                              "\tNumbers: 1, -2,+3, 4.5, -1e3, 9223372036854775807, 1.5e-400,1e400, -0\n"
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
    const auto number = [&](const char* szRecord, uint32_t n)
    {
        const SFbxRecord* p = parsed.Find(szRecord);
        return p && p->Value(n) ? p->Value(n)->AsDouble() : -12345.0;
    };
    const double numbers[] = {1, -2, 3, 4.5, -1000, 9223372036854775807.0, 0.0, INFINITY, 0.0};
    for (uint32_t n = 0; n < 9; ++n)
        EXPECT_EQ(number("Numbers", n), numbers[n]) << n;
    EXPECT_EQ(parsed.Find("Numbers")->Int(5), INT64_MAX);
    EXPECT_TRUE(std::signbit(number("Numbers", 8)));
    EXPECT_TRUE(std::isnan(number("Odd", 0)) && std::isnan(number("Odd", 3)));
    EXPECT_EQ(number("Odd", 1), -INFINITY);
    EXPECT_EQ(number("Odd", 2), INFINITY);
    EXPECT_EQ(number("Odd", 4), INFINITY);
    EXPECT_EQ(parsed.Find("Texts")->Text(0), "a \"b\" &amp; c");
    EXPECT_EQ(parsed.Find("Texts")->Text(1), "");
    EXPECT_EQ(parsed.Find("Texts")->Text(2), "x;y{z}");
    EXPECT_EQ(parsed.Find("Words")->pValues[1].AsLetter(), 'Y');
    EXPECT_EQ(parsed.Find("Wrapped")->nValues, 4u);
    EXPECT_EQ(number("Wrapped", 3), 4.0);
    EXPECT_EQ(parsed.Find("Empty")->nValues, 0u);
    EXPECT_EQ(parsed.Find("LeftOut")->Text(0), "late");
    const SFbxValue& list = *parsed.Find("List")->Value(0);
    ASSERT_EQ(list.type, 'l');
    ASSERT_EQ(list.n, 4u);
    EXPECT_EQ(reinterpret_cast<const int64_t*>(list.p)[3], 4);
    const SFbxValue& mixed = *parsed.Find("Mixed")->Value(0);
    ASSERT_EQ(mixed.type, 'd');
    ASSERT_EQ(mixed.n, 3u) << "the count is not believed";
    EXPECT_EQ(reinterpret_cast<const double*>(mixed.p)[0], 1.0);
    EXPECT_EQ(reinterpret_cast<const double*>(mixed.p)[1], 2.5);
    EXPECT_EQ(parsed.Find("Nothing")->Value(0)->n, 0u);
    EXPECT_EQ(parsed.Find("Nested")->Find("Inner")->Int(0), 5);
}

TEST(Text, Refusals)
{
    const struct
    {
        const char* szLabel;
        const char* szText;
    } cases[] = {
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
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.szLabel);
        const Parsed parsed(c.szText);
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
