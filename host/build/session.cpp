#include "host/build/session.h"

#include "base/misc/utf8.h"
#include "host/build/workermain.h"
#include "host/files/outputfile.h"
#include "host/files/outputpath.h"
#include "host/files/resourceids.h"
#include "host/module/hostmodule.h"
#include "host/module/moduleloader.h"
#include "host/text/hosterror.h"
#include "host/text/textformat.h"
#include "os/interrupt.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <unordered_map>
#include <unordered_set>

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

constexpr size_t SCHEME_LENGTH = std::string_view("assembly:/").size();
constexpr const char NO_UTF8[] = "its name is no UTF-8, so there is no identifier for it";

/// A worker takes one of the files that this process may have open, and some are for the others.
unsigned int MostWorkers(unsigned int nWanted)
{
    const uint64_t nFiles = Os::MostOpenFiles();
    return static_cast<unsigned int>(std::clamp<uint64_t>(nFiles / 2, 1, nWanted));
}

} // namespace

ZHostSession::ZHostSession(const SSessionOptions& options, IBuildWatcher& watcher, EUse eUse)
    : m_watcher(watcher), m_sOut(CleanFolder(options.sOut)), m_eUse(eUse), m_tree(options.sAssets)
{
    const auto notice = [&watcher](const std::string& sText) { watcher.Notice(sText); };
    RegisterHostModules();
    LoadModule(options.sModule);
    std::error_code error;
    m_bWrites = eUse == EUse::eWrites && !options.bNoState && !options.bShare;
    if (options.bShare)
        m_pLock = std::make_unique<ZOutputLock>(m_sOut, notice, Os::ZFileLock::EKind::eShared);
    else if (m_bWrites || (LooksAhead() && std::filesystem::exists(m_sOut + '/' + STATE_FILE, error)))
        m_pLock = std::make_unique<ZOutputLock>(m_sOut, notice);
    else if (!options.bNoState)
    {
        if (options.bMakeOut)
            std::filesystem::create_directories(m_sOut, error);
        m_pLock = std::make_unique<ZOutputLock>(m_sOut);
        if (!m_pLock->IsHeld() && !LooksAhead() && (options.bMakeOut || std::filesystem::is_directory(m_sOut, error)))
            notice("what is found is not kept: another run is at work in '" + m_sOut + "', or it can't be written to");
    }
    m_interruptNote.emplace();
    m_pState = std::make_unique<ZBuildState>(
        m_pLock && m_pLock->IsHeld() && !options.bShare ? m_sOut + '/' + STATE_FILE : std::string(), notice);
    m_pState->SetAssets(m_tree.Root());
    const bool bAfterCutShort = m_bWrites && m_pState->BeginRun();
    if (bAfterCutShort)
        RemovePassingFiles(m_sOut);
    m_pStaleness = std::make_unique<ZStaleness>(m_tree, m_sOut, *m_pState, HashOfTools(options.sModule));
    const SWorkerLimits limits{options.nMemoryLimit, options.fJobTimeout};
    m_pPool = std::make_unique<ZWorkerPool>(MostWorkers(options.nWorkers) + 1, limits,
                                            [this, bKeepSame = options.bNoState](ZLineChannel& channel) {
                                                RunJobsOf(channel, {m_tree, m_sOut, bKeepSame});
                                            });
    m_pScheduler = std::make_unique<ZJobScheduler>(
        ZJobScheduler::SServices{*m_pPool, *m_pState, *m_pStaleness, options.bForce, bAfterCutShort,
                                 options.bExplain || LooksAhead(), options.standing},
        [this](const SJobResult& result) { m_report(result); },
        [this](size_t nTold, size_t nListed, const SJob& job) { m_watcher.Progress(nTold, nListed, job.Source()); });
}

ZHostSession::~ZHostSession()
{
    try
    {
        m_pPool.reset();
        // With an exception it may have left files that wait to be published, or that nobody has noted; an interrupt
        // may have come before what workers had ahead was told.
        const bool bFailed = std::uncaught_exceptions() != 0;
        if (m_bWrites && (bFailed || Os::Interrupted()))
            RemovePassingFiles(m_sOut);
        if (m_bWrites && !bFailed)
            m_pState->EndRun();
    }
    catch (const ZHostError& error)
    {
        m_watcher.Error(error);
    }
}

