#include "host/workers/workerpool.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <map>
#include <new>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace Host;

namespace
{

/// A worker that does what its lines say.
void Obey(ZLineChannel& channel)
{
    std::string sLine;
    while (channel.Receive(sLine))
    {
        if (sLine == "trap")
        {
            std::signal(SIGSEGV, SIG_DFL); // a sanitizer has a handler of its own
            std::raise(SIGSEGV);
        }
        if (sLine == "hang")
            for (;;)
                ::pause();
        if (sLine == "leave")
            return;
        if (sLine == "throw")
            throw std::runtime_error("a worker's own exception");
        if (sLine == "eat")
        {
            try
            {
                std::vector<std::unique_ptr<char[]>> blocks;
                for (int i = 0; i < 200; ++i)
                {
                    blocks.push_back(std::make_unique_for_overwrite<char[]>(size_t(16) << 20));
                }
                sLine = "ate it all";
            }
            catch (const std::bad_alloc&)
            {
                sLine = "no more";
            }
        }
        if (sLine == "abort")
        {
            channel.Send("last words");
            std::abort();
        }
        channel.Send(sLine);
    }
}

ZWorkerPool::SEvent Next(ZWorkerPool& pool)
{
    ZWorkerPool::SEvent event;
    if (!pool.Wait(event, 20.0))
        event.sText = "(nothing came)";
    return event;
}

} // namespace

TEST(WorkerPool, AnEndHasItsReasonAndTheNextJobANewWorker)
{
    ZWorkerPool pool(1, {0, 1.0}, &Obey);
    const std::pair<const char*, const char*> cases[] = {
        {"abort", "SIGABRT"},       {"trap", "SIGSEGV"},        {"hang", "took longer than 1 seconds"},
        {"leave", "exit status 0"}, {"throw", "exit status 1"},
    };
    for (const auto& [szLine, szReason] : cases)
    {
        pool.Send(0, szLine);
        const bool bLastWords = std::string_view(szLine) == "abort";
        EXPECT_TRUE(!bLastWords || Next(pool).sText == "last words");
        const ZWorkerPool::SEvent end = Next(pool);
        EXPECT_TRUE(end.bEnded) << szLine;
        EXPECT_NE(end.sText.find(szReason), std::string::npos) << end.sText;
        pool.Send(0, "echo");
        EXPECT_EQ(Next(pool).sText, "echo");
        pool.StopClock(0);
    }
}

TEST(WorkerPool, AStoppedClockIsPatient)
{
    ZWorkerPool pool(2, {0, 0.3}, &Obey);
    pool.Send(0, "hang");
    pool.StopClock(0);
    ZWorkerPool::SEvent event;
    EXPECT_FALSE(pool.Wait(event, 0.8));
    pool.Send(0, "wake up"); // and it counts again
    EXPECT_TRUE(pool.Wait(event, 5.0));
    EXPECT_TRUE(event.bEnded);
}

TEST(WorkerPool, LongLinesAndManyWorkers)
{
    ZWorkerPool pool(4, {0, 1e300}, &Obey); // longer than any clock goes
    std::map<size_t, std::string> sent;
    for (size_t n = 0; n < 4; ++n)
    {
        sent[n] = std::string(300000 + n, static_cast<char>('a' + n));
        pool.Send(n, sent[n]);
    }
    for (size_t i = 0; i < 4; ++i)
    {
        const ZWorkerPool::SEvent event = Next(pool);
        EXPECT_EQ(event.sText, sent[event.nWorker]);
        sent.erase(event.nWorker);
    }
    EXPECT_TRUE(sent.empty());
}

TEST(WorkerPool, MemoryIsBounded)
{
    ZWorkerPool pool(1, {uint64_t(1) << 30, 20.0}, &Obey);
    pool.Send(0, "eat");
    EXPECT_EQ(Next(pool).sText, Os::BoundsMemory() ? "no more" : "ate it all");
}

TEST(WorkerPool, NoWorkerOutlivesItsPool)
{
    pid_t nWorker = 0;
    {
        ZWorkerPool pool(1, {0, 0.0},
                         [](ZLineChannel& channel)
                         {
                             channel.Send(std::to_string(::getpid()));
                             Obey(channel);
                         });
        pool.Send(0, "hang");
        nWorker = static_cast<pid_t>(std::stol(Next(pool).sText));
        EXPECT_EQ(::kill(nWorker, 0), 0);
    }
    EXPECT_NE(::kill(nWorker, 0), 0);
}
