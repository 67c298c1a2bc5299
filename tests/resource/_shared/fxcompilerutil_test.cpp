#include "resource/_shared/fxcompilerutil.h"

#include "resource/_shared/fxscan.h"
#include "tests/support/tracerecorder.h"

#include <clocale>
#include <gtest/gtest.h>
#include <random>
#include <vector>

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
    const struct
    {
        const char* szLabel;
        const char* szText;
        const char* szToken; ///< null: there is none
        size_t nPosition;
        uint32_t nLine;
    } cases[] = {
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
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.szLabel);
        SWalk walk(c.szText);
        EXPECT_EQ(walk.Token(), c.szToken != nullptr);
        EXPECT_STREQ(walk.token, c.szToken != nullptr ? c.szToken : "");
        EXPECT_EQ(walk.nPosition, c.nPosition);
        EXPECT_EQ(walk.nLine, c.nLine);
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

TEST(FXCompilerUtil, Keywords)
{
    EXPECT_EQ(SWalk("#Include <a>").Keyword("#include"), 8u);
    EXPECT_EQ(SWalk("sampler2D s").Keyword("sampler"), 0u);
    EXPECT_EQ(SWalk("sampler_state {").Keyword("sampler"), 0u);
    EXPECT_EQ(SWalk("sampler").Keyword("sampler"), 0u) << "at the very end of the text";
    EXPECT_EQ(SWalk("sampler{").Keyword("sampler"), 7u);
    EXPECT_EQ(SWalk("samp").Keyword("sampler"), 0u);
}

TEST(FXCompilerUtil, QuotedNamesNumbersAndArraySizes)
{
    SWalk mixed("\n<a b\">x");
    EXPECT_EQ(mixed.Quoted(), "a b") << "either mark closes";
    EXPECT_EQ(mixed.nPosition, 5u) << "on the closing mark";
    EXPECT_EQ(mixed.nLine, 1u);

    const auto decimal = [](std::string_view text)
    {
        SWalk walk(text);
        uint32_t nNumber = 7;
        EXPECT_NE(ReadDecimal(walk.text.data(), walk.nPosition, walk.text.size(), walk.nLine, nNumber), 0u);
        return std::pair(nNumber, walk.nPosition);
    };
    EXPECT_EQ(decimal(" 0012 x"), std::pair(12u, size_t(6)));
    EXPECT_EQ(decimal("x"), std::pair(0u, size_t(0)));
    EXPECT_EQ(decimal("4294967297").first, 1u);

    const auto arraySize = [](std::string_view text)
    {
        SWalk walk(text);
        return ReadArraySize(walk.text.data(), walk.nPosition, walk.text.size(), walk.nLine, 5);
    };
    EXPECT_EQ(arraySize("[12]"), 12u);
    EXPECT_EQ(arraySize("[]"), 0u);
    EXPECT_EQ(arraySize(""), 5u);
    EXPECT_EQ(arraySize("x"), 5u);
    for (const char* szText : {"[", "[1", "[ 1]", "[-1]", "[a]"})
        EXPECT_THROW(arraySize(szText), zhalt_exception) << szText;

    SWalk line("#LINE 5 \"a\nb\"rest");
    SkipLineDirective(line.text.data(), line.nPosition, line.text.size(), line.nLine);
    EXPECT_EQ(line.nPosition, 13u);
    EXPECT_EQ(line.nLine, 1u);
    SkipLineDirective(line.text.data(), line.nPosition, line.text.size(), line.nLine);
    EXPECT_EQ(line.nPosition, 13u) << "does not stand at one";
}

TEST(FXCompilerUtil, FailuresAreTracedWithTheFormatInTheChannelsPlace)
{
    uint32_t nLine = 0;
    const struct
    {
        const char* szText;
        std::function<void(const char*, size_t&, size_t)> call;
        const char* szExpression;
    } cases[] = {
        {"x",
         [&](const char* p, size_t& n, size_t s)
         {
             std::string_view name;
             ReadQuotedString(p, n, s, nLine, name);
         },
         "*c=='\\\"' || *c=='<'"},
        {"x",
         [&](const char* p, size_t& n, size_t s)
         {
             size_t nLength = 0;
             MatchKeyword(p, n, s, nLine, "", nLength);
         },
         "nReadCount>0"},
        {" x", [&](const char* p, size_t& n, size_t s) { ExpectChar(p, n, s, nLine, ';'); }, "!\"Unexpected token\""},
        {" ", [&](const char* p, size_t& n, size_t s) { ExpectChar(p, n, s, nLine, ';'); }, "!\"Unexpected token\""},
        {" x", [&](const char* p, size_t& n, size_t s) { ExpectKeyword(p, n, s, nLine, "register"); },
         "!\"Unexpected token\""},
        {"[x]", [&](const char* p, size_t& n, size_t s) { ReadArraySize(p, n, s, nLine, 0); },
         "!\"FX: Expecting arrays in form of [digits]\""},
    };
    for (const auto& c : cases)
    {
        ZTraceRecorder recorder;
        size_t nPosition = 0;
        const std::vector<char> text(c.szText, c.szText + std::strlen(c.szText));
        EXPECT_THROW(c.call(text.data(), nPosition, text.size()), zhalt_exception);
        ASSERT_EQ(recorder.Lines().Size(), 1u);
        EXPECT_EQ(recorder.Lines()[0].eLevel, ITraceListener::eTrace_EffectError);
        EXPECT_TRUE(recorder.Lines()[0].channel == "Error: {0}\n");
        EXPECT_TRUE(recorder.Lines()[0].text == c.szExpression) << recorder.Lines()[0].text.ToCString();
    }
}

