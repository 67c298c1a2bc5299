#include "resource/animation/frame/namedmutex.h"

#include <atomic>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace
{

ZString UniqueName(const char* szWhat)
{
    return ZString::Format("test-{0}-{1}", szWhat, static_cast<int32_t>(getpid()));
}

/// Whether another thread gets the mutex within a tenth of a second.
bool IsFree(const ZString& name)
{
    std::atomic<bool> bLocked{false};
    std::thread other(
        [&]
        {
            ZNamedMutex mutex(name);
            mutex.Lock();
            bLocked = true;
        });
    for (int i = 0; i < 100 && !bLocked; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    const bool bWasFree = bLocked;
    other.detach();
    return bWasFree;
}

TEST(NamedMutex, IsOneMutexForAllThatNameIt)
{
    const ZString name = UniqueName("one");
    {
        ZNamedMutex mutex(name);
        EXPECT_TRUE(IsFree(name)) << "making it does not lock it";
        mutex.Lock();
        mutex.Lock(); // its holder may lock it again
        EXPECT_TRUE(IsFree(UniqueName("another")));
    }
}

TEST(NamedMutex, IsHeldAcrossProcesses)
{
    const ZString name = UniqueName("process");
    int toChild[2], toParent[2];
    ASSERT_TRUE(pipe(toChild) == 0 && pipe(toParent) == 0);
    const pid_t nChild = fork();
    if (nChild == 0)
    {
        char c;
        ZNamedMutex mutex(name);
        mutex.Lock();
        (void)!write(toParent[1], "x", 1);
        (void)!read(toChild[0], &c, 1);
        _exit(0); // dies as its holder
    }
    char c;
    ASSERT_EQ(read(toParent[0], &c, 1), 1);
    std::atomic<bool> bLocked{false};
    std::thread other(
        [&]
        {
            ZNamedMutex mutex(name);
            mutex.Lock();
            bLocked = true;
        });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(bLocked);
    ASSERT_EQ(write(toChild[1], "x", 1), 1);
    waitpid(nChild, nullptr, 0);
    other.join(); // whoever waits gets what a dead process held
    EXPECT_TRUE(bLocked);
    for (const int nFile : {toChild[0], toChild[1], toParent[0], toParent[1]})
        close(nFile);
}

} // namespace