void ZHostSession::Run(const std::vector<SJob>& jobs, const ZJobScheduler::FReport& report, bool bNamesOnly)
{
    m_report = report;
    m_pScheduler->Run(jobs, bNamesOnly);
}

void ZHostSession::Foresee(const std::vector<SJob>& jobs, const ZJobScheduler::FReport& report)
{
    m_pStaleness->Foresee(jobs, report);
}

ZHostSession::SInputs ZHostSession::InputsOf(const std::vector<std::string>& ids)
{
    SInputs inputs;
    std::unordered_set<std::string> seen(ids.begin(), ids.end());
    std::vector<std::string> pending = ids;
    while (!pending.empty())
    {
        SBuildRecord record;
        const bool bFound = m_pState->Find(pending.back(), record);
        pending.pop_back();
        for (const SDependency& dependency : bFound ? record.dependencies : std::vector<SDependency>())
        {
            if (!seen.insert(dependency.sId).second)
                continue;
            if (dependency.eKind == SDependency::eDerived)
            {
                pending.push_back(dependency.sId);
                inputs.files.push_back(m_pStaleness->FileOf(OutputPathOf(ToId(dependency.sId))));
                continue;
            }
            const ZAssetTree::SLookup& lookup = m_tree.Find(ToId(dependency.sId));
            if (lookup.eState == ZAssetTree::SLookup::eFound)
                inputs.files.push_back(lookup.sPath);
            else if (lookup.eState == ZAssetTree::SLookup::eMissing)
                inputs.absent.push_back(m_tree.Root() + '/' + dependency.sId.substr(SCHEME_LENGTH));
        }
    }
    return inputs;
}

SJobResult ZHostSession::FailedScan(const std::string& sId, const std::string& sWhy)
{
    SJobResult failed;
    failed.job = {SJob::eScan, sId};
    failed.messages.push_back({ESeverity::eError, sWhy});
    failed.scan.sSource = sId;
    failed.scan.sError = sWhy;
    return failed;
}

bool ZHostSession::Scan(const std::vector<std::string>& words, const ZJobScheduler::FReport& report)
{
    const ZAssetTree::SSources sources = SourcesOf(words);
    std::vector<SJob> jobs;
    for (const std::string& sSource : sources.ids)
        jobs.push_back({SJob::eScan, sSource.substr(0, sSource.find('?'))});
    bool bAllGood = true;
    const auto tell = [&](const SJobResult& result)
    {
        for (const SMessage& message : result.messages)
            m_watcher.Diagnostic(message.eSeverity, result.job.sId, message.sText);
        bAllGood &= result.IsGood();
        report(result);
    };
    for (const ZAssetTree::SSources::SFolder& folder : sources.unreadable)
        tell(FailedScan(folder.sId, folder.sWhy));
    Run(jobs,
        [&](const SJobResult& result)
        {
            if (result.IsGood() || !result.scan.sError.empty())
                return tell(result);
            const std::string* pError = result.FirstError();
            SJobResult failed = result;
            failed.scan.sSource = result.job.sId;
            failed.scan.sError = pError != nullptr ? *pError : "it can't be read";
            tell(failed);
        });
    if (Os::Interrupted())
        return false;
    if (words.empty())
        ForgetAllBut(sources);
    if (jobs.empty() && sources.unreadable.empty())
        m_watcher.Notice("there are no sources in '" + m_tree.Root() + "'");
    return bAllGood;
}

void ZHostSession::ForgetAllBut(const ZAssetTree::SSources& sources)
{
    std::vector<std::string> folders;
    for (const ZAssetTree::SSources::SFolder& folder : sources.unreadable)
        folders.push_back(folder.sId);
    m_pState->KeepSources(sources.ids, folders);
}

