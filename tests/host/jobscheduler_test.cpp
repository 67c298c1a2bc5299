#include "host/build/jobscheduler.h"
#include "host/build/workermain.h"
#include "host/files/outputpath.h"
#include "host/files/resourceids.h"
#include "host/module/hostmodule.h"
#include "tests/host/fakemodule.h"
#include "tests/support/tempfolder.h"

#include <gtest/gtest.h>

using namespace Host;

namespace
{

/// One run of the host over a test's tree, as the commands make it.
class JobSchedulerTest : public testing::Test
{
protected:
    static SJob Take(const std::string& sFile) { return {SJob::ePack, "<assembly:/" + sFile + ">.pc.animation"}; }
    static SJob Rig(const std::string& sFile) { return {SJob::ePack, "<assembly:/" + sFile + ">.pc.animationrig"}; }
    static std::string Need(const std::string& sFile) { return "need " + Rig(sFile).sId + '\n'; }

    /// Results in the order in which they were told.
    std::vector<SJobResult> Run(const std::vector<SJob>& jobs, size_t nWorkers = 2)
    {
        RegisterHostModules();
        RegisterFakeModule();
        std::vector<SJobResult> results;
        const ZAssetTree tree(folder / "tree");
        ZBuildState state(folder / STATE_FILE, [](const std::string&) {});
        const std::string sOut = folder / "out";
        ZStaleness staleness(tree, sOut, state, sTools);
        ZWorkerPool pool(nWorkers + 1, {0, 1.0}, [&](ZLineChannel& channel) { RunJobsOf(channel, {tree, sOut}); });
        ZJobScheduler scheduler(
            {pool, state, staleness, bForce}, [&](const SJobResult& result) { results.push_back(result); },
            [](size_t, size_t, const SJob&) {});
        scheduler.Run(jobs);
        return results;
    }
    /// "take.fbx packed" and so on, one a line.
    static std::string Told(const std::vector<SJobResult>& results)
    {
        std::string sText;
        for (const SJobResult& result : results)
            sText += result.job.Source().substr(10) + ' ' + std::string(NameOf(result.eStatus)) + '\n';
        return sText;
    }
    std::string Output(const SJob& job) const { return folder.Read("out/" + OutputPathOf(ToId(job.sId))); }
    void Source(const std::string& sName, const std::string& sText) const { folder.Write("tree/" + sName, sText); }
    static bool HasMessage(const SJobResult& result, ESeverity eSeverity, const std::string& sPart)
    {
        for (const SMessage& message : result.messages)
            if (message.eSeverity == eSeverity && message.sText.find(sPart) != std::string::npos)
                return true;
        return false;
    }

    ZTempFolder folder;
    std::string sTools = "1";
    bool bForce = false;
};

} // namespace

TEST_F(JobSchedulerTest, PacksWithMessagesAndThePlatformOfEachJob)
{
    Source("a.fbx", "info hello\nwarning be\tw\\are\nwrite A for \nplatform\n");
    const SJob ps3{SJob::ePack, "<assembly:/a.fbx>.ps3.animation"};
    const auto results = Run({Take("a.fbx"), ps3});
    EXPECT_EQ(Told(results), "a.fbx packed\na.fbx packed\n");
    EXPECT_EQ(Output(Take("a.fbx")), "A for pc");
    EXPECT_EQ(Output(ps3), "A for ps3");
    EXPECT_EQ(results[0].nBytes, 8u);
    EXPECT_TRUE(HasMessage(results[0], ESeverity::eInfo, "hello"));
    EXPECT_TRUE(HasMessage(results[0], ESeverity::eWarning, "be\tw\\are"));
}

TEST_F(JobSchedulerTest, EveryWayToFailIsThatJobsAlone)
{
    const std::tuple<const char*, EJobStatus, const char*> cases[] = {
        {"fail no bones", EJobStatus::eFailed, "no bones"},
        {"fail", EJobStatus::eFailed, "without giving a reason"},
        {"halt", EJobStatus::eFailed, "halted: a condition that must never occur"},
        {"assert", EJobStatus::eFailed, "assertion failed: pigs > wings"},
        {"throw", EJobStatus::eFailed, "SModulesOwnException"},
        {"abort", EJobStatus::eCrashed, "SIGABRT"},
        {"hang", EJobStatus::eCrashed, "took longer than"},
        {"keep-open", EJobStatus::eFailed, "has not released its output"},
    };
    std::vector<SJob> jobs;
    for (const auto& [szOrder, eStatus, szMessage] : cases)
    {
        const std::string sName = "bad" + std::to_string(jobs.size()) + ".fbx";
        Source(sName, std::string("write half\n") + szOrder + '\n');
        Source("good" + sName, "write good\n");
        jobs.push_back(Take(sName));
        jobs.push_back(Take("good" + sName));
    }
    const auto results = Run(jobs);
    ASSERT_EQ(results.size(), jobs.size());
    size_t n = 0;
    for (const auto& [szOrder, eStatus, szMessage] : cases)
    {
        SCOPED_TRACE(szOrder);
        EXPECT_EQ(results[n].job.sId, jobs[n].sId);
        EXPECT_EQ(results[n].eStatus, eStatus);
        EXPECT_TRUE(HasMessage(results[n], ESeverity::eError, szMessage));
        EXPECT_EQ(Output(jobs[n++]), "(none)");
        EXPECT_EQ(results[n].eStatus, EJobStatus::ePacked);
        EXPECT_EQ(Output(jobs[n++]), "good");
    }
    // The missing source is told of by what the module traced.
    EXPECT_TRUE(HasMessage(Run({Take("none.fbx")})[0], ESeverity::eError, "no source"));
    // Nothing else is there, the unfinished files of crashed processes included.
    EXPECT_EQ(folder.FileCount("out"), std::size(cases));
}

