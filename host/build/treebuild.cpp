#include "host/build/treebuild.h"

#include "host/build/whatthereis.h"
#include "host/files/derivedkinds.h"
#include "host/files/resourceids.h"
#include "host/index/sourcescan.h"
#include "os/interrupt.h"

#include <algorithm>
#include <chrono>
#include <iterator>

namespace Host
{

namespace
{

/// The source file that a job is about, in lower case.
std::string FileOf(const SJob& job)
{
    const std::string sSource = ToLower(job.Source());
    return sSource.substr(0, sSource.find('?'));
}

} // namespace

ZBuildTotals ZTreeBuild::Run(const ZJobScheduler::FReport& report)
{
    const auto start = std::chrono::steady_clock::now();
    m_report = report;
    const auto tell = [this](const SJobResult& result) { Report(result); };
    const ZAssetTree::SSources sources = m_session.SourcesOf(m_words);
    Scan(sources);
    if (!Os::Interrupted())
    {
        const bool bForesee = m_session.LooksAhead();
        if (m_words.empty() && !bForesee)
            m_session.ForgetAllBut(sources);
        const std::vector<SJob> jobs = Plan();
        if (bForesee)
            m_session.Foresee(jobs, tell);
        else
            RunJobs(jobs);
        for (const auto& [sFile, untold] : m_untold)
            for (const SMessage& message : untold.messages)
                m_watcher.Diagnostic(message.eSeverity, untold.sId, message.sText);
        if (m_words.empty() && !Os::Interrupted())
            m_session.RemoveGone([&] { return Present(sources); }, jobs, tell);
    }
    m_totals.bForeseen = m_session.LooksAhead();
    m_totals.bInterrupted = Os::Interrupted();
    m_totals.fSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return m_totals;
}

/// What fails of the takes and rigs that the user named may not be there, and comes last.
void ZTreeBuild::RunJobs(const std::vector<SJob>& jobs)
{
    std::vector<SJobResult> failed;
    const auto isNamed = [this](const SJobResult& result)
    {
        const std::string sSource = ToLower(result.job.Source());
        return std::any_of(m_named.begin(), m_named.end(),
                           [&sSource](const std::string& sNamed) { return ToLower(sNamed) == sSource; });
    };
    m_session.Run(jobs,
                  [&](const SJobResult& result)
                  {
                      if (!result.IsGood() && isNamed(result))
                          failed.push_back(result);
                      else
                          Report(result);
                  });
    for (SJobResult& result : failed)
    {
        if (const std::string sHint = Os::Interrupted() ? std::string() : WhatThereIs(m_session, result.job);
            !sHint.empty())
            result.messages.push_back({ESeverity::eError, sHint});
        Report(result);
    }
}

void ZTreeBuild::Report(const SJobResult& result)
{
    // What is packed of a file tells most of what its scan had to say again.
    if (!m_untold.empty() && !result.messages.empty())
        if (const auto it = m_untold.find(FileOf(result.job)); it != m_untold.end())
            std::erase_if(it->second.messages,
                          [&result](const SMessage& untold)
                          {
                              return std::any_of(result.messages.begin(), result.messages.end(),
                                                 [&](const SMessage& told) { return told.sText == untold.sText; });
                          });
    m_totals.Add(result);
    m_report(result);
}

/// Whether a build makes anything of it by its kind alone.
bool ZTreeBuild::IsBuilt(const std::string& sSubResource)
{
    const std::string sKind = ToLower(ToId(sSubResource).GetExtension().View());
    const auto kinds = DerivedKinds();
    return !sKind.empty() && std::any_of(kinds.begin(), kinds.end(),
                                         [&sKind](const SDerivedKind& kind) { return kind.builtFrom == sKind; });
}

/// Scans every source once, and tells only of those that could not be scanned.
void ZTreeBuild::Scan(const ZAssetTree::SSources& sources)
{
    std::vector<std::string> misnamed;
    for (const std::string& sSource : sources.ids)
        (sSource.find('?') == std::string::npos ? m_files : IsBuilt(sSource) ? m_named : misnamed).push_back(sSource);
    for (const ZAssetTree::SSources::SFolder& folder : sources.unreadable)
        Report(ZHostSession::FailedScan(folder.sId, folder.sWhy));
    std::vector<SJob> jobs;
    for (const std::string& sFile : m_files)
        jobs.push_back({SJob::eScan, sFile});
    for (const std::string& sWord : misnamed)
        jobs.push_back({SJob::eScan, sWord.substr(0, sWord.find('?'))});
    bool bAllGood = sources.unreadable.empty();
    size_t nFound = 0;
    m_session.Run(
        jobs,
        [&](const SJobResult& result)
        {
            bAllGood &= result.IsGood();
            if (!result.IsGood())
                return Report(result);
            for (const SMessage& message : result.messages)
                if (message.eSeverity == ESeverity::eWarning)
                {
                    SScanMessages& untold = m_untold[FileOf(result.job)];
                    untold.sId = result.job.sId;
                    untold.messages.push_back(message);
                }
            std::vector<std::string>& found = m_found[result.job.sId];
            const bool bBuilt = std::binary_search(m_files.begin(), m_files.end(), result.job.sId);
            for (const SSourceScan::SSubResource& entry : result.scan.subResources)
            {
                found.push_back(entry.sId);
                if (bBuilt)
                    PlanFor(entry.sId);
            }
            nFound += found.size();
        },
        true);
    for (const std::string& sWord : misnamed)
        if (const auto it = m_found.find(sWord.substr(0, sWord.find('?'))); it != m_found.end())
            Report(ZHostSession::FailedScan(sWord, "names nothing that is built; " + ThereIs(it->second, sWord, {})));
    if (Os::Interrupted())
        return;
    if (m_files.empty() && m_named.empty() && misnamed.empty() && bAllGood)
        m_watcher.Notice("there are no sources in '" + m_session.Tree().Root() + "'");
    else if (nFound == 0 && m_named.empty() && misnamed.empty() && bAllGood)
        m_watcher.Notice((m_files.size() == 1 ? "there is no take, rig or character in '" + m_files.front() + "'"
                                              : "there is no take, rig or character in any of the " +
                                                    std::to_string(m_files.size()) + " sources") +
                         ": nothing is marked as one. 'animpack adopt' makes marked files of such as no exporter "
                         "has marked, 'animpack mark' puts chosen marks on one");
}

/// All that is there, for what comes after it.
SPresentSources ZTreeBuild::Present(const ZAssetTree::SSources& sources) const
{
    SPresentSources present;
    for (const std::string& sFile : m_files)
    {
        const std::string sLower = ToLower(sFile);
        present.files.insert(sLower);
        if (const auto it = m_found.find(sFile); it != m_found.end())
            for (const std::string& sId : it->second)
                present.subResources.insert(ToLower(sId));
        else
            present.unknown.insert(sLower);
    }
    for (const ZAssetTree::SSources::SFolder& folder : sources.unreadable)
        present.unreadableFolders.push_back(ToLower(folder.sId));
    return present;
}

/// In passing, while workers scan.
void ZTreeBuild::PlanFor(const std::string& sSubResource)
{
    const ZResourceID id = ToId(sSubResource);
    const auto kinds = DerivedKinds();
    m_plan.resize(kinds.size() * m_platforms.size());
    size_t n = 0;
    for (const SDerivedKind& kind : kinds)
        for (const std::string& sPlatform : m_platforms)
        {
            std::vector<SJob>& jobs = m_plan[n++];
            if ((m_sKind.empty() || kind.builtFrom == m_sKind) && !kind.builtFrom.empty() &&
                id.GetExtension().View() == kind.builtFrom)
                jobs.push_back({SJob::ePack, CanonicalId(id.CreateDerivedResourceID(ToZString(kind.extension), "",
                                                                                    ToZString(sPlatform)))});
        }
}

/// What others need comes before them: first all rigs, then all takes.
std::vector<SJob> ZTreeBuild::Plan()
{
    std::for_each(m_named.begin(), m_named.end(), [this](const std::string& sNamed) { PlanFor(sNamed); });
    std::vector<SJob> jobs;
    for (std::vector<SJob>& some : m_plan)
        jobs.insert(jobs.end(), std::make_move_iterator(some.begin()), std::make_move_iterator(some.end()));
    return jobs;
}

} // namespace Host
