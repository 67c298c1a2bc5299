#include "tests/support/tracerecorder.h"

void ZTraceRecorder::OnTrace(const char*, int, ETraceLevel eLevel, const ZString& channel, const ZString& text)
{
    m_lines.Add({eLevel, channel, text});
}

TArray<ZString> ZTraceRecorder::Texts() const
{
    TArray<ZString> texts;
    for (const SLine& line : m_lines)
        texts.Add(ZString::Format("{0} {1}: {2}", static_cast<int>(line.eLevel), line.channel, line.text));
    return texts;
}
