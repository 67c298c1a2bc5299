#include "host/files/outputpath.h"
#include "host/files/resourceids.h"

#include <gtest/gtest.h>

#include <iterator>
#include <map>
#include <sstream>
#include <vector>

using namespace Host;

namespace
{

std::string Place(const std::string& sId)
{
    return OutputPathOf(ToId(sId));
}

std::vector<std::string> Words(const std::string& sText)
{
    std::istringstream words(sText);
    return {std::istream_iterator<std::string>(words), {}};
}

} // namespace

TEST(OutputPath, PlainIdentifiersAreReadable)
{
    EXPECT_EQ(Place("<assembly:/a/Hero.fbx?/Walk.take>.pc.animation"), "pc/a/hero.fbx/walk.take.animation");
    EXPECT_EQ(Place("<assembly:/a/hero.fbx?/walk.take>(noevents).ps3.animation"),
              "ps3/a/hero.fbx/walk.take(noevents).animation");
    EXPECT_EQ(Place("<assembly:/a/rig.fbx>.pc.animationrig"), "pc/a/rig.fbx/@.animationrig");
    EXPECT_EQ(Place("<<assembly:/a/rig.fbx?/r.rig>.pc.animationrig>.pc.rigxml"),
              "pc/a/rig.fbx/r.rig.animationrig.rigxml");
    // What is too long for a disk is shortened in its last part alone.
    const std::string sLong =
        Place("<assembly:/a/hero.fbx?/" + std::string(190, 'w') + ".take>(" + std::string(190, 'r') + ").pc.animation");
    EXPECT_EQ(sLong.rfind('/'), std::string("pc/a/hero.fbx").size());
    EXPECT_LE(sLong.size(), std::string("pc/a/hero.fbx/").size() + 255);
    EXPECT_EQ(sLong.find("pc/a/hero.fbx/ww"), 0u) << sLong;
}

TEST(OutputPath, OnlyWhatCanBePackedHasAPlace)
{
    for (const char* szId : {"", "assembly:/a.fbx", "<assembly:/a.fbx>.pc.conjured", "<assembly:/a.fbx>",
                             "<>.pc.animation", "<assembly:/a.fbx>().pc.animation"})
        EXPECT_EQ(Place(szId), "") << szId;
}

/// Identifiers that look alike: each has a place of its own, none is a folder of another, and none leads out.
TEST(OutputPath, NoTwoShareAPlace)
{
    std::vector<std::string> sources = Words(
        "a/b.fbx a/b.fbx? a/b.fbx?/ a/b.fbx?// a/b.fbx?walk a/b.fbx?/walk a/b.fbx?//walk a/b.fbx/walk a//b.fbx?/walk "
        "a/b.fbx?/@ a/b.fbx/@ a/b.fbx/@.animation a/b.fbx?/@.animation a/b.fbx?/walk.animation "
        "a/b.fbx/walk.animation/x a/b.fbx?/walk.animation/x a/b.fbx?/walk% a/b.fbx?/walk%25 a/b.fbx?/walk(noevents) "
        "a/b.fbx?/%-walk a/../b.fbx?/walk ../b.fbx?/walk ./b.fbx?/walk .b.fbx?/walk b.fbx?/walk b.fbx?/walk. "
        "other/a/b.fbx?/walk %=other/a/b.fbx?/walk a/b.fbx?/walk.animationrig a/b.fbx?/walk.animationrig%=ps3");
    for (std::string& sSource : sources)
        sSource.insert(0, "assembly:/");
    for (const char* szMore :
         {"assembly:/b.fbx?/walk ", "other:/a/b.fbx?/walk", "<assembly:/a/b.fbx?/walk>.pc.animationrig",
          "<assembly:/a/b.fbx?/walk>.ps3.animationrig", "<assembly:/a/b.fbx?/walk>(p).pc.animationrig",
          "<assembly:/a/b.fbx?/walk.animationrig>.pc.animationrig"})
        sources.push_back(szMore);
    for (const size_t nLength : {300u, 301u})
        sources.push_back("assembly:/" + std::string(nLength, 'x') + "?/walk");
    for (const size_t nLength : {400u, 401u})
        sources.push_back("assembly:/a?/" + std::string(nLength, '%'));
    std::vector<std::string> parameters = Words("(noevents) (a|b) (a+b) (a%7cb) (|) (a|) (|a) "
                                                "(<assembly:/r>(x|y).pc.animationrig)");
    for (const std::string& sMore : {std::string(), "(" + std::string(90, 'p') + ")", "(" + std::string(91, 'p') + ")"})
        parameters.push_back(sMore);
    std::map<std::string, std::string> places;
    for (const std::string& sSource : sources)
        for (const std::string& sParameters : parameters)
            for (const char* szEnd : {".pc.animation", ".ps3.animation", ".pc.animationrig"})
            {
                const std::string sId = '<' + sSource + '>' + sParameters + szEnd;
                const std::string sPlace = Place(sId);
                ASSERT_FALSE(sPlace.empty()) << sId;
                const auto [it, bNew] = places.emplace(sPlace, sId);
                EXPECT_TRUE(bNew) << sPlace << " is both of " << sId << " and of " << it->second;
                EXPECT_EQ(("/" + sPlace + "/").find("/../"), std::string::npos) << sPlace;
                EXPECT_EQ(("/" + sPlace + "/").find("/./"), std::string::npos) << sPlace;
                EXPECT_EQ(sPlace.find("//"), std::string::npos) << sPlace;
                size_t nStart = 0;
                for (size_t nEnd; nStart < sPlace.size(); nStart = nEnd + 1)
                {
                    nEnd = std::min(sPlace.find('/', nStart), sPlace.size());
                    EXPECT_LE(nEnd - nStart, 255u) << sPlace;
                }
            }
    for (const auto& [sPlace, sId] : places)
        for (size_t nSlash = sPlace.find('/'); nSlash != std::string::npos; nSlash = sPlace.find('/', nSlash + 1))
            EXPECT_FALSE(places.contains(sPlace.substr(0, nSlash))) << sPlace << " lies below a file";
}