TEST(FXCompilerUtil, PlacesFollowTheLineDirectives)
{
    const std::string_view text = "a\nb\n#line 10 \"x.fxh\"\nc\nd // #line 3 \"y.fxh\"\ne\n"
                                  "#define L #line 9 \"no\"\nf\n#line 7\n#line\ng";
    const struct
    {
        char c;
        const char* szFile;
        uint32_t nLine;
    } cases[] = {{'a', "sourcefile", 1}, {'b', "sourcefile", 2}, {'c', "x.fxh", 10}, {'d', "x.fxh", 11},
                 {'e', "y.fxh", 3},      {'f', "y.fxh", 5},      {'g', "y.fxh", 8}};
    for (const auto& c : cases)
    {
        const size_t nAt = text.find(std::string("\n") + c.c);
        const SLocation place = FindLocation(text.data(), c.c == 'a' ? 0 : nAt + 1, text.size());
        EXPECT_TRUE(place.file == c.szFile) << c.c << " " << place.file.ToCString();
        EXPECT_EQ(place.nLine, c.nLine) << c.c;
    }
}

TEST(FXCompilerUtil, ReferencePaths)
{
    const auto normal = [](const char* szPath)
    { return std::string(NormalizeReferencePath(ZString::AllocateFromCString(szPath)).View()); };
    EXPECT_EQ(normal("C:\\Fx\\\\Common.FXH"), "c:/fx/common.fxh");
    EXPECT_EQ(normal("a////b//c/"), "a/b/c/");
    EXPECT_EQ(normal(""), "");
}

TEST(FXCompilerUtil, NumbersAreDefinedForEveryText)
{
    const struct
    {
        const char* szText;
        uint32_t nValue;
    } numbers[] = {{"0xff0000FF", 0xff0000ffu},
                   {"010", 8},
                   {"12abc", 12},
                   {"", 0},
                   {"-1", 0xffffffffu},
                   {"0x1FFFFFFFF", 0xffffffffu},
                   {"99999999999999999999999", 0xffffffffu},
                   {"--5", 0},
                   {"-", 0},
                   {"junk", 0}};
    for (const auto& c : numbers)
        EXPECT_EQ(ParseUnsigned(c.szText), c.nValue) << c.szText;
    EXPECT_EQ(ParseInteger("99999999999"), INT32_MAX);
    EXPECT_EQ(ParseInteger("-99999999999"), INT32_MIN);
    EXPECT_EQ(ParseInteger("4x"), 4);

    EXPECT_EQ(TruncateToUnsigned(255.9), 255u);
    EXPECT_EQ(TruncateToUnsigned(-1.5), 0xffffffffu);
    EXPECT_EQ(TruncateToUnsigned(4294967296.0 + 3), 3u);
    for (const char* szText : {"nan", "inf", "-inf", "1e300", "-1e300", "9223372036854775808"})
        EXPECT_EQ(TruncateToUnsigned(ParseReal(szText)), 0u) << szText;

    // Where a locale with a decimal comma is installed, the program's own must not count.
    const bool bComma = std::setlocale(LC_ALL, "de_DE.UTF-8") != nullptr;
    EXPECT_EQ(ParseReal("0.5f"), 0.5) << bComma;
    std::setlocale(LC_ALL, "C");
}

TEST(FXCompilerUtil, NoTextIsReadBehindItsEnd)
{
    // Every function at every position of random texts that end in the middle of something. The sanitizer judges.
    const std::string_view pieces[] = {"#line ", "#include", "\"", "<",  ">", "- ", "[", "]",
                                       "12",     "sampler",  " ",  "\n", "=", "x",  ";", std::string_view("\0", 1)};
    std::mt19937 random(7);
    for (int nRound = 0; nRound < 3000; ++nRound)
    {
        std::string text;
        for (size_t n = random() % 8; n > 0; --n)
            text += pieces[random() % std::size(pieces)];
        for (size_t nStart = 0; nStart <= text.size(); ++nStart)
        {
            SWalk walk(text);
            const auto at = [&](auto&& call)
            {
                walk.nPosition = nStart;
                try
                {
                    call();
                }
                catch (const zhalt_exception&)
                {
                }
                EXPECT_LE(walk.nPosition, text.size());
            };
            const char* p = walk.text.data();
            const size_t s = text.size();
            uint32_t nNumber = 0;
            SLineDirective directive;
            at([&] { walk.Token(); });
            at([&] { walk.Quoted(); });
            at([&] { walk.Keyword("#line"); });
            at([&] { ReadDecimal(p, walk.nPosition, s, walk.nLine, nNumber); });
            at([&] { ReadArraySize(p, walk.nPosition, s, walk.nLine, 1); });
            at([&] { ExpectKeyword(p, walk.nPosition, s, walk.nLine, "sampler"); });
            at([&] { SkipLineDirective(p, walk.nPosition, s, walk.nLine); });
            at([&] { FindLineDirective(p, walk.nPosition, s, directive); });
            at([&] { FindLocation(p, walk.nPosition, s); });
        }
    }
}

} // namespace
