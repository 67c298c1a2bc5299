#include "resource/_shared/fxcompilerutil.h"

#include "resource/_shared/fxscan.h"

#include "tests/support/testing.h"

#include <clocale>

using namespace FXCompilerUtil;

namespace
{

/// A text in a block of exactly its size, a position and a counter.
struct SWalk
{
    explicit SWalk(std::string_view from) : text(from.begin(), from.end()) {}

    bool Skip() { return SkipWhiteSpace(text.data(), nPosition, text.size(), nLine); }
    bool Token() { return ReadToken(text.data(), nPosition, text.size(), nLine, token); }
    std::string Quoted()
    {
        std::string_view name;
        ReadQuotedString(text.data(), nPosition, text.size(), nLine, name);
        return std::string(name);
    }
    size_t Keyword(const char* szKeyword)
    {
        size_t nLength = 99;
        const size_t nResult = MatchKeyword(text.data(), nPosition, text.size(), nLine, szKeyword, nLength);
        EXPECT_EQ(nResult, nLength);
        return nResult;
    }

    std::vector<char> text;
    size_t nPosition = 0;
    uint32_t nLine = 0;
    char token[TOKEN_SIZE] = {};
};

TEST(FXCompilerUtil, Tokens)
{
    // szToken: null: there is none
    const std::tuple<const char*, const char*, const char*, size_t, uint32_t> cases[] = {
        {"white space on both sides goes", " \t\r\nfloat4 \n x", "float4", 13, 2},
        {"every delimiter ends one", "a=b", "a", 1, 0},
        {"no delimiter at the end", "abc", "abc", 3, 0},
        {"none: the position stands on the delimiter", " \n;x", nullptr, 2, 1},
        {"nothing there", "", nullptr, 0, 0},
        {"a lone minus takes the next one along", "- \n1;", "-1", 4, 1},
        {"a minus that is not alone does not", "-1 2", "-1", 3, 0},
        {"a minus before a delimiter stays alone", "- ;", "-", 2, 0},
        {"angle brackets and quotes belong to words", "<a>\"b\" c", "<a>\"b\"", 7, 0},
    };
    for (const auto& [szLabel, szText, szToken, nPosition, nLine] : cases)
    {
        SCOPED_TRACE(szLabel);
        SWalk walk(szText);
        EXPECT_EQ(walk.Token(), szToken != nullptr);
        EXPECT_STREQ(walk.token, szToken != nullptr ? szToken : "");
        EXPECT_EQ(walk.nPosition, nPosition);
        EXPECT_EQ(walk.nLine, nLine);
    }
    for (const char c : std::string_view(" ,()\r\n\t;{}[]=:"))
    {
        SWalk walk(std::string("a") + c);
        EXPECT_TRUE(walk.Token());
        EXPECT_STREQ(walk.token, "a") << static_cast<int>(c);
    }
    SWalk longest(std::string(511, 'a'));
    EXPECT_TRUE(longest.Token());
    EXPECT_THROW(SWalk(std::string(512, 'a')).Token(), zhalt_exception);
    EXPECT_THROW(SWalk(std::string(2000, '-')).Token(), zhalt_exception);
}

TEST(FXCompilerUtil, KeywordsNamesAndDirectives)
{
    std::string sLengths;
    for (const char* szText : {"#Include <a>", "sampler2D s", "sampler_state {", "sampler", "sampler{", "samp"})
        sLengths += std::to_string(SWalk(szText).Keyword(*szText == '#' ? "#include" : "sampler")) + ' ';
    EXPECT_EQ(sLengths, "8 0 0 0 7 0 ") << "a whole word, and not at the very end of the text";
    EXPECT_THROW(SWalk("x").Keyword(""), zhalt_exception);

    SWalk mixed("\n<a b\">x");
    EXPECT_EQ(mixed.Quoted(), "a b") << "either mark closes";
    EXPECT_EQ(mixed.nPosition, 5u) << "on the closing mark";
    EXPECT_EQ(mixed.nLine, 1u);

    SWalk line("#LINE 5 \"a\nb\"rest");
    for (int n = 0; n < 2; ++n) // the second time it does not stand at one
        SkipLineDirective(line.text.data(), line.nPosition, line.text.size(), line.nLine);
    EXPECT_EQ(line.nPosition, 13u);
    EXPECT_EQ(line.nLine, 1u);

    const std::string_view text = "a\nb\n#line 10 \"x.fxh\"\nc\nd // #line 3 \"y.fxh\"\ne\n"
                                  "#define L #line 9 \"no\"\nf\n#line 7\n#line\ng";
    std::string sPlaces;
    for (const char c : std::string_view("abcdefg"))
    {
        const size_t nAt = c == 'a' ? 0 : text.find(std::string("\n") + c) + 1;
        const SLocation place = FindLocation(text.data(), nAt, text.size());
        sPlaces += std::string(place.file.View()) + ':' + std::to_string(place.nLine) + ' ';
    }
    EXPECT_EQ(sPlaces, "sourcefile:1 sourcefile:2 x.fxh:10 x.fxh:11 y.fxh:3 y.fxh:5 y.fxh:8 ");
}

TEST(FXCompilerUtil, NumbersAndPathsOfEveryText)
{
    std::string sNumbers;
    for (const char* szText :
         {"0xff0000FF", "010", "12abc", "", "-1", "--5", "-", "0x1FFFFFFFF", "99999999999999999999"})
        sNumbers += std::to_string(ParseUnsigned(szText)) + ' ';
    EXPECT_EQ(sNumbers, "4278190335 8 12 0 4294967295 0 0 4294967295 4294967295 ");
    EXPECT_EQ(ParseInteger("99999999999"), INT32_MAX);
    EXPECT_EQ(ParseInteger("-99999999999"), INT32_MIN);
    EXPECT_EQ(ParseInteger("4x"), 4);
    EXPECT_EQ(TruncateToUnsigned(255.9), 255u);
    EXPECT_EQ(TruncateToUnsigned(-1.5), 0xffffffffu);
    EXPECT_EQ(TruncateToUnsigned(4294967296.0 + 3), 3u);
    for (const char* szText : {"nan", "inf", "-inf", "1e300", "-1e300", "9223372036854775808"})
        EXPECT_EQ(TruncateToUnsigned(ParseReal(szText)), 0u) << szText;
    // Where a locale with a decimal comma is installed, the program's own must not count.
    std::setlocale(LC_ALL, "de_DE.UTF-8");
    EXPECT_EQ(ParseReal("0.5f"), 0.5);
    std::setlocale(LC_ALL, "C");
    EXPECT_EQ(NormalizeReferencePath("C:\\Fx\\\\Common.FXH//c/").View(), "c:/fx/common.fxh/c/");

    std::string sSizes;
    for (const char* szText : {" 0012 x", "x", "4294967297", "[12]", "[]", "[", "[1", "[ 1]", "[-1]", "[a]"})
    {
        SWalk walk(szText);
        uint32_t n = 0;
        try
        {
            if (*szText == '[')
                n = ReadArraySize(walk.text.data(), walk.nPosition, walk.text.size(), walk.nLine, 5);
            else
                ReadDecimal(walk.text.data(), walk.nPosition, walk.text.size(), walk.nLine, n);
            sSizes += std::to_string(n) + '@' + std::to_string(walk.nPosition) + ' ';
        }
        catch (const zhalt_exception&)
        {
            sSizes += "no ";
        }
    }
    EXPECT_EQ(sSizes, "12@6 0@0 1@10 12@4 0@2 no no no no no ");
}

} // namespace
