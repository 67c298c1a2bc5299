#include "host/buildstate.h"
#include "host/hosterror.h"
#include "tests/host/tempfolder.h"

#include <gtest/gtest.h>

#include <sqlite3.h>
#include <thread>

using namespace Host;

namespace
{

void IgnoreNotice(const std::string&) {}

SBuildRecord Record(const std::string& sId)
{
    return {sId,
            "AnimationPacker",
            "f00",
            "pc/a.fbx/@.animation",
            {true, 12, 34},
            0xfedcba9876543210u,
            {{SDependency::eSource, "assembly:/a.fbx", {true, 5, -6}, 0x8000000000000000u},
             {SDependency::eSource, "assembly:/b.events", {}, 0},
             {SDependency::eDerived, "<assembly:/r.fbx>.pc.animationrig", {true, 7, 8}, 9}},
            "{}"};
}

} // namespace

TEST(BuildState, KeepsRecordsBetweenRuns)
{
    const ZTempFolder folder;
    const SBuildRecord saved = Record("<assembly:/a.fbx>(x|y).pc.animation");
    {
        ZBuildState state(folder / STATE_FILE, &IgnoreNotice);
        SBuildRecord record = saved;
        record.dependencies.resize(1);
        state.Save(record);
        state.Save(saved); // replaces
        state.Save(Record("<assembly:/gone.fbx>.pc.animation"));
        state.Remove("<assembly:/gone.fbx>.pc.animation");
    }
    ZBuildState state(folder / STATE_FILE, &IgnoreNotice);
    SBuildRecord found;
    EXPECT_FALSE(state.Find("<assembly:/gone.fbx>.pc.animation", found));
    ASSERT_TRUE(state.Find(saved.sId, found));
    EXPECT_EQ(found.sComponent, saved.sComponent);
    EXPECT_EQ(found.sTools, saved.sTools);
    EXPECT_EQ(found.sFile, saved.sFile);
    EXPECT_EQ(found.stamp, saved.stamp);
    EXPECT_EQ(found.nHash, saved.nHash);
    EXPECT_EQ(found.sScan, saved.sScan);
    ASSERT_EQ(found.dependencies.size(), saved.dependencies.size());
    for (size_t n = 0; n < found.dependencies.size(); ++n)
    {
        EXPECT_EQ(found.dependencies[n].eKind, saved.dependencies[n].eKind);
        EXPECT_EQ(found.dependencies[n].sId, saved.dependencies[n].sId);
        EXPECT_EQ(found.dependencies[n].stamp, saved.dependencies[n].stamp);
        EXPECT_EQ(found.dependencies[n].nHash, saved.dependencies[n].nHash);
    }
}

TEST(BuildState, OldOrDamagedIsMadeAnewWithANotice)
{
    const ZTempFolder folder;
    const std::string sPath = folder / STATE_FILE;
    const auto makeAnother = [&]
    {
        sqlite3* pDatabase = nullptr;
        sqlite3_open(sPath.c_str(), &pDatabase);
        sqlite3_exec(pDatabase, "CREATE TABLE job(id); PRAGMA user_version = 77", nullptr, nullptr, nullptr);
        sqlite3_close(pDatabase);
    };
    const auto damage = [&]
    {
        {
            ZBuildState state(sPath, &IgnoreNotice);
            for (int i = 0; i < 300; ++i)
                state.Save(Record("<assembly:/" + std::to_string(i) + ">.pc.animation"));
        }
        std::string sBytes = folder.Read(STATE_FILE);
        std::fill(sBytes.begin() + 5000, sBytes.end() - 1000, '\x55');
        folder.Write(STATE_FILE, sBytes);
    };
    for (const std::function<void()>& spoil :
         {std::function<void()>(makeAnother), std::function<void()>(damage),
          std::function<void()>([&] { folder.Write(STATE_FILE, std::string(2000, 'x')); })})
    {
        std::filesystem::remove(sPath);
        spoil();
        int nNotices = 0;
        ZBuildState state(sPath, [&](const std::string&) { ++nNotices; });
        EXPECT_EQ(nNotices, 1);
        SBuildRecord record;
        EXPECT_FALSE(state.Find("<assembly:/1>.pc.animation", record));
        state.Save(Record("<assembly:/new>.pc.animation"));
        EXPECT_TRUE(state.Find("<assembly:/new>.pc.animation", record));
    }
    EXPECT_THROW(ZBuildState(folder / "no/such/folder/x", &IgnoreNotice), ZHostError);
}

TEST(BuildState, KnowsWhenARunWasCutShort)
{
    const ZTempFolder folder;
    const auto begin = [&](bool bEndsWell)
    {
        ZBuildState state(folder / STATE_FILE, &IgnoreNotice);
        const bool bCutShort = state.BeginRun();
        if (bEndsWell)
            state.EndRun();
        return bCutShort;
    };
    EXPECT_FALSE(begin(true));
    EXPECT_FALSE(begin(false));
    EXPECT_TRUE(begin(true));
    EXPECT_FALSE(begin(true));
}

TEST(OutputLock, OneRunAtATime)
{
    const ZTempFolder folder;
    EXPECT_FALSE(ZOutputLock(folder / "out").IsHeld()) << "a reader makes no folder";
    std::thread second;
    {
        const ZOutputLock first(folder / "out", &IgnoreNotice);
        EXPECT_TRUE(first.IsHeld());
        EXPECT_FALSE(ZOutputLock(folder / "out").IsHeld());
        std::atomic<bool> bTold = false;
        second = std::thread(
            [&]
            {
                const ZOutputLock waits(folder / "out", [&](const std::string&) { bTold = true; });
                EXPECT_TRUE(waits.IsHeld());
            });
        while (!bTold)
            std::this_thread::yield();
    }
    second.join();
    folder.Write("file", "");
    EXPECT_THROW(ZOutputLock(folder / "file/out", &IgnoreNotice), ZHostError);
}
