#include "host/build/hostsession.h"
#include "host/commands/commands.h"
#include "host/files/derivedkinds.h"
#include "host/files/resourceids.h"
#include "host/text/hosterror.h"
#include "host/text/jsonwriter.h"

#include <algorithm>
#include <chrono>
#include <unordered_map>

namespace Host
{

namespace
{

using TClock = std::chrono::steady_clock;

class ZBuild
{
public:
    ZBuild(const SOptions& options, ZConsole& console)
        : m_options(options), m_console(console), m_session(options, console, ZHostSession::EUse::eWrites)
    {
    }

    int Run()
    {
        const TClock::time_point start = TClock::now();
        Scan();
        m_session.Run(Plan(), [this](const SJobResult& result) { Report(result); });
        TellSummary(std::chrono::duration<double>(TClock::now() - start).count());
        return Count(EJobStatus::eFailed) + Count(EJobStatus::eCrashed) == 0 ? eExit_Done : eExit_AssetsFailed;
    }

private:
    size_t Count(EJobStatus eStatus) const { return m_counts[static_cast<size_t>(eStatus)]; }

    void Report(const SJobResult& result)
    {
        ++m_counts[static_cast<size_t>(result.eStatus)];
        if (result.eStatus == EJobStatus::ePacked)
            m_nBytes += result.nBytes;
        m_console.Job(result);
        if (m_console.IsJson())
            m_console.Output(JobLine(result, m_session.Out()));
    }

    /// Scans every source once, and tells only of those that could not be scanned.
    void Scan()
    {
        for (const std::string& sSource : m_session.SourcesOf(m_options.sources))
        {
            if (sSource.find('?') == std::string::npos)
                m_files.push_back(sSource);
            else
                m_named.push_back(sSource);
        }
        std::vector<SJob> jobs;
        for (const std::string& sFile : m_files)
        {
            SJob job{SJob::eScan, sFile};
            const std::string sClash = m_session.CaseClash(sFile);
            if (sClash.empty())
            {
                jobs.push_back(std::move(job));
                continue;
            }
            SJobResult failed;
            failed.job = std::move(job);
            failed.messages.push_back({ESeverity::eError, sClash});
            Report(failed);
        }
        m_session.Run(jobs,
                      [this](const SJobResult& result)
                      {
                          if (!result.IsGood())
                              return Report(result);
                          for (const SSourceScan::SSubResource& entry : result.scan.subResources)
                              m_found[result.job.sId].push_back(entry.sId);
                      });
        if (m_options.sources.empty())
            m_session.ForgetAllBut(m_files);
        if (m_files.empty() && m_named.empty())
            m_console.Notice("there are no sources in '" + m_session.Tree().Root() + "'");
    }

    /// What others need comes before them: first all rigs, then all takes.
    std::vector<SJob> Plan() const
    {
        std::vector<SJob> jobs;
        for (const SDerivedKind& kind : DerivedKinds())
            for (const std::string& sPlatform : m_options.platforms)
            {
                const auto add = [&](const std::string& sSource)
                {
                    const ZResourceID id = ToId(sSource);
                    if (!kind.builtFrom.empty() && id.GetExtension().View() == kind.builtFrom)
                        jobs.push_back({SJob::ePack, CanonicalId(id.CreateDerivedResourceID(
                                                         ToZString(kind.extension), "", ToZString(sPlatform)))});
                };
                for (const std::string& sFile : m_files)
                    if (const auto it = m_found.find(sFile); it != m_found.end())
                        std::for_each(it->second.begin(), it->second.end(), add);
                for (const std::string& sNamed : m_named)
                    add(sNamed);
            }
        return jobs;
    }

    void TellSummary(double fSeconds)
    {
        if (m_console.IsJson())
        {
            ZJsonWriter json;
            json.Open('{');
            json.Key("summary");
            json.Open('{');
            for (const EJobStatus eStatus :
                 {EJobStatus::ePacked, EJobStatus::eUpToDate, EJobStatus::eFailed, EJobStatus::eCrashed})
                json.UnsignedField(NameOf(eStatus), Count(eStatus));
            json.UnsignedField("bytes", m_nBytes);
            json.NumberField("seconds", fSeconds);
            json.Close('}');
            json.Close('}');
            m_console.Output(json.Get());
        }
        const size_t nCrashed = Count(EJobStatus::eCrashed);
        const size_t nFailed = Count(EJobStatus::eFailed);
        m_console.Summary(std::to_string(Count(EJobStatus::ePacked)) + " packed (" + BytesText(m_nBytes) + "), " +
                              std::to_string(Count(EJobStatus::eUpToDate)) + " up to date, " + std::to_string(nFailed) +
                              " failed" + (nCrashed != 0 ? ", " + std::to_string(nCrashed) + " crashed" : "") + " in " +
                              SecondsText(fSeconds),
                          nFailed + nCrashed == 0);
    }

    const SOptions& m_options;
    ZConsole& m_console;
    ZHostSession m_session;
    std::vector<std::string> m_files;                                  ///< to build as a whole
    std::vector<std::string> m_named;                                  ///< takes and rigs that the user named
    std::unordered_map<std::string, std::vector<std::string>> m_found; ///< sub-resources, by file
    size_t m_counts[4] = {};
    uint64_t m_nBytes = 0;
};

} // namespace

int RunBuild(const SOptions& options, ZConsole& console)
{
    return ZBuild(options, console).Run();
}

} // namespace Host
