#include "host/show/console.h"

#include "base/misc/utf8.h"
#include "host/files/resourceids.h"
#include "host/text/failureline.h"
#include "host/text/hosterror.h"
#include "host/text/jsonwriter.h"
#include "host/text/textformat.h"
#include "os/interrupt.h"
#include "os/terminal.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace Host
{

namespace
{

constexpr const char INTERRUPTED[] = "interrupted";

bool Decide(EWhen eWhen, bool bOnTerminal)
{
    return eWhen == EWhen::eAlways || (eWhen == EWhen::eAuto && bOnTerminal);
}

bool IsSet(const char* szVariable)
{
    const char* szValue = std::getenv(szVariable);
    return szValue != nullptr && szValue[0] != '\0';
}

/// What comes from files must not steer the terminal.
bool IsHarmful(char c)
{
    return (static_cast<unsigned char>(c) < ' ' && c != '\t' && c != '\n') || c == '\x7f';
}

std::string Harmless(std::string_view text)
{
    std::string sText;
    for (const char c : text)
        if (c == '\n')
            sText += "\n    ";
        else
            sText += IsHarmful(c) ? '?' : c;
    return sText;
}

} // namespace

ZConsole::ZConsole(const SOptions& options)
    : m_bJson(options.bJson),
      m_bVerbose(options.bVerbose && !options.bQuiet),
      m_bQuiet(options.bQuiet),
      m_bExplain(options.bExplain || options.bForesee)
{
    const char* szTerminal = std::getenv("TERM");
    const Os::STerminal terminal = Os::ErrorTerminal();
    const bool bCapable = terminal.bTerminal && szTerminal != nullptr && std::strcmp(szTerminal, "dumb") != 0;
    m_bColor = Decide(options.eColor, bCapable && !IsSet("NO_COLOR"));
    m_bProgress = Decide(options.eProgress, bCapable);
    if (terminal.nColumns > 20)
        m_nColumns = terminal.nColumns;
    m_bProgress &= !m_bQuiet;
}

void ZConsole::Interrupted()
{
    if (m_bJson)
        Output(FailureLine({}, INTERRUPTED, {}));
    Notice(INTERRUPTED);
}

void ZConsole::OpenLog(const std::string& sPath)
{
    m_pLog.reset(std::fopen(sPath.c_str(), "we"));
    if (!m_pLog)
        throw ZHostError("the log '" + sPath + "' can't be written: " + std::strerror(errno),
                         "name another file with --log");
}

std::string ZConsole::Ink(EInk eInk, std::string_view text) const
{
    constexpr const char* codes[] = {"", "\x1b[31m", "\x1b[33m", "\x1b[32m", "\x1b[2m", "\x1b[1m"};
    if (!m_bColor || eInk == EInk::ePlain)
        return std::string(text);
    return codes[static_cast<int>(eInk)] + std::string(text) + "\x1b[0m";
}

void ZConsole::Output(std::string_view text)
{
    ClearProgress();
    std::string sHarmless;
    if (!m_bJson && std::any_of(text.begin(), text.end(), IsHarmful))
    {
        sHarmless.assign(text);
        std::replace_if(sHarmless.begin(), sHarmless.end(), IsHarmful, '?');
        text = sHarmless;
    }
    const Os::ZLineUnderWay line;
    const bool bWritten = std::fwrite(text.data(), 1, text.size(), stdout) == text.size() &&
                          (text.ends_with('\n') || std::fputc('\n', stdout) != EOF) && std::fflush(stdout) == 0;
    if (!bWritten)
        throw ZHostError(std::string("standard output can't be written to: ") + std::strerror(errno));
}

void ZConsole::Line(const std::string& sText, bool bShown)
{
    if (m_pLog)
    {
        std::string sPlain;
        for (size_t n = 0; n < sText.size(); ++n)
            if (sText[n] == '\x1b')
                n = std::min(sText.find('m', n), sText.size());
            else
                sPlain += sText[n];
        sPlain += '\n';
        if (std::fwrite(sPlain.data(), 1, sPlain.size(), m_pLog.get()) != sPlain.size() ||
            std::fflush(m_pLog.get()) != 0)
        {
            m_pLog.reset();
            Line("animpack: the log ends here, it can't be written: " + std::string(std::strerror(errno)));
        }
    }
    if (!bShown)
        return;
    ClearProgress();
    // In one piece: another process may write to the same terminal.
    const std::string sLine = sText + '\n';
    std::fwrite(sLine.data(), 1, sLine.size(), stderr);
}

void ZConsole::Diagnostic(ESeverity eSeverity, std::string_view source, std::string_view text)
{
    const std::string sWhere = Ink(EInk::eBold, Harmless(source) + ":") + ' ';
    // Some packers say it themselves.
    for (const std::string_view word : {"WARNING: ", "ERROR: "})
        if (text.starts_with(word))
            text.remove_prefix(word.size());
    if (eSeverity == ESeverity::eError)
        Line(sWhere + Ink(EInk::eRed, "error:") + ' ' + Harmless(text));
    else if (eSeverity == ESeverity::eWarning)
        Line(sWhere + Ink(EInk::eYellow, "warning:") + ' ' + Harmless(text), !m_bQuiet);
    else if (m_bVerbose || m_pLog)
        Line(sWhere + "note: " + Harmless(text), m_bVerbose);
}

void ZConsole::Notice(std::string_view text)
{
    Line("animpack: " + Harmless(text), !m_bQuiet);
}

void ZConsole::Failure(std::string_view file, std::string_view text)
{
    Diagnostic(ESeverity::eError, file, text);
    if (m_bJson)
        Output(FailureLine(file, text, {}));
}

void ZConsole::Error(const ZHostError& error)
{
    try
    {
        // Not a word more on a standard output that has just failed.
        if (m_bJson && std::ferror(stdout) == 0)
            Output(FailureLine({}, error.what(), error.Hint()));
    }
    catch (const ZHostError&)
    {
        // There is another one to tell.
    }
    Line("animpack: " + Ink(EInk::eRed, "error:") + ' ' + Harmless(error.what()));
    if (!error.Hint().empty())
        Line("  " + Harmless(error.Hint()));
}

void ZConsole::Job(const SJobResult& result, bool bLine)
{
    const bool bShown = !m_bJson && !m_bQuiet && (bLine || m_bVerbose || m_bExplain) &&
                        (result.eStatus != EJobStatus::eUpToDate || m_bVerbose);
    if (!bShown && !m_pLog && result.messages.empty())
        return;
    const std::string sSource = result.job.Source();
    for (const SMessage& message : result.messages)
        Diagnostic(message.eSeverity, sSource, message.sText);
    if (!bShown && !m_pLog)
        return;
    Line(JobText(result), bShown);
    for (const SReason& reason : result.why)
        if (m_bExplain || m_pLog)
            Line(Ink(EInk::eFaint, "             because " + Harmless(TextOf(reason))), bShown && m_bExplain);
}

std::string ZConsole::JobText(const SJobResult& result) const
{
    const std::string sSource = result.job.Source();
    constexpr EInk inks[] = {EInk::eGreen, EInk::eFaint, EInk::eRed,  EInk::eRed,
                             EInk::eFaint, EInk::eGreen, EInk::eFaint};
    constexpr const char* words[] = {"packed    ", "up to date", "failed    ", "crashed   ",
                                     "removed   ", "to pack   ", "to remove "};
    std::string sLine = Ink(inks[static_cast<int>(result.eStatus)], words[static_cast<int>(result.eStatus)]);
    sLine += ' ' + Harmless(sSource);
    if (result.job.eKind == SJob::ePack)
    {
        const ZResourceID id = ToId(result.job.sId);
        sLine += ", " + ToStd(id.GetExtension());
        const TArray<ZString> parameters = id.GetParameters();
        for (uint32_t n = 0; n < parameters.Size(); ++n)
            sLine += (n == 0 ? " (" : " | ") + Harmless(parameters[n].View()) + (n + 1 == parameters.Size() ? ")" : "");
        sLine += " for " + ToStd(id.GetPlatformFromExtension());
    }
    if (result.IsGood())
        sLine +=
            Ink(EInk::eFaint, "  " + BytesText(result.nBytes) +
                                  (result.eStatus == EJobStatus::ePacked ? ", " + SecondsText(result.fSeconds) : ""));
    return sLine;
}

void ZConsole::Summary(std::string_view text, bool bGood)
{
    Line(Ink(bGood ? EInk::eBold : EInk::eRed, text), !m_bJson && !m_bQuiet);
}

void ZConsole::Epilogue(std::string_view text)
{
    for (; !text.empty(); text.remove_prefix(std::min(text.find('\n') + 1, text.size())))
        Line(Harmless(text.substr(0, text.find('\n'))), !m_bJson && !m_bQuiet);
}

void ZConsole::ClearProgress()
{
    if (!std::exchange(m_bProgressShown, false))
        return;
    std::fputs("\r\x1b[K", stderr);
}

void ZConsole::Progress(size_t nDone, size_t nAll, std::string_view what)
{
    const auto now = std::chrono::steady_clock::now();
    if (!m_bProgress || nAll < 2 || now - m_lastProgress < std::chrono::milliseconds(80))
        return;
    m_lastProgress = now;
    std::string sText = '[' + std::to_string(nDone) + '/' + std::to_string(nAll) + "] " + Harmless(what);
    if (sText.size() >= m_nColumns)
    {
        sText.resize(m_nColumns - 4);
        while (!sText.empty() && !IsUtf8(sText))
            sText.pop_back();
        sText += "...";
    }
    std::fputs(("\r" + sText + "\x1b[K").c_str(), stderr);
    std::fflush(stderr);
    m_bProgressShown = true;
}

} // namespace Host
