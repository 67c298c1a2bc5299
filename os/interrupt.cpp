#include "os/interrupt.h"

#include <atomic>
#include <climits>
#include <csignal>
#include <cstring>
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

struct SPlace
{
    std::atomic<bool> bTaken{false};
    std::atomic<bool> bWritten{false};
    char szPath[PATH_MAX];
};
SPlace g_places[8];
static_assert(std::atomic<bool>::is_always_lock_free);

void OnInterrupt(int)
{
    if (g_nNotes != 0 && g_bInterrupted == 0)
    {
        g_bInterrupted = 1;
        return;
    }
    for (SPlace& place : g_places)
        if (place.bWritten)
            ::unlink(place.szPath);
    ::_exit(g_nExitCode);
}

} // namespace

void ExitOnInterrupt(int nExitCode)
{
    g_nExitCode = nExitCode;
    struct sigaction action
    {
    };
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
