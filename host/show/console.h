#pragma once

#include "host/build/buildwatcher.h"
#include "host/options/commandline.h"
#include "host/state/jobresult.h"

#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

namespace Host
{

/// Where everything that the program says goes. Standard output holds what was asked for: JSON lines, or the text that
/// a command is there to print. Standard error holds the rest: diagnostics, a line for each job, progress.
class ZConsole final : public IBuildWatcher
{
public:
    explicit ZConsole(const SOptions& options);
    ~ZConsole() { ClearProgress(); }
    ZConsole(const ZConsole&) = delete;
    ZConsole& operator=(const ZConsole&) = delete;

    /// From here on the file gets all that people may be told, plain. ZHostError when it can't be made.
    void OpenLog(const std::string& sPath);

    bool IsJson() const { return m_bJson; }

    /// One line, or several, on standard output; handed on at once, so that a reader sees them as they come.
    void Output(std::string_view text);

    /// "IDENTIFIER: error: TEXT".
    void Diagnostic(ESeverity eSeverity, std::string_view source, std::string_view text) override;
    /// "animpack: TEXT".
    void Notice(std::string_view text) override;
    void Error(const ZHostError& error) override;
    /// Of the one file that a command is about: a diagnostic, and in JSON {"file":…,"error":…}.
    void Failure(std::string_view file, std::string_view text);

    /// Of a command that an interrupt has ended before it could say anything else.
    void Interrupted();

    /// A job's messages, and in people's form its line. What is up to date is told when asked for only.
    /// Without bLine the messages alone, unless all is to be told.
    void Job(const SJobResult& result, bool bLine = true);
    void Summary(std::string_view text, bool bGood);

    /// Several lines that end a run.
    void Epilogue(std::string_view text);

    /// A line that the next one overwrites.
    void Progress(size_t nDone, size_t nAll, std::string_view what) override;

private:
    enum class EInk
    {
        ePlain,
        eRed,
        eYellow,
        eGreen,
        eFaint,
        eBold
    };
    std::string Ink(EInk eInk, std::string_view text) const;
    /// On standard error, unless it is not bShown; and in the log.
    void Line(const std::string& sText, bool bShown = true);
    std::string JobText(const SJobResult& result) const;
    void ClearProgress();

    bool m_bJson;
    bool m_bVerbose;
    bool m_bQuiet;
    bool m_bExplain;
    bool m_bColor;
    bool m_bProgress;
    bool m_bProgressShown = false;
    size_t m_nColumns = 80;
    std::chrono::steady_clock::time_point m_lastProgress;
    struct SLogCloser
    {
        void operator()(std::FILE* pFile) const { std::fclose(pFile); }
    };
    std::unique_ptr<std::FILE, SLogCloser> m_pLog;
};

} // namespace Host
