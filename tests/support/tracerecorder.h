#pragma once

#include "base/misc/trace.h"
#include "tests/support/printing.h"

/// Hears every trace line for the time of a scope.
class ZTraceRecorder final : public ITraceListener
{
public:
    struct SLine
    {
        ETraceLevel eLevel;
        ZString channel;
        ZString text;
    };

    ZTraceRecorder() { TraceCalls::AddListener(this); }
    ZTraceRecorder(const ZTraceRecorder&) = delete;
    ZTraceRecorder& operator=(const ZTraceRecorder&) = delete;
    ~ZTraceRecorder() { TraceCalls::RemoveListener(this); }

    void OnTrace(const char* szFile, int nLine, ETraceLevel eLevel, const ZString& channel,
                 const ZString& text) override;

    const TArray<SLine>& Lines() const { return m_lines; }
    /// Each line as "LEVEL CHANNEL: TEXT".
    TArray<ZString> Texts() const;

private:
    TArray<SLine> m_lines;
};
