#pragma once

#include "base/misc/zstring.h"

/// Hears every trace line of the process. Called on the thread that traces, one line at a time. It may itself trace,
/// and add or remove listeners: what it traces goes to the listeners that are not in a call.
class Z_EXPORT ITraceListener
{
public:
    enum ETraceLevel : int
    {
        eTrace_Failure = 1,
        eTrace_Notice = 2,
        eTrace_EffectError = 3
    };

    virtual void OnTrace(const char* szFile, int nLine, ETraceLevel eLevel, const ZString& channel,
                         const ZString& text) = 0;

protected:
    ~ITraceListener() = default;
};

/// Messages about the host's misuse and the module's own notices; what is meant for the user goes to a packer context.
class TraceCalls
{
public:
    template <class... TArgs>
    static void Write(const char* szFile, int nLine, ITraceListener::ETraceLevel eLevel, bool bFlag,
                      const ZString& channel, const ZString& format, const TArgs&... args)
    {
        Deliver(szFile, nLine, eLevel, bFlag, channel, ZString::Format(format, args...));
    }
    template <class... TArgs>
    static ZString Format(const ZString& format, const TArgs&... args)
    {
        return ZString::Format(format, args...);
    }

    /// A listener must be removed before it goes.
    Z_EXPORT static void AddListener(ITraceListener* pListener);
    Z_EXPORT static void RemoveListener(ITraceListener* pListener);

private:
    Z_EXPORT static void Deliver(const char* szFile, int nLine, ITraceListener::ETraceLevel eLevel, bool bFlag,
                                 const ZString& channel, const ZString& text);
};

#define ZTRACE(level, channel, ...) TraceCalls::Write(__FILE__, __LINE__, level, true, channel, __VA_ARGS__)
