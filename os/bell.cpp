#include "os/bell.h"

#include <cstdint>
#include <sys/eventfd.h>
#include <unistd.h>

namespace Os
{

ZBell::ZBell() : m_nEvent(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

ZBell::~ZBell()
{
    if (IsThere())
        ::close(m_nEvent);
}

void ZBell::Ring() const
{
    const uint64_t nOnce = 1;
    // It can fail only when it has been rung more often than anybody counts.
    if (IsThere() && ::write(m_nEvent, &nOnce, sizeof nOnce) < 0)
        return;
}

void ZBell::Silence() const
{
    uint64_t nTimes = 0;
    if (IsThere() && ::read(m_nEvent, &nTimes, sizeof nTimes) < 0)
        return;
}

} // namespace Os
