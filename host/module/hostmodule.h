#pragma once

#include "base/misc/trace.h"
#include "host/text/hosterror.h"
#include "resource/core/iresourcepacker.h"

#include <string>
#include <vector>

namespace Host
{

/// Registers the engine's modules and the host's own, which has the component PACKER_UTILITY, and takes the assertion
/// handler. Once a process; safe to repeat.
void RegisterHostModules();

/// What PACKER_UTILITY tells packers for the time of a scope. Scopes nest; the innermost counts.
class ZPackerOptionScope
{
public:
    ZPackerOptionScope(const std::string& sName, const std::string& sValue);
    ZPackerOptionScope(const ZPackerOptionScope&) = delete;
    ZPackerOptionScope& operator=(const ZPackerOptionScope&) = delete;
    ~ZPackerOptionScope();
};

/// Hears what modules trace. Lines of failures matter when a job fails without a word; notices are what a module would
/// tell its user where it has no context to tell it to.
class ZTraceCollector final : public ITraceListener
{
public:
    ZTraceCollector() { TraceCalls::AddListener(this); }
    ZTraceCollector(const ZTraceCollector&) = delete;
    ZTraceCollector& operator=(const ZTraceCollector&) = delete;
    ~ZTraceCollector() { TraceCalls::RemoveListener(this); }

    void OnTrace(const char* szFile, int nLine, ETraceLevel eLevel, const ZString& channel,
                 const ZString& text) override;

    /// Lines of failures since the last call, at most MOST_LINES.
    std::vector<std::string> TakeFailures() { return std::exchange(m_failures, {}); }

    std::vector<std::string> TakeNotices() { return std::exchange(m_notices, {}); }
    /// Puts notices aside, or back: those of a job and of one inside it are kept apart.
    void SwapNotices(std::vector<std::string>& notices) { m_notices.swap(notices); }

    static constexpr size_t MOST_LINES = 20;

private:
    std::vector<std::string> m_failures;
    std::vector<std::string> m_notices;
};

} // namespace Host
