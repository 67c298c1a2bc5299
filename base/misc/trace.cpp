#include "base/misc/trace.h"

#include <algorithm>
#include <mutex>
#include <vector>

namespace
{

struct SListeners
{
    std::mutex mutex;
    std::vector<ITraceListener*> list;
};

SListeners& Listeners()
{
    static SListeners* s_pListeners = new SListeners; // outlives static objects that may still trace
    return *s_pListeners;
}

} // namespace

void TraceCalls::AddListener(ITraceListener* pListener)
{
    const std::lock_guard lock(Listeners().mutex);
    Listeners().list.push_back(pListener);
}

void TraceCalls::RemoveListener(ITraceListener* pListener)
{
    const std::lock_guard lock(Listeners().mutex);
    std::erase(Listeners().list, pListener);
}

void TraceCalls::Deliver(const char* szFile, int nLine, ITraceListener::ETraceLevel eLevel, bool bFlag,
                         const ZString& channel, const ZString& text)
{
    if (!bFlag)
        return;
    const std::lock_guard lock(Listeners().mutex);
    for (ITraceListener* pListener : Listeners().list)
        pListener->OnTrace(szFile, nLine, eLevel, channel, text);
}