void ZHostSession::RemoveGone(const std::function<SPresentSources()>& look, const std::vector<SJob>& made,
                              const ZJobScheduler::FReport& report)
{
    for (const SBuildRecord& record : FindGone(*m_pState, m_tree, look, made))
    {
        const std::string sPath = m_pStaleness->FileOf(record.sFile);
        const bool bThere = Os::StampOf(sPath).bExists;
        const bool bOurs = m_pStaleness->HasFile(record);
        if (LooksAhead())
        {
            SJobResult removed;
            removed.job = {SJob::ePack, record.sId};
            removed.eStatus = EJobStatus::eToRemove;
            if (bThere && bOurs)
                report(removed);
            continue;
        }
        SJobResult removed;
        removed.job = {SJob::ePack, record.sId};
        removed.eStatus = EJobStatus::eRemoved;
        if (const std::error_code error = bThere && bOurs ? Os::RemoveFile(sPath) : std::error_code())
        {
            removed.eStatus = EJobStatus::eFailed;
            removed.messages.push_back(
                {ESeverity::eError, "is gone, but what was packed of it can't be removed: " + error.message()});
            report(removed);
            continue;
        }
        m_pState->Remove(record.sId);
        if (bThere && !bOurs)
        {
            m_watcher.Diagnostic(ESeverity::eWarning, removed.job.Source(),
                                 "is gone, but '" + sPath + "' is not what was packed of it, and is left");
            continue;
        }
        // As far as it was the last in its folders; the platform's stays.
        for (std::string sFolder = sPath; sFolder = sFolder.substr(0, sFolder.rfind('/')),
                         sFolder.size() > record.sFile.find('/') + m_sOut.size() + 1;)
            if (!Os::RemoveEmptyFolder(sFolder))
                break;
        if (bThere)
            report(removed);
    }
    m_pState->Commit();
}

ZAssetTree::SSources ZHostSession::SourcesOf(const std::vector<std::string>& words)
{
    ZAssetTree::SSources sources;
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
        const ZAssetTree::SSources found = m_tree.Sources(sId, isKnown);
        sources.ids.insert(sources.ids.end(), found.ids.begin(), found.ids.end());
        sources.unreadable.insert(sources.unreadable.end(), found.unreadable.begin(), found.unreadable.end());
        sources.namesNotUtf8.insert(sources.namesNotUtf8.end(), found.namesNotUtf8.begin(), found.namesNotUtf8.end());
    };
    if (words.empty())
        addFolder("assembly:/");
    for (const std::string& sWord : words)
    {
        const std::string sId = m_tree.IdOf(sWord);
        if (!IsUtf8(sId))
        {
            sources.unreadable.push_back({sId, NO_UTF8});
            continue;
        }
        if (sId.find('?') == std::string::npos)
            if (const std::string sFolder = m_tree.FolderOf(sId); !sFolder.empty())
            {
                addFolder(sFolder);
                continue;
            }
        const ZAssetTree::SLookup& lookup = m_tree.Find(ToId(sId));
        if (lookup.eState != ZAssetTree::SLookup::eFound && sWord.starts_with('/'))
        {
            sources.unreadable.push_back({sWord, "is not in the asset tree '" + m_tree.Root() + "'"});
            continue;
        }
        const size_t nMark = sId.find('?');
        if (lookup.eState == ZAssetTree::SLookup::eFound && !CanBeIdentifier(sId.substr(0, nMark)))
        {
            sources.unreadable.push_back({sId, NO_IDENTIFIER});
            continue;
        }
        const std::string sParameters = nMark != std::string::npos ? sId.substr(nMark) : std::string();
        sources.ids.push_back(lookup.eState == ZAssetTree::SLookup::eFound
                                  ? "assembly:/" + lookup.sPath.substr(m_tree.Root().size() + 1) + sParameters
                                  : sId);
    }
    if (!sources.namesNotUtf8.empty())
        m_watcher.Notice(Counted(sources.namesNotUtf8.size(), "file") + " left out, '" + sources.namesNotUtf8.front() +
                         (sources.namesNotUtf8.size() > 1 ? "' and others" : "'") +
                         ": names that are no UTF-8 have no identifiers");
    std::sort(sources.ids.begin(), sources.ids.end());
    sources.ids.erase(std::unique(sources.ids.begin(), sources.ids.end()), sources.ids.end());
    return sources;
}

} // namespace Host
