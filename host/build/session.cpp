#include "host/build/session.h"

#include "host/files/outputfile.h"
#include "host/files/resourceids.h"
#include "host/module/hostmodule.h"
#include "host/module/moduleloader.h"
#include "host/text/hosterror.h"

#include <algorithm>
#include <filesystem>
#include <unordered_map>

namespace Host
{

namespace
{

/// As workers use it: without a slash at the end.
std::string CleanFolder(const std::string& sFolder)
{
    std::string sClean = sFolder;
    while (sClean.size() > 1 && sClean.back() == '/')
        sClean.pop_back();
    return sClean;
}

} // namespace

ZHostSession::ZHostSession(const SSessionOptions& options, IBuildWatcher& watcher, EUse eUse)
    : m_watcher(watcher), m_sOut(CleanFolder(options.sOut)), m_tree(options.sAssets)
{
    const auto notice = [&watcher](const std::string& sText) { watcher.Notice(sText); };
    RegisterHostModules();
    LoadModule(options.sModule);
    m_bWrites = eUse == EUse::eWrites;
    if (m_bWrites)
        m_pLock = std::make_unique<ZOutputLock>(m_sOut, notice);
    else
    {
        std::error_code error;
        if (options.bMakeOut)
            std::filesystem::create_directories(m_sOut, error);
        m_pLock = std::make_unique<ZOutputLock>(m_sOut);
        if (!m_pLock->IsHeld() && (options.bMakeOut || std::filesystem::is_directory(m_sOut, error)))
            notice("what is found is not kept: another run is at work in '" + m_sOut + "', or it can't be written to");
    }
    m_pState = std::make_unique<ZBuildState>(m_pLock->IsHeld() ? m_sOut + '/' + STATE_FILE : std::string(), notice);
    m_pState->SetAssets(m_tree.Root());
    if (m_bWrites && m_pState->BeginRun())
        RemovePassingFiles(m_sOut);
    m_pStaleness = std::make_unique<ZStaleness>(m_tree, m_sOut, *m_pState, HashOfTools(options.sModule));
    const SWorkerLimits limits{options.nMemoryLimit, options.fJobTimeout};
    m_pPool = std::make_unique<ZWorkerPool>(options.nWorkers + 1, limits,
                                            [this](ZLineChannel& channel)
                                            { ZJobScheduler::WorkerMain(m_tree, m_sOut, channel); });
    m_pScheduler = std::make_unique<ZJobScheduler>(
        ZJobScheduler::SServices{*m_pPool, *m_pState, *m_pStaleness, options.bForce},
        [this](const SJobResult& result) { m_report(result); },
        [this](size_t nTold, size_t nListed, const SJob& job) { m_watcher.Progress(nTold, nListed, job.Source()); });
}

ZHostSession::~ZHostSession()
{
    try
    {
        m_pPool.reset();
        if (m_bWrites)
            m_pState->EndRun();
    }
    catch (const ZHostError& error)
    {
        m_watcher.Error(error);
    }
}

void ZHostSession::Run(const std::vector<SJob>& jobs, const ZJobScheduler::FReport& report)
{
    m_report = report;
    m_pScheduler->Run(jobs);
}

bool ZHostSession::Scan(const std::vector<std::string>& words, const ZJobScheduler::FReport& report)
{
    std::vector<std::string> sources;
    for (const std::string& sSource : SourcesOf(words))
        sources.push_back(sSource.substr(0, sSource.find('?')));
    std::vector<SJob> jobs;
    for (const std::string& sSource : sources)
        jobs.push_back({SJob::eScan, sSource});
    bool bAllGood = true;
    Run(jobs,
        [&](const SJobResult& result)
        {
            for (const SMessage& message : result.messages)
                m_watcher.Diagnostic(message.eSeverity, result.job.sId, message.sText);
            bAllGood &= result.IsGood();
            if (result.IsGood() || !result.scan.sError.empty())
                return report(result);
            const std::string* pError = result.FirstError();
            SJobResult failed = result;
            failed.scan.sSource = result.job.sId;
            failed.scan.sError = pError != nullptr ? *pError : "it can't be read";
            report(failed);
        });
    if (words.empty())
        ForgetAllBut(sources);
    if (jobs.empty())
        m_watcher.Notice("there are no sources in '" + m_tree.Root() + "'");
    return bAllGood;
}

std::vector<std::string> ZHostSession::SourcesOf(const std::vector<std::string>& words)
{
    std::vector<std::string> sources;
    size_t nUnreadableNames = 0;
    std::unordered_map<std::string, SFileStamp> known;
    for (ZScanIndex::SSource& source : m_pState->ScannedSources())
        known.emplace(std::move(source.sId), source.stamp);
    const auto isKnown = [&known](const std::string& sId, const std::string& sPath)
    {
        const auto it = known.find(sId);
        return it != known.end() && it->second.bExists && it->second == StampOf(sPath);
    };
    const auto addFolder = [&](const std::string& sId)
    {
        const std::vector<std::string> found = m_tree.Sources(sId, nUnreadableNames, isKnown);
        sources.insert(sources.end(), found.begin(), found.end());
    };
    if (words.empty())
        addFolder("assembly:/");
    for (const std::string& sWord : words)
    {
        const std::string sId = m_tree.IdOf(sWord);
        if (m_tree.IsFolder(sId))
        {
            addFolder(sId);
            continue;
        }
        const ZAssetTree::SLookup lookup = m_tree.Find(ToId(sId));
        const size_t nMark = sId.find('?');
        const std::string sParameters = nMark != std::string::npos ? sId.substr(nMark) : std::string();
        sources.push_back(lookup.eState == ZAssetTree::SLookup::eFound
                              ? "assembly:/" + lookup.sPath.substr(m_tree.Root().size() + 1) + sParameters
                              : sId);
    }
    if (nUnreadableNames != 0)
        m_watcher.Notice(std::to_string(nUnreadableNames) + " files are left out, because their names are no UTF-8");
    std::sort(sources.begin(), sources.end());
    sources.erase(std::unique(sources.begin(), sources.end()), sources.end());
    return sources;
}

std::string ZHostSession::CaseClash(const std::string& sId) const
{
    const ZAssetTree::SLookup spelled = m_tree.Find(ToId(sId));
    const ZAssetTree::SLookup lowered = m_tree.Find(ToId(ToLower(sId)));
    if (spelled.eState != ZAssetTree::SLookup::eFound || lowered.sPath == spelled.sPath)
        return {};
    if (lowered.eState == ZAssetTree::SLookup::eAmbiguous)
        return lowered.sWhy;
    const size_t nRoot = m_tree.Root().size() + 1;
    return "files that differ in case alone: '" + spelled.sPath.substr(nRoot) + "' '" + lowered.sPath.substr(nRoot) +
           "'";
}

} // namespace Host
