#include "os/interrupt.h"

#include <atomic>
#include <climits>
#include <csignal>
#include <cstring>
#include <ctime>
#include <unistd.h>
#include <utility>

namespace Os
{

namespace
{

constexpr int INTERRUPTS[] = {SIGINT, SIGTERM, SIGHUP};

// All that the handler looks at: it may run between any two instructions.
volatile std::sig_atomic_t g_nNotes = 0;
volatile std::sig_atomic_t g_bInterrupted = 0;
volatile std::sig_atomic_t g_nExitCode = 1;
volatile std::sig_atomic_t g_bLineUnderWay = 0;
volatile std::sig_atomic_t g_bEndsAfterLine = 0;
volatile std::sig_atomic_t g_nNotedAt = 0; ///< seconds
constexpr unsigned int LONGEST_LINE = 1;   ///< seconds: nobody reads what is written
constexpr int SECOND_FROM = 2;             ///< seconds: what comes before is the same impatience
std::string_view g_output, g_error;

struct SPlace
{
    std::atomic<bool> bTaken{false};
    std::atomic<bool> bWritten{false};
    char szPath[PATH_MAX];
};
SPlace g_places[256];
static_assert(std::atomic<bool>::is_always_lock_free);

void Say(int nStream, std::string_view text)
{
    [[maybe_unused]] const ssize_t nTold = ::write(nStream, text.data(), text.size());
}

[[noreturn]] void End()
{
    for (SPlace& place : g_places)
        if (place.bWritten)
            ::unlink(place.szPath);
    // Half a line can't be completed by this one.
    if (g_bLineUnderWay == 0)
        Say(STDOUT_FILENO, g_output);
    Say(STDERR_FILENO, g_error);
    ::_exit(g_nExitCode);
}

void OnInterrupt(int)
{
    struct timespec now
    {
    };
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    const auto nNow = static_cast<std::sig_atomic_t>(now.tv_sec);
    if (g_nNotes != 0 && g_bInterrupted == 0)
    {
        g_nNotedAt = nNow;
        g_bInterrupted = 1;
    }
    else if (g_nNotes != 0 && nNow - g_nNotedAt < SECOND_FROM)
        return;
    else if (g_bLineUnderWay != 0 && g_bEndsAfterLine == 0)
    {
        g_bEndsAfterLine = 1;
        ::alarm(LONGEST_LINE);
    }
    else
        End();
}

} // namespace

void ExitOnInterrupt(int nExitCode)
{
    g_nExitCode = nExitCode;
    struct sigaction action
    {
    };
    action.sa_handler = [](int) { End(); };
    ::sigaction(SIGALRM, &action, nullptr);
    action.sa_handler = &OnInterrupt;
    action.sa_flags = SA_RESTART;
    for (const int nSignal : INTERRUPTS)
    {
        // A terminal that closes stays ignored where nohup says so. Scripts start what runs behind them with the others
        // ignored, and end it by them all the same.
        struct sigaction before
        {
        };
        if (nSignal != SIGHUP || (::sigaction(nSignal, nullptr, &before) == 0 && before.sa_handler != SIG_IGN))
            ::sigaction(nSignal, &action, nullptr);
    }
}

void TellOnInterrupt(std::string_view output, std::string_view error)
{
    g_output = output;
    g_error = error;
}

ZLineUnderWay::ZLineUnderWay()
{
    g_bLineUnderWay = 1;
}

ZLineUnderWay::~ZLineUnderWay()
{
    g_bLineUnderWay = 0;
    if (g_bEndsAfterLine != 0)
        End();
}

void IgnoreLostReaders()
{
    std::signal(SIGPIPE, SIG_IGN);
}

ZInterruptNote::ZInterruptNote()
{
    g_nNotes = g_nNotes + 1;
}

ZInterruptNote::~ZInterruptNote()
{
    g_nNotes = g_nNotes - 1;
}

bool Interrupted()
{
    return g_bInterrupted != 0;
}

void ZInterruptRemoves::Remember(const std::string& sPath)
{
    Forget();
    if (sPath.size() >= sizeof g_places[0].szPath)
        return;
    for (int n = 0; n < static_cast<int>(std::size(g_places)); ++n)
        if (!g_places[n].bTaken.exchange(true))
        {
            std::memcpy(g_places[n].szPath, sPath.c_str(), sPath.size() + 1);
            g_places[n].bWritten = true;
            m_nPlace = n;
            return;
        }
}

void ZInterruptRemoves::Forget()
{
    if (m_nPlace < 0)
        return;
    SPlace& place = g_places[std::exchange(m_nPlace, -1)];
    place.bWritten = false;
    place.bTaken = false;
}

void IgnoreInterrupts()
{
    for (const int nSignal : INTERRUPTS)
        std::signal(nSignal, SIG_IGN);
}

} // namespace Os
