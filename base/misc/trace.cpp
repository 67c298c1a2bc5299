#include "base/misc/trace.h"

#include <mutex>
#include <vector>

namespace
{

/// The lock is taken again by a listener that traces; the line goes to the listeners that are not in a call themselves.
struct SListeners
{
    struct SEntry
    {
        ITraceListener* pListener; ///< null when it has been removed while lines are delivered
        bool bInCall;
    };
    std::recursive_mutex mutex;
    std::vector<SEntry> list;
    int nDeliveries = 0;

    void DropRemoved()
    {
        if (nDeliveries == 0)
            std::erase_if(list, [](const SEntry& entry) { return entry.pListener == nullptr; });
    }
};

SListeners& Listeners()
{
    static SListeners* s_pListeners = new SListeners; // outlives static objects that may still trace
    return *s_pListeners;
}

/// While lines are delivered the list keeps its places. Both end however OnTrace does.
class ZDelivery
{
public:
    explicit ZDelivery(SListeners& listeners) : m_listeners(listeners) { ++m_listeners.nDeliveries; }
    ZDelivery(const ZDelivery&) = delete;
    ZDelivery& operator=(const ZDelivery&) = delete;
    ~ZDelivery()
    {
        --m_listeners.nDeliveries;
        m_listeners.DropRemoved();
    }

private:
    SListeners& m_listeners;
};

class ZCall
{
public:
    ZCall(SListeners& listeners, size_t nEntry) : m_listeners(listeners), m_nEntry(nEntry) { Mark(true); }
    ZCall(const ZCall&) = delete;
    ZCall& operator=(const ZCall&) = delete;
    ~ZCall() { Mark(false); }

private:
    void Mark(bool bInCall) { m_listeners.list[m_nEntry].bInCall = bInCall; }

    SListeners& m_listeners;
    size_t m_nEntry;
};

} // namespace

void TraceCalls::AddListener(ITraceListener* pListener)
{
    const std::lock_guard lock(Listeners().mutex);
    Listeners().list.push_back({pListener, false});
}

void TraceCalls::RemoveListener(ITraceListener* pListener)
{
    SListeners& listeners = Listeners();
    const std::lock_guard lock(listeners.mutex);
    for (SListeners::SEntry& entry : listeners.list)
        if (entry.pListener == pListener)
            entry.pListener = nullptr;
    listeners.DropRemoved();
}

void TraceCalls::Deliver(const char* szFile, int nLine, ITraceListener::ETraceLevel eLevel, bool bFlag,
                         const ZString& channel, const ZString& text)
{
    if (!bFlag)
        return;
    SListeners& listeners = Listeners();
    const std::lock_guard lock(listeners.mutex);
    const ZDelivery delivery(listeners);
    for (size_t n = 0; n < listeners.list.size(); ++n)
    {
        const SListeners::SEntry entry = listeners.list[n];
        if (entry.pListener == nullptr || entry.bInCall)
            continue;
        const ZCall call(listeners, n);
        entry.pListener->OnTrace(szFile, nLine, eLevel, channel, text);
    }
}