TEST_F(JobSchedulerTest, WhatIsNeededIsPackedOnceAndToldBeforeItsFirstUser)
{
    Source("rig.fbx", "write R\n");
    for (const char* szName : {"a", "b", "c", "d", "e"})
        Source(szName + std::string(".fbx"), Need("rig.fbx") + "write " + szName + '\n');
    const std::vector<SJob> takes = {Take("a.fbx"), Take("b.fbx"), Take("c.fbx"), Take("d.fbx"), Take("e.fbx")};
    const char* szExpected = "rig.fbx packed\na.fbx packed\nb.fbx packed\nc.fbx packed\nd.fbx packed\ne.fbx packed\n";
    for (const size_t nWorkers : {1u, 2u, 5u})
    {
        bForce = true;
        EXPECT_EQ(Told(Run(takes, nWorkers)), szExpected) << nWorkers;
        EXPECT_EQ(Output(takes[4]), "[R]e");
    }
    bForce = false;
    EXPECT_EQ(Told(Run({takes[1], takes[0]})), "b.fbx upToDate\na.fbx upToDate\n");
}

TEST_F(JobSchedulerTest, AFailureOrCrashOfWhatIsNeededFailsItsUsers)
{
    Source("bad.fbx", "fail torn\n");
    Source("crash.fbx", "abort\n");
    Source("a.fbx", "write a\n" + Need("bad.fbx"));
    Source("b.fbx", "write b\n" + Need("bad.fbx"));
    Source("c.fbx", "info once\n" + Need("crash.fbx"));
    Source("d.fbx", Need("crash.fbx"));
    Source("e.fbx", "need <assembly:/x.events?/run.eventtracks>.pc.rtet\n");
    const auto results = Run({Take("a.fbx"), Take("b.fbx"), Take("c.fbx"), Take("d.fbx"), Take("e.fbx")}, 3);
    EXPECT_EQ(Told(results), "bad.fbx failed\na.fbx failed\nb.fbx failed\ncrash.fbx crashed\nc.fbx failed\n"
                             "d.fbx failed\ne.fbx failed\n");
    EXPECT_TRUE(HasMessage(results[4], ESeverity::eInfo, "SIGABRT"));
    EXPECT_EQ(std::count_if(results[4].messages.begin(), results[4].messages.end(),
                            [](const SMessage& message) { return message.sText == "once"; }),
              1)
        << "the first try around the crash has left nothing";
    EXPECT_TRUE(HasMessage(results[6], ESeverity::eError, "made elsewhere"));
}

TEST_F(JobSchedulerTest, ARingOfNeedsEnds)
{
    Source("self.fbx", Need("self.fbx"));
    Source("a.fbx", Need("b.fbx"));
    Source("b.fbx", Need("c.fbx"));
    Source("c.fbx", Need("a.fbx"));
    for (const size_t nWorkers : {1u, 3u})
    {
        const auto results = Run({Rig("self.fbx"), Rig("a.fbx"), Rig("b.fbx"), Rig("c.fbx")}, nWorkers);
        ASSERT_EQ(results.size(), 4u);
        for (const SJobResult& result : results)
            EXPECT_EQ(result.eStatus, EJobStatus::eFailed);
        EXPECT_TRUE(HasMessage(results[0], ESeverity::eError, "a ring"));
    }
}

