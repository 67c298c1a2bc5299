#include "host/options/commandline.h"
#include "host/text/hosterror.h"

#include <gtest/gtest.h>

using namespace Host;

namespace
{

struct SParsed
{
    SOptions options;
    int nExitCode = -1; ///< -1: run
    std::string sOut, sError;
};

SParsed Parse(std::vector<const char*> words)
{
    words.insert(words.begin(), "animpack");
    SParsed parsed;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    int nExitCode = 0;
    if (!ReadCommandLine(static_cast<int>(words.size()), words.data(), parsed.options, nExitCode))
        parsed.nExitCode = nExitCode;
    parsed.sOut = testing::internal::GetCapturedStdout();
    parsed.sError = testing::internal::GetCapturedStderr();
    return parsed;
}

using TWords = std::vector<std::string>;

} // namespace

TEST(CommandLine, PlatformsInEverySpelling)
{
    EXPECT_EQ(Parse({"build", "-t:pc", "-t:ps3"}).options.platforms, (TWords{"pc", "ps3"}));
    EXPECT_EQ(Parse({"build", "--target", "pc", "a.fbx", "--target=ps4"}).options.platforms, (TWords{"pc", "ps4"}));
    EXPECT_EQ(Parse({"build", "-t:pc,xbox360"}).options.platforms, (TWords{"pc", "xbox360"}));
    EXPECT_EQ(Parse({"build", "-t", "durango", "a.fbx"}).options.sources, TWords{"a.fbx"});
    EXPECT_EQ(Parse({"build"}).options.platforms, TWords{"pc"});
    for (const char* szWrong : {"-t:PC", "-t:toaster", "-t:"})
        EXPECT_EQ(Parse({"build", szWrong}).nExitCode, eExit_WrongUsage) << szWrong;
}

TEST(CommandLine, WordsOfEachCommand)
{
    const SParsed pack = Parse({"pack", "<assembly:/a.fbx>.pc.animationrig", "rigxml", "--param", "a", "--param", "b"});
    EXPECT_EQ(pack.nExitCode, -1) << pack.sError;
    EXPECT_EQ(pack.options.sources, TWords{"<assembly:/a.fbx>.pc.animationrig"});
    EXPECT_EQ(pack.options.sExtension, "rigxml");
    EXPECT_EQ(pack.options.parameters, (TWords{"a", "b"}));

    const SParsed scene = Parse({"scene", "f.fbx", "--at=-1,0.5", "--ticks=46186158000,-3", "--stack", ""});
    EXPECT_EQ(scene.nExitCode, -1) << scene.sError;
    EXPECT_EQ(scene.options.seconds, (std::vector<double>{-1.0, 0.5}));
    EXPECT_EQ(scene.options.ticks, (std::vector<int64_t>{46186158000, -3}));
    EXPECT_TRUE(scene.options.bStackGiven);
    EXPECT_FALSE(Parse({"scene", "f.fbx"}).options.bStackGiven);

    EXPECT_EQ(Parse({"inspect", "f", "--frames", "0,10"}).options.frames, (std::vector<uint32_t>{0, 10}));
    EXPECT_EQ(Parse({"build", "-j", "3", "--force", "--json"}).options.session.nWorkers, 3u);
}

TEST(CommandLine, WrongUsageSaysSoOnStandardError)
{
    const std::vector<std::vector<const char*>> wrong = {{},
                                                         {"conjure"},
                                                         {"pack"},
                                                         {"pack", "a.fbx"},
                                                         {"pack", "a", "b", "c"},
                                                         {"--colour-me"},
                                                         {"inspect"},
                                                         {"build", ""},
                                                         {"build", "--no-such-option"},
                                                         {"build", "-j", "many"},
                                                         {"build", "-j", "0"},
                                                         {"inspect", ""},
                                                         {"inspect", "f", "--frames", "1,,2"},
                                                         {"inspect", "f", "--frames", "-1"},
                                                         {"inspect", "f", "--frames", ""},
                                                         {"scene", "f", "--at", "now"},
                                                         {"scene", "f", "--at", "inf"},
                                                         {"build", "--assets", ""},
                                                         {"build", "--job-timeout", "nan"},
                                                         {"build", "--color", "sometimes"}};
    for (const auto& words : wrong)
    {
        const SParsed parsed = Parse(words);
        EXPECT_EQ(parsed.nExitCode, eExit_WrongUsage) << testing::PrintToString(words);
        EXPECT_TRUE(parsed.sOut.empty());
        EXPECT_NE(parsed.sError.find("error: "), std::string::npos);
    }
    for (const auto& [words, szHint] : {std::pair(std::vector<const char*>{"bild"}, "is 'build' meant?"),
                                        {{"build", "--fource"}, "of build; is '--force' meant?"},
                                        {{"build", "-t:ps5"}, "is 'ps4' meant?"},
                                        {{"--versoin"}, "is '--version' meant?"},
                                        {{"build", "--job-timeout", "-1"}, "'-1' is no number from 0 on"}})
        EXPECT_NE(Parse(words).sError.find(szHint), std::string::npos) << szHint << Parse(words).sError;
    EXPECT_GE(Parse({"build", "--job-timeout", "1e300"}).options.session.fJobTimeout, 1e300);
}

TEST(CommandLine, HelpGoesToStandardOutput)
{
    for (const std::vector<const char*>& words :
         {std::vector<const char*>{"--help"}, {"--version"}, {"pack", "--help"}, {"help", "pack"}, {"--help-all"}})
    {
        const SParsed parsed = Parse(words);
        EXPECT_EQ(parsed.nExitCode, eExit_Done);
        EXPECT_FALSE(parsed.sOut.empty());
        EXPECT_TRUE(parsed.sError.empty());
    }
    EXPECT_NE(Parse({"pack", "--help"}).sOut.find("animationrig"), std::string::npos);
}

TEST(CommandLine, WordsOfQueryStatsAndVerify)
{
    const SParsed query =
        Parse({"query", "--where", "a,b=1", "-w", "c>2", "--kind", "character,rig", "--columns", "FPS,A"});
    EXPECT_EQ(query.options.query.conditions, (TWords{"a,b=1", "c>2"}));
    EXPECT_EQ(query.options.query.kinds, (TWords{"chartype", "rig"}));
    EXPECT_EQ(query.options.query.columns, (TWords{"FPS", "A"}));
    const SParsed verify = Parse({"verify", "a", "b", "--max-mm", "0.5", "-t:ps3"});
    EXPECT_EQ(verify.options.fMaxMillimetres, 0.5);
    EXPECT_FALSE(verify.options.fMaxDegrees < 360.0) << "no bound";
    for (const std::vector<const char*>& wrong : {std::vector<const char*>{"verify", "--max-mm", "-1"},
                                                  {"query", "--limit", "0"},
                                                  {"query", "--kind", "bone"},
                                                  {"query", "walk"},
                                                  {"stats", "--top", "-1"},
                                                  {"stats", "pc"}})
        EXPECT_EQ(Parse(wrong).nExitCode, eExit_WrongUsage) << wrong[1];
}
