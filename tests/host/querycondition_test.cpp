#include "host/index/querycondition.h"
#include "host/text/hosterror.h"
#include "host/text/texttable.h"

#include <gtest/gtest.h>

using namespace Host;

namespace
{

ZScanIndex::SEntry Walk()
{
    return {"assembly:/a/b.fbx?/Walk.1.take",
            "assembly:/a/b.fbx",
            false,
            {},
            {{"FPS", "30"}, {"fps", "29.97"}, {"Length", "1e1"}, {"Note", "=x"}, {"Rig", ""}, {"Track", "Bones|FOV"}}};
}

bool Holds(std::string_view text)
{
    return SCondition::Parse(text).Holds(Walk());
}

} // namespace

TEST(QueryPattern, WholeTextInAnyCase)
{
    const std::tuple<std::string_view, std::string_view, bool> cases[] = {{"walk", "WALK", true},
                                                                          {"walk", "wal", false},
                                                                          {"walk", "*", true},
                                                                          {"", "*", true},
                                                                          {"", "?", false},
                                                                          {"walk", "w?l?", true},
                                                                          {"walk", "*k*", true},
                                                                          {"walk", "*a*l*", true},
                                                                          {"walk", "*l*a*", false},
                                                                          {"walk", "[v-x]*", true},
                                                                          {"walk", "[!v-x]*", false},
                                                                          {"wal-", "wal[k-]", true},
                                                                          {"walk", "[W]alk", true},
                                                                          {"a]b", "a[]]b", true},
                                                                          {"a[b", "a[b", true},
                                                                          {"aab", "*ab", true},
                                                                          {"walk/run", "walk*", true},
                                                                          {"a.b", "a?b", true},
                                                                          {"ab", "a**b*", true}};
    for (const auto& [text, pattern, bMatches] : cases)
        EXPECT_EQ(MatchesPattern(text, pattern), bMatches) << text << " like " << pattern;
    // Stars that could share the text out in a great many ways.
    const std::string sLong(20000, 'a');
    std::string sPattern;
    for (int i = 0; i < 40; ++i)
        sPattern += "*a";
    EXPECT_TRUE(MatchesPattern(sLong, sPattern));
    EXPECT_FALSE(MatchesPattern(sLong, sPattern + "b"));
}

TEST(QueryCondition, NumbersTextsAndNames)
{
    for (const char* szHolds :
         {"FPS=30", "FPS == 30.0", "fps<30", "Length>9", "Length>=10", "FPS!=29", "Track~*fov", "Track!~*tra*",
          "track=BONES|fov", "Note='=x'", "Note!=\"\"", "Rig=", "Rig<a", "name=walk.1", "kind~t*", "id~*?/walk*",
          "source=ASSEMBLY:/a/b.fbx", "Length<+11", "Note>1"})
        EXPECT_TRUE(Holds(szHolds)) << szHolds;
    for (const char* szFails : {"FPS=31", "FPS<30", "length<9", "Track=bones", "Missing=1", "Missing!=1", "Missing!~*",
                                "Rig!=", "Rig>0", "Length>nan", "kind=rig"})
        EXPECT_FALSE(Holds(szFails)) << szFails;
    EXPECT_EQ(CompareValues("10", "9"), std::weak_ordering::greater);
    EXPECT_EQ(CompareValues("10", "9x"), std::weak_ordering::less) << "as texts unless both are numbers";
    ZScanIndex::SEntry source = Walk();
    source.bIsSource = true;
    EXPECT_EQ(KindOf(source), "source");
    for (const char* szWrong : {"", "FPS", "=3", " =3", "FPS!3", "FPS!", "FPS=>3", "FPS>", "FPS~ ", "a=<b"})
        EXPECT_THROW(SCondition::Parse(szWrong), ZUsageError) << szWrong;
}

TEST(QueryCondition, NearestName)
{
    const std::vector<std::string> names = {"FPS", "DurationSeconds", "ACD_TotalLinearXDelta", "ACD_TotalLinearDelta"};
    EXPECT_EQ(NearestName("FSP", names), "FPS");
    EXPECT_EQ(NearestName("duration", names), "DurationSeconds");
    EXPECT_EQ(NearestName("ACD_TotalLineerDelta", names), "ACD_TotalLinearDelta");
    EXPECT_EQ(NearestName("Colour", names), "");
    EXPECT_EQ(NearestName("FPS", {}), "");
}

TEST(TextTable, ColumnsLineUp)
{
    ZTextTable table({"name", "n", "mixed"});
    table.Add({"ärger", "1.5", "7"});
    table.Add({"b\nc", "-100", "x"});
    table.Add({"", "", ""});
    EXPECT_EQ(table.Text(" "), " name      n  mixed\n"
                               " ärger   1.5  7\n"
                               " b c    -100  x\n"
                               " -         -  -\n");
    EXPECT_EQ(ZTextTable({"a", "bc"}).Text(), "a  bc\n");
}