TEST(OutputPath, TellsItsIdentifier)
{
    const std::string sLong(130, 'n');
    for (const std::string& sId : {
             std::string("<assembly:/a/hero.fbx?/walk.take>.pc.animation"),
             std::string("<assembly:/a/hero.fbx?/walk.take>(noevents).ps3.animation"),
             std::string("<assembly:/a/h.fbx?/w.take>(assembly:/r,1.fbx?/r.rig|no+events).pc.animation"),
             std::string("<assembly:/a/rig.fbx>.pc.animationrig"),
             std::string("<assembly:/100%/a (b)/@.fbx?walk>.pc.animation"),
             std::string("<assembly:/a.animation?/b.animation>.pc.animation"),
             std::string("<assembly:/a//b.fbx?/(x).take>.pc.animation"),
         })
    {
        const std::string sPlace = Place(sId);
        const std::string sTold = IdOfOutputPath(sPlace);
        // An empty answer is honest, another identifier is not.
        EXPECT_TRUE(sTold == sId || sTold.empty()) << sPlace << " of " << sId << " tells " << sTold;
        EXPECT_EQ(sTold.empty(), sId.find("//") != std::string::npos) << sPlace;
    }
    EXPECT_EQ(IdOfOutputPath(Place("<assembly:/" + sLong + ".fbx?/a.take>.pc.animation")), "")
        << "only a hash of it is there";
    for (const char* szNone : {"", "/", "pc", "pc/a.animation", "pc/a/b", "pc/a/%zz.animation", "pc/a/%", "a/b.c/d"})
        EXPECT_EQ(IdOfOutputPath(szNone), "") << szNone;
}

TEST(OutputPath, ReportsStandAside)
{
    EXPECT_EQ(ReportPathOf(ToId("assembly:/Stats/Memory.txt"), "ps3"), "ps3/stats/memory.txt");
    EXPECT_EQ(ReportPathOf(ToId("assembly:/a.fbx/w.take.animation"), "pc"), "pc/a.fbx/w.take.animation%");
    EXPECT_EQ(ReportPathOf(ToId("assembly:/../x.txt"), "pc"), "pc/%2e%2e/x.txt") << "no way out";
    for (const char* szId : {"", "memory.txt", "assembly:/", "assembly:/a/", "assembly:/a.fbx?/b.take",
                             "<assembly:/a.fbx>.pc.animationrig"})
        EXPECT_EQ(ReportPathOf(ToId(szId), "pc"), "") << szId;
}