/// What makes a packed resource stale, and what does not.
TEST_F(JobSchedulerTest, OnlyWhatChangedIsPackedAgain)
{
    const auto touch = [this](const std::string& sName, int nSeconds)
    {
        const auto path = folder / sName;
        std::filesystem::last_write_time(path, std::filesystem::last_write_time(path) + std::chrono::seconds(nSeconds));
    };
    const auto write = [&](const std::string& sName, const std::string& sText)
    {
        Source(sName, sText);
        touch("tree/" + sName, 10); // two writes within one tick of the disk's clock
    };
    const SJob take = Take("take.fbx");
    const std::string sOutput = "out/" + OutputPathOf(ToId(take.sId));
    Source("take.fbx",
           "write T\nuse assembly:/seen.txt\nuse assembly:/absent.txt\ndepend assembly:/told.txt\n" + Need("rig.fbx"));
    Source("rig.fbx", "write R\n");
    Source("seen.txt", "s");
    Source("told.txt", "t");
    const char* szPacked = "take.fbx packed\n";
    const char* szBoth = "rig.fbx packed\ntake.fbx packed\n";
    const char* szSame = "take.fbx upToDate\n";
    const std::tuple<const char*, std::function<void()>, const char*> cases[] = {
        {"the first time", [] {}, szBoth},
        {"nothing", [] {}, szSame},
        {"the time of a source alone", [&] { touch("tree/seen.txt", 5); }, szSame},
        {"the time of the output alone", [&] { touch(sOutput, 5); }, szSame},
        {"a source that was read", [&] { write("seen.txt", "S"); }, szPacked},
        {"a source that was told of", [&] { write("told.txt", "longer"); }, szPacked},
        {"a source that was not there", [&] { write("absent.txt", "x"); }, szPacked},
        {"and is gone again", [&] { std::filesystem::remove(folder / "tree/absent.txt"); }, szPacked},
        {"the output is gone", [&] { std::filesystem::remove(folder / sOutput); }, szPacked},
        {"the output was tampered with", [&] { folder.Write(sOutput, "tampered"); }, szPacked},
        {"the source of what it needs", [&] { write("rig.fbx", "write Q\n"); }, szBoth},
        {"the packed file of what it needs is gone",
         [&] { std::filesystem::remove(folder / ("out/" + OutputPathOf(ToId(Rig("rig.fbx").sId)))); }, szBoth},
        {"the tools", [&] { sTools = "2"; }, szBoth},
        {"the state is damaged",
         [&]
         {
             folder.Write(STATE_FILE, "no database, but longer than a header of one is, so "
                                      "that it can't pass for an empty file at least");
         },
         szBoth},
        {"force", [&] { bForce = true; }, szBoth},
    };
    for (const auto& [szLabel, change, szTold] : cases)
    {
        SCOPED_TRACE(szLabel);
        bForce = false;
        change();
        EXPECT_EQ(Told(Run({take})), szTold);
        bForce = false;
        EXPECT_EQ(Told(Run({take})), szSame) << "and that is that";
    }
    EXPECT_EQ(Output(take), "T[S][Q]");

    // Another path to the same packed bytes does not reach those who need them.
    write("rig.fbx", "info changed\nwrite Q\n");
    EXPECT_EQ(Told(Run({Rig("rig.fbx"), take})), "rig.fbx packed\ntake.fbx upToDate\n");

    // A failure takes the old file with it, and is not remembered as done.
    write("seen.txt", "again");
    write("take.fbx", "fail now\n");
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(Told(Run({take})), "take.fbx failed\n");
    EXPECT_EQ(Output(take), "(none)");
}

TEST_F(JobSchedulerTest, ManyFilesArePublishedInBatches)
{
    // Each third one needs the rig before it, which may be done but for its file.
    std::vector<SJob> jobs;
    std::string sTold;
    for (int n = 0; n < 60; ++n)
    {
        const std::string sName = "f" + std::to_string(n) + ".fbx";
        const std::string sBefore = "f" + std::to_string(n - 1) + ".fbx";
        Source(sName, n % 3 == 2 ? Need(sBefore) + "write B" : "write A");
        jobs.push_back(n % 3 == 1 ? Rig(sName) : Take(sName));
        sTold += sName + (n == 30 ? " failed\n" : " packed\n");
    }
    // Nothing can be renamed to a folder that holds something.
    folder.Write("out/" + OutputPathOf(ToId(jobs[30].sId)) + "/in the way", "");
    const auto results = Run(jobs, 3);
    EXPECT_EQ(Told(results), sTold);
    EXPECT_TRUE(HasMessage(results[30], ESeverity::eError, "cannot rename to '"));
    EXPECT_EQ(results[30].sFile, "");
    for (size_t n = 0; n < jobs.size(); ++n)
    {
        const std::string sStart = n % 3 == 2 ? "[A" : "A"; // of what was needed
        EXPECT_TRUE(n == 30 || Output(jobs[n]).starts_with(sStart)) << n;
    }
    for (const auto& file : std::filesystem::recursive_directory_iterator(folder.Path()))
        EXPECT_EQ(file.path().filename().string().find(".part"), std::string::npos) << "nothing passing stays";
    const auto again = Run(jobs, 3);
    EXPECT_EQ(again[5].eStatus, EJobStatus::eUpToDate);
    EXPECT_EQ(again[30].eStatus, EJobStatus::eFailed);
}
