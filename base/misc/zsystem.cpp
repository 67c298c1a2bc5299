#include "base/misc/zsystem.h"

#include <chrono>
#include <thread>

uint64_t ZSystem::GetSystemTicks()
{
    return static_cast<uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
}

void ZThread::DoYield()
{
    std::this_thread::yield();
}

ZPath ZPath::GetParentPath() const
{
    const size_t nSlash = m_path.LastIndexOf('/');
    if (nSlash == ZString::NOT_FOUND)
        return {};
    return ZPath(m_path.Substring(0, nSlash == 0 ? 1 : nSlash));
}
