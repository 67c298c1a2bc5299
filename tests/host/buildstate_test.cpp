#include "host/index/scantext.h"
#include "host/state/buildstate.h"
#include "host/state/outputlock.h"
#include "host/text/hosterror.h"
#include "tests/support/tempfolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sqlite3.h>
#include <sstream>
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
             {SDependency::eDerived, "<assembly:/r.fbx>.pc.animationrig", {true, 7, 8}, 9}}};
}

std::string TextOf(const SBuildRecord& record)
{
    std::ostringstream text;
    text << record.sId << ' ' << record.sComponent << ' ' << record.sTools << ' ' << record.sFile << ' '
         << record.stamp.bExists << record.stamp.nSize << ' ' << record.stamp.nTime << ' ' << record.nHash;
    for (const SDependency& d : record.dependencies)
        text << '\n'
             << d.eKind << ' ' << d.sId << ' ' << d.stamp.bExists << d.stamp.nSize << ' ' << d.stamp.nTime << ' '
             << d.nHash;
    return text.str();
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
    EXPECT_EQ(TextOf(found), TextOf(saved));
}

TEST(BuildState, OldOrDamagedIsMadeAnewWithANotice)
{
    const ZTempFolder folder;
    const std::string sPath = folder / STATE_FILE;
    const auto change = [&](const char* szSql)
    {
        return [&sPath, szSql]
        {
            sqlite3* pDatabase = nullptr;
            sqlite3_open(sPath.c_str(), &pDatabase);
            EXPECT_EQ(sqlite3_exec(pDatabase, szSql, nullptr, nullptr, nullptr), SQLITE_OK);
            sqlite3_close(pDatabase);
        };
    };
    const auto rewrite = [&](const std::function<void(std::string&)>& spoil)
    {
        return [&, spoil]
        {
            std::string sBytes = folder.Read(STATE_FILE);
            spoil(sBytes);
            folder.Write(STATE_FILE, sBytes);
        };
    };
    const std::function<void()> ways[] = {
        change("PRAGMA user_version = 1"),
        change("PRAGMA application_id = 7"),
        change("DROP TABLE scan"),
        change("ALTER TABLE job RENAME COLUMN hash TO sum"),
        rewrite([](std::string& sBytes) { std::fill(sBytes.begin() + 5000, sBytes.end() - 1000, '\x55'); }),
        rewrite([](std::string& sBytes)
                { std::fill_n(sBytes.begin() + std::ptrdiff_t(sBytes.size() / 8192 * 4096), 4096, '\0'); }),
        rewrite([](std::string& sBytes) { sBytes.resize(sBytes.size() / 2); }),
        rewrite([](std::string& sBytes) { sBytes.assign(2000, 'x'); }),
    };
    size_t nWay = 0;
    for (const std::function<void()>& spoil : ways)
    {
        SCOPED_TRACE(nWay++);
        std::filesystem::remove(sPath);
        {
            ZBuildState state(sPath, &IgnoreNotice);
            for (int i = 0; i < 300; ++i)
                state.Save(Record("<assembly:/" + std::to_string(i) + ">.pc.animation"));
        }
        spoil();
        EXPECT_THROW(ZBuildState{sPath}, ZHostError) << "who only looks does not believe it either";
        int nNotices = 0;
        ZBuildState state(sPath, [&](const std::string&) { ++nNotices; });
        EXPECT_EQ(nNotices, 1);
        SBuildRecord record;
        EXPECT_FALSE(state.Find("<assembly:/1>.pc.animation", record));
        state.Save(Record("<assembly:/new>.pc.animation"));
        EXPECT_TRUE(state.Find("<assembly:/new>.pc.animation", record));
    }
    EXPECT_THROW(ZBuildState(folder / "no/such/folder/x", &IgnoreNotice), ZHostError);
    EXPECT_THROW(ZBuildState{folder / "absent"}, ZHostError);
}

TEST(BuildState, IndexKeepsWhatScansFound)
{
    const ZTempFolder folder;
    SSourceScan scan{"assembly:/a.fbx",
                     "",
                     {"assembly:/x.png", "assembly:/w.png"},
                     {{"author", "ana"}, {"", std::string("a\0b", 3)}},
                     {{"assembly:/a.fbx?/run.take", "assembly:/a.fbx", {"assembly:/r.fbx"}, {{"FPS", "30"}}},
                      {"assembly:/a.fbx?/hero.rig", "assembly:/other.fbx", {}, {}}}};
    const SSourceScan other{"assembly:/b.fbx", "", {}, {}, {}};
    const auto recordOf = [](const SSourceScan& source)
    {
        SBuildRecord record = Record(source.sSource);
        record.dependencies[0].sId = source.sSource;
        record.nHash = HashOfScan(EncodeScan(source));
        return record;
    };
    const auto visited = [](ZBuildState& state)
    {
        std::string sIds;
        state.VisitEntries([&](ZScanIndex::SEntry& entry)
                           { sIds += (entry.bIsSource ? "+" : "") + entry.sId.substr(10) + ' '; });
        return sIds;
    };
    {
        ZBuildState state(folder / STATE_FILE, &IgnoreNotice);
        state.Save(recordOf(scan), EncodeScan(other)); // what was saved first is no more
        state.Save(recordOf(scan), EncodeScan(scan));
        state.Save(recordOf(other), EncodeScan(other));
        state.SetAssets("/art");
    }
    ZBuildState state(folder / STATE_FILE, &IgnoreNotice);
    EXPECT_EQ(state.Assets(), "/art");
    SSourceScan found;
    ASSERT_TRUE(state.FindScan(recordOf(scan), found));
    EXPECT_EQ(ScanLine(found), ScanLine(scan));
    EXPECT_EQ(visited(state), "+a.fbx a.fbx?/run.take a.fbx?/hero.rig +b.fbx ");
    // A look that notes a new time alone leaves the scan; another content is not taken for it.
    state.Save(recordOf(scan));
    EXPECT_TRUE(state.FindScan(recordOf(scan), found));
    scan.properties["author"] = "bob";
    EXPECT_FALSE(state.FindScan(recordOf(scan), found));
    const auto sources = state.ScannedSources();
    ASSERT_EQ(sources.size(), 2u);
    EXPECT_EQ(sources[0].stamp, (SFileStamp{true, 5, -6}));
    SBuildRecord record;
    state.KeepSources({"assembly:/a.fbx"}, {"assembly:/b."});
    EXPECT_TRUE(state.Find("assembly:/b.fbx", record)) << "in a folder that can't be looked into";
    state.KeepSources({"assembly:/a.fbx", "assembly:/c.fbx"}, {});
    EXPECT_FALSE(state.Find("assembly:/b.fbx", record));
    state.Remove("assembly:/a.fbx");
    EXPECT_EQ(visited(state), "");
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
