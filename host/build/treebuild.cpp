#include "host/build/treebuild.h"

#include "host/files/derivedkinds.h"
#include "host/files/resourceids.h"

#include <algorithm>
#include <chrono>

namespace Host
{

SBuildTotals ZTreeBuild::Run(const ZJobScheduler::FReport& report)
{
    const auto start = std::chrono::steady_clock::now();
    m_report = report;
    Scan();
    m_session.Run(Plan(), [this](const SJobResult& result) { Report(result); });
    m_totals.fSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return m_totals;
}

void ZTreeBuild::Report(const SJobResult& result)
{
    ++m_totals.counts[static_cast<size_t>(result.eStatus)];
    if (result.eStatus == EJobStatus::ePacked)
        m_totals.nBytes += result.nBytes;
    m_report(result);
}

/// Scans every source once, and tells only of those that could not be scanned.
void ZTreeBuild::Scan()
{
    for (const std::string& sSource : m_session.SourcesOf(m_words))
        (sSource.find('?') == std::string::npos ? m_files : m_named).push_back(sSource);
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
    if (m_words.empty())
        m_session.ForgetAllBut(m_files);
    if (m_files.empty() && m_named.empty())
        m_watcher.Notice("there are no sources in '" + m_session.Tree().Root() + "'");
}

/// What others need comes before them: first all rigs, then all takes.
std::vector<SJob> ZTreeBuild::Plan() const
{
    std::vector<SJob> jobs;
    for (const SDerivedKind& kind : DerivedKinds())
        for (const std::string& sPlatform : m_platforms)
        {
            const auto add = [&](const std::string& sSource)
            {
                const ZResourceID id = ToId(sSource);
                if (!kind.builtFrom.empty() && id.GetExtension().View() == kind.builtFrom)
                    jobs.push_back({SJob::ePack, CanonicalId(id.CreateDerivedResourceID(ToZString(kind.extension), "",
                                                                                        ToZString(sPlatform)))});
            };
            for (const std::string& sFile : m_files)
                if (const auto it = m_found.find(sFile); it != m_found.end())
                    std::for_each(it->second.begin(), it->second.end(), add);
            std::for_each(m_named.begin(), m_named.end(), add);
        }
    return jobs;
}

} // namespace Host
