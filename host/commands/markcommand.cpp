#include "host/build/trialbuild.h"
#include "host/commands/commands.h"
#include "host/files/outputfile.h"
#include "host/files/outputplace.h"
#include "host/marking/markedtree.h"
#include "host/marking/marking.h"
#include "host/marking/stackmarks.h"
#include "host/show/marktext.h"
#include "host/text/hosterror.h"
#include "host/text/textformat.h"
#include "os/interrupt.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <deque>
#include <fstream>

namespace Host
{

namespace
{

/// Far more than the marks of a scene that anybody can look over.
constexpr size_t MOST_MARKS_BYTES = 64u << 20;

/// A pipe will do.
bool ReadText(const std::string& sPath, std::string& sText, std::string& sWhy)
{
    errno = 0;
    std::ifstream file(sPath, std::ios::binary);
    char buffer[65536];
    while (sText.size() <= MOST_MARKS_BYTES && (file.read(buffer, sizeof buffer), file.gcount() > 0))
        sText.append(buffer, static_cast<size_t>(file.gcount()));
    if (sText.size() > MOST_MARKS_BYTES)
        return sWhy = "is too large for marks: more than " + BytesText(MOST_MARKS_BYTES), false;
    if (!file.is_open() || file.bad())
        return sWhy = std::string("can't be read") + (errno != 0 ? std::string(": ") + std::strerror(errno) : ""),
               false;
    return true;
}

/// Marks one file after the other; none of them appears before all are complete.
class ZMarkRun
{
public:
    ZMarkRun(const SOptions& options, ZConsole& console)
        : m_options(options),
          m_console(console),
          m_sIn(options.sources.at(0)),
          m_sMarks(options.sources.at(1)),
          m_sOut(options.sources.at(2))
    {
    }

    /// False when anything was wrong, which is told then.
    bool Run()
    {
        std::string sText, sWhy;
        if (const std::string sPlace = PlaceOf(m_sOut); sPlace.empty())
            return false;
        if (!ReadText(m_sMarks, sText, sWhy))
            return Fail(m_sMarks, sWhy);
        try
        {
            const SMarks marks = ReadMarks(sText);
            for (SStackMarks& file : SplitByStack(marks, m_sIn, sWhy))
                m_written.push_back({FileOfStack(m_sOut, file.sStack), std::move(file.marks), 0, {}});
            if (!sWhy.empty())
                return Fail(m_sIn, sWhy);
            for (SMarkedFile& file : m_written)
                if (!Write(file))
                    return false;
        }
        catch (const ZMarksError& e)
        {
            for (const std::string& sFault : e.Faults())
                Fail(m_sMarks, sFault);
            return false;
        }
        for (size_t n = 0; n < m_written.size(); ++n)
            if (!m_outputs[n].Publish())
                return Fail(m_written[n].sPath, m_outputs[n].Error());
        return true;
    }

    /// What packing would say of each, told as warnings.
    void Foretell()
    {
        SSessionOptions session = m_options.session;
        session.sAssets = TreeOfMarked(m_sOut, m_written.front().marks, m_options.session.sAssets);
        session.nWorkers = 1;
        if (session.sAssets.empty())
            return m_console.Notice("'" + m_sOut + "' is not below --assets '" + m_options.session.sAssets +
                                    "', so what packing has to say of it is not told");
        try
        {
            for (SMarkedFile& file : m_written)
                TrialBuild(session, {file.sPath}, "pc", [&](const SJobResult& result) { Note(result, file); });
        }
        catch (const ZHostError& e)
        {
            m_console.Notice(std::string("what packing has to say is not told: ") + e.what());
        }
    }

    void Show() const
    {
        for (const SMarkedFile& file : m_written)
            m_console.Output(m_console.IsJson() ? MarkLine(file) : MarkText(file));
    }

private:
    bool Fail(const std::string& sFile, const std::string& sWhy)
    {
        m_console.Failure(sFile, sWhy);
        return false;
    }

    /// Empty, and told, when there is none.
    std::string PlaceOf(const std::string& sFile)
    {
        std::string sPath;
        // Of several files only the one that the user named may be asked for instead of the input.
        const std::string sMayReplace = sFile == m_sOut ? m_sIn : std::string();
        if (const std::string sWhy = FindOutputPlace(sFile, {m_sIn, m_sMarks}, sMayReplace, sPath); !sWhy.empty())
            Fail(sFile, sWhy);
        return sPath;
    }

    bool Write(SMarkedFile& file)
    {
        const std::string sPath = PlaceOf(file.sPath);
        if (sPath.empty())
            return false;
        FbxDocument document;
        if (!document.Load(m_sIn.c_str()))
            return Fail(m_sIn, document.Error());
        std::vector<std::string> warnings;
        ApplyMarks(file.marks, document, warnings);
        for (const std::string& sWarning : warnings)
            if (std::find(m_warnings.begin(), m_warnings.end(), sWarning) == m_warnings.end())
            {
                m_warnings.push_back(sWarning);
                m_console.Diagnostic(ESeverity::eWarning, m_sMarks, sWarning);
            }
        std::string sBytes;
        if (!document.Write(sBytes))
            return Fail(m_sIn, document.Error());
        file.nBytes = sBytes.size();
        ZOutputFile& output = m_outputs.emplace_back();
        if (!output.Open(sPath) || !output.Write(sBytes.data(), sBytes.size()))
            return Fail(file.sPath, output.Error());
        output.Close();
        return true;
    }

    void Note(const SJobResult& result, SMarkedFile& file)
    {
        for (const SMessage& message : result.messages)
            if (message.eSeverity != ESeverity::eInfo)
            {
                const bool bFails = message.eSeverity == ESeverity::eError;
                file.messages.push_back({ESeverity::eWarning, (bFails ? "will not be packed: " : "") + message.sText});
                m_console.Diagnostic(ESeverity::eWarning, result.job.Source(), file.messages.back().sText);
            }
    }

    const SOptions& m_options;
    ZConsole& m_console;
    const std::string& m_sIn;
    const std::string& m_sMarks;
    const std::string& m_sOut;
    std::vector<SMarkedFile> m_written;
    std::deque<ZOutputFile> m_outputs; ///< one each
    std::vector<std::string> m_warnings;
};

} // namespace

int RunMark(const SOptions& options, ZConsole& console)
{
    ZMarkRun run(options, console);
    if (!run.Run())
        return eExit_AssetsFailed;
    run.Foretell();
    run.Show();
    return Os::Interrupted() ? eExit_Interrupted : eExit_Done;
}

} // namespace Host
