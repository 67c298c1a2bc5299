#include "host/hostsession.h"

#include "host/hosterror.h"
#include "host/hostmodule.h"
#include "host/moduleloader.h"
#include "host/outputfile.h"
#include "host/resourceids.h"

#include <algorithm>
#include <filesystem>

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

ZHostSession::ZHostSession(const SOptions& options, ZConsole& console, EUse eUse)
    : m_console(console), m_sOut(CleanFolder(options.sOut)), m_tree(options.sAssets)
{
    const auto notice = [&console](const std::string& sText) { console.Notice(sText); };
    RegisterHostModules();
    LoadModule(options.sModule);
    m_pLock =
        eUse == EUse::eWrites ? std::make_unique<ZOutputLock>(m_sOut, notice) : std::make_unique<ZOutputLock>(m_sOut);
    m_pState = std::make_unique<ZBuildState>(m_pLock->IsHeld() ? m_sOut + '/' + STATE_FILE : std::string(), notice);
    m_bWrites = eUse == EUse::eWrites;
    if (m_bWrites && m_pState->BeginRun())
        RemovePassingFiles(m_sOut);
    m_pStaleness = std::make_unique<ZStaleness>(m_tree, m_sOut, *m_pState, HashOfTools(options.sModule));
    const SWorkerLimits limits{options.nMemoryLimit, options.fJobTimeout};
    m_pPool = std::make_unique<ZWorkerPool>(options.nWorkers, limits,
                                            [this](ZLineChannel& channel)
                                            { ZJobScheduler::WorkerMain(m_tree, m_sOut, channel); });
    m_pScheduler = std::make_unique<ZJobScheduler>(
        ZJobScheduler::SServices{*m_pPool, *m_pState, *m_pStaleness, options.bForce},
        [this](const SJobResult& result) { m_report(result); },
        [this](size_t nTold, size_t nListed, const SJob& job) { m_console.Progress(nTold, nListed, job.Source()); });
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
        m_console.Error(error);
    }
}

void ZHostSession::Run(const std::vector<SJob>& jobs, const ZJobScheduler::FReport& report)
{
    m_report = report;
    m_pScheduler->Run(jobs);
}

std::vector<std::string> ZHostSession::SourcesOf(const std::vector<std::string>& words)
{
    std::vector<std::string> sources;
    size_t nUnreadableNames = 0;
    const auto addFolder = [&](const std::string& sId)
    {
        const std::vector<std::string> found = m_tree.Sources(sId, nUnreadableNames);
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
        m_console.Notice(std::to_string(nUnreadableNames) + " files are left out, because their names are no UTF-8");
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
