#include "host/build/jobscheduler.h"

#include "host/build/joblines.h"
#include "host/files/derivedkinds.h"
#include "host/files/outputpath.h"
#include "host/files/resourceids.h"
#include "host/index/scantext.h"
#include "os/interrupt.h"

#include <algorithm>

namespace Host
{

ZJobScheduler::ZJobScheduler(const SServices& services, FReport report, FProgress progress)
    : m_services(services),
      m_report(std::move(report)),
      m_progress(std::move(progress)),
      m_workers(services.pool.Size() - 1),
      m_files(m_workers.size(), 0),
      m_publisher(services.pool)
{
}

ZJobScheduler::SEntry& ZJobScheduler::EntryOf(const SJob& job)
{
    const auto [it, bNew] = m_entries.try_emplace(job.sId);
    if (bNew)
        it->second.result.job = job;
    return it->second;
}

/// Done already, by a run before this one?
bool ZJobScheduler::FillFromState(SEntry& entry)
{
    SBuildRecord record;
    if (m_services.bForce || !m_services.staleness.IsUpToDate(entry.result.job, record))
        return false;
    SJobResult& result = entry.result;
    if (result.job.eKind == SJob::eScan && !(m_bNamesOnly ? m_services.state.FindScanNames(record, result.scan)
                                                          : m_services.state.FindScan(record, result.scan)))
        return false;
    result.eStatus = EJobStatus::eUpToDate;
    result.sFile = record.sFile;
    result.stamp = record.stamp;
    result.nBytes = record.sFile.empty() ? 0 : record.stamp.nSize;
    result.nHash = record.nHash;
    entry.eState = EState::eDone;
    NoteReady(result.job);
    return true;
}

void ZJobScheduler::Explain(SEntry& entry)
{
    if (m_services.bExplain)
        entry.result.why = m_services.bForce ? std::vector<SReason>{{SReason::eForced, {}, 0, 0}}
                                             : m_services.staleness.WhyNot(entry.result.job);
}

bool ZJobScheduler::IsMadeElsewhere(const SJob& job) const
{
    const std::vector<std::string>& standing = m_services.standing;
    return job.Component().empty() ||
           std::find(standing.begin(), standing.end(), ToStd(ToId(job.sId).GetExtension())) != standing.end();
}

/// Whether it is up to date can't be told while what it was made from is being made.
bool ZJobScheduler::MustWait(const SEntry& entry)
{
    SBuildRecord record;
    if (m_services.bForce || !m_services.state.Find(entry.result.job.sId, record))
        return false;
    return std::any_of(record.dependencies.begin(), record.dependencies.end(),
                       [this](const SDependency& dependency)
                       {
                           const auto it = m_entries.find(dependency.sId);
                           return dependency.eKind == SDependency::eDerived && it != m_entries.end() &&
                                  it->second.eState != EState::eNew && it->second.eState != EState::eDone;
                       });
}

void ZJobScheduler::Run(const std::vector<SJob>& jobs, bool bNamesOnly)
{
    m_bNamesOnly = bNamesOnly;
    m_list.clear();
    m_nTold = 0;
    std::unordered_set<std::string> listed;
    for (const SJob& job : jobs)
    {
        SEntry& entry = EntryOf(job);
        if (entry.bTold || !listed.insert(job.sId).second)
            continue;
        m_list.push_back(job.sId);
        // Nothing runs yet, so what holds can be told before anybody waits for it.
        if (entry.eState == EState::eNew && !FillFromState(entry))
            m_queue.Add(job);
        if (m_list.size() % 64 == 0)
            TellWhatIsKnown();
    }
    while (true)
    {
        StartJobs();
        TellWhatIsKnown();
        if (m_nTold == m_list.size())
            break;
        if (Os::Interrupted())
            return Stop();
        // Whoever has nothing to do gets nothing but by what is still to be published.
        m_publisher.Continue(std::any_of(m_workers.begin(), m_workers.end(),
                                         [](const SWorker& worker)
                                         { return worker.stack.empty() || !worker.sWaitsFor.empty(); }));
        ZWorkerPool::SEvent event;
        if (!m_services.pool.Wait(event, m_publisher.HasWaiting() ? 0.01 : 0.5))
            m_services.state.Commit();
        else if (event.nWorker == m_publisher.Worker())
        {
            SLine line;
            if (event.bEnded)
                HandlePublished(m_publisher.OnEnd(event.sText));
            else if (DecodeLine(event.sText, line) && line.eKind == SLine::ePublished)
                HandlePublished(m_publisher.OnPublished(line.errors));
            else
                m_services.pool.Kill(event.nWorker, "its process talked nonsense");
        }
        else if (event.bEnded)
            HandleEnd(event);
        else
            HandleLine(event.nWorker, event.sText);
    }
    m_services.state.Commit();
}

/// What is being done is left, what is done but for its file is completed.
void ZJobScheduler::Stop()
{
    m_queue.Clear();
    for (size_t n = 0; n < m_workers.size(); ++n)
        if (!m_workers[n].stack.empty())
            m_services.pool.Kill(n, "interrupted");
    for (auto& [sId, entry] : m_entries)
        entry.waiters.clear();
    const auto isBusy = [](const SWorker& worker) { return !worker.stack.empty(); };
    while (!m_publisher.IsIdle() || std::any_of(m_workers.begin(), m_workers.end(), isBusy))
    {
        m_publisher.Continue(true);
        ZWorkerPool::SEvent event;
        SLine line;
        if (!m_services.pool.Wait(event, 10.0))
            break;
        if (event.nWorker == m_publisher.Worker())
        {
            if (event.bEnded)
                HandlePublished(m_publisher.OnEnd(event.sText));
            else if (DecodeLine(event.sText, line) && line.eKind == SLine::ePublished)
                HandlePublished(m_publisher.OnPublished(line.errors));
        }
        else if (event.bEnded)
            RemoveUnfinished(std::exchange(m_workers[event.nWorker], {}), event.nProcess);
    }
    m_services.state.Commit();
    for (const std::string& sId : m_list)
        Tell(m_entries.at(sId));
}

/// Of jobs that it had ahead, too: they may be done, and nobody has heard of it.
void ZJobScheduler::RemoveUnfinished(const SWorker& worker, Os::TProcessId nProcess)
{
    std::vector<std::string> ids = worker.stack;
    for (const SAhead& ahead : worker.ahead)
        ids.push_back(ahead.sId);
    for (const std::string& sId : ids)
        if (const std::string sFile = OutputPathOf(ToId(sId)); !sFile.empty())
            RemovePassingFilesBeside(m_services.staleness.FileOf(sFile), nProcess,
                                     [this](const std::string& sPath) { return m_publisher.Has(sPath); });
}

void ZJobScheduler::StartJobs()
{
    for (bool bMore = true; bMore && !m_queue.IsEmpty();)
    {
        bMore = false;
        for (size_t n = 0; n < m_workers.size(); ++n)
            if (m_workers[n].stack.empty() || MayGetAhead(m_workers[n]))
                bMore |= StartNext(n);
    }
    for (size_t n = 0; n < m_workers.size(); ++n)
        m_services.pool.SetQuiet(n, m_workers[n].ahead.size() >= QUIET_FROM);
}

bool ZJobScheduler::StartNext(size_t nWorker)
{
    SWorker& worker = m_workers[nWorker];
    while (!m_queue.IsEmpty())
    {
        const SJob job = m_queue.Take(m_files[nWorker], m_files);
        SEntry& entry = EntryOf(job);
        if (entry.eState == EState::eNew && MustWait(entry))
        {
            m_queue.Postpone(job);
            continue;
        }
        if (entry.eState != EState::eNew || FillFromState(entry))
        {
            // A long list that is up to date is told as it is gone through.
            TellWhatIsKnown();
            continue;
        }
        Explain(entry);
        entry.nWorker = nWorker;
        entry.eState = worker.stack.empty() ? EState::eRunning : EState::eAhead;
        if (worker.stack.empty())
            worker.stack.push_back(job.sId);
        else
            worker.ahead.push_back({job.sId});
        m_services.pool.Queue(nWorker, EncodeJob(job, m_queue.Size() >= PUBLISH_LATER_FROM, ReadyFor(nWorker, job)));
        m_progress(m_nTold, m_list.size(), job);
        return true;
    }
    return false;
}

/// What was made of the job's file before, for a worker that is new to the file: it is what jobs need most, and to ask
/// for it would take longer than many a job does.
std::vector<std::string> ZJobScheduler::ReadyFor(size_t nWorker, const SJob& job)
{
    std::vector<std::string> ready;
    const ZJobQueue::TFile file = ZJobQueue::FileOf(job.sId);
    const auto it = m_ready.find(file);
    if (std::exchange(m_files[nWorker], file) != file && it != m_ready.end())
        ready = it->second;
    return ready;
}

void ZJobScheduler::NoteReady(const SJob& job)
{
    if (job.eKind != SJob::ePack)
        return;
    std::vector<std::string>& ready = m_ready[ZJobQueue::FileOf(job.sId)];
    if (ready.size() < MOST_READY)
        ready.push_back(job.sId);
}

/// A worker that has its next jobs already need not wait for this process in between.
bool ZJobScheduler::MayGetAhead(const SWorker& worker) const
{
    const size_t nAhead = worker.ahead.size();
    if (m_queue.Size() < PUBLISH_LATER_FROM || !worker.sWaitsFor.empty() || worker.fLastJob >= SHORT_JOB)
        return false;
    return nAhead < AHEAD_AT_LEAST || (nAhead < m_queue.Size() / (4 * m_workers.size()) &&
                                       static_cast<double>(nAhead + 1) * worker.fMeanJob < AHEAD_SECONDS);
}

/// The worker's first job is done; it is at the next one by now.
void ZJobScheduler::GoOn(size_t nWorker)
{
    SWorker& worker = m_workers[nWorker];
    worker.bTaken = false;
    if (worker.ahead.empty())
        return m_services.pool.StopClock(nWorker);
    const SAhead next = std::move(worker.ahead.front());
    worker.ahead.pop_front();
    worker.stack.push_back(next.sId);
    worker.bTaken = next.bTaken;
    if (!next.bTaken)
        EntryOf({SJob::ePack, next.sId}).eState = EState::eRunning;
}

void ZJobScheduler::HandleLine(size_t nWorker, const std::string& sText)
{
    SLine line;
    SWorker& worker = m_workers[nWorker];
    if (!DecodeLine(sText, line) || worker.stack.empty() || !worker.sWaitsFor.empty())
        return m_services.pool.Kill(nWorker, "its process talked nonsense");
    switch (line.eKind)
    {
    case SLine::eMessage:
        if (worker.IsTaken())
            return;
        return EntryOf({SJob::ePack, worker.stack.back()}).result.messages.push_back(std::move(line.message));
    case SLine::eNeed:
        return HandleNeed(nWorker, line.sText);
    case SLine::eResult:
        if (line.result.job.sId == worker.stack.back())
            return HandleResult(nWorker, std::move(line.result));
        [[fallthrough]];
    default:
        return m_services.pool.Kill(nWorker, "its process talked nonsense");
    }
}

bool ZJobScheduler::WouldCloseRing(size_t nWorker, const SEntry& needed) const
{
    // A worker that waits goes on when what it waits for is done, by the worker that runs that, and so on.
    const SEntry* pEntry = &needed;
    for (size_t nSteps = 0; nSteps <= m_workers.size(); ++nSteps)
    {
        if (pEntry->eState != EState::eRunning)
            return false;
        if (pEntry->nWorker == nWorker)
            return true;
        const std::string& sNext = m_workers[pEntry->nWorker].sWaitsFor;
        if (sNext.empty())
            return false;
        pEntry = &m_entries.at(sNext);
    }
    return true;
}

void ZJobScheduler::HandleNeed(size_t nWorker, const std::string& sId)
{
    SWorker& worker = m_workers[nWorker];
    const SJob job{SJob::ePack, sId};
    EntryOf({SJob::ePack, worker.stack.back()}).needs.push_back(sId);
    SEntry& entry = EntryOf(job);
    if (entry.eState == EState::eAhead)
    {
        // Who has it ahead may wait for this one. It is done here, and nobody's there.
        for (SAhead& ahead : m_workers[entry.nWorker].ahead)
            ahead.bTaken |= ahead.sId == sId;
        entry.eState = EState::eNew;
    }
    if (entry.eState == EState::eRunning || entry.eState == EState::eToPublish)
    {
        if (WouldCloseRing(nWorker, entry))
        {
            std::string sRing;
            for (const std::string& sJob : worker.stack)
                sRing += "'" + sJob + "' needs ";
            return m_services.pool.Send(nWorker, EncodeAnswer(ANSWER_REFUSED, "a ring: " + sRing + "'" + sId + "'"));
        }
        entry.waiters.push_back(nWorker);
        worker.sWaitsFor = sId;
        return m_services.pool.StopClock(nWorker);
    }
    if (entry.eState == EState::eNew && IsMadeElsewhere(job))
    {
        // Made elsewhere: there or not, it is nothing that this run could change.
        const std::string sFile = OutputPathOf(ToId(sId));
        entry.eState = EState::eDone;
        entry.bTold = true;
        if (!sFile.empty() && StampOf(m_services.staleness.FileOf(sFile)).bExists)
            entry.result.eStatus = EJobStatus::eUpToDate;
        else
            entry.result.messages.push_back(
                {ESeverity::eError, "resources of the extension '" + ToStd(ToId(sId).GetExtension()) +
                                        "' are made elsewhere, and no packed file stands at '" + sFile + "'"});
    }
    if (entry.eState == EState::eDone || FillFromState(entry))
        return Answer(nWorker, entry);
    Explain(entry);
    entry.eState = EState::eRunning;
    entry.nWorker = nWorker;
    worker.stack.push_back(sId);
    m_services.pool.Send(nWorker, EncodeAnswer(ANSWER_PACK, {}));
}

void ZJobScheduler::Answer(size_t nWorker, const SEntry& needed)
{
    if (needed.result.IsGood())
        return m_services.pool.Send(nWorker, EncodeAnswer(ANSWER_READY, {}));
    const std::string* pWhy = needed.result.FirstError();
    const std::string_view answer = IsMadeElsewhere(needed.result.job) ? ANSWER_REFUSED : ANSWER_FAILED;
    m_services.pool.Send(nWorker, EncodeAnswer(answer, pWhy != nullptr ? *pWhy : "it has failed"));
}

void ZJobScheduler::HandleResult(size_t nWorker, SJobResult&& result)
{
    SWorker& worker = m_workers[nWorker];
    if (worker.IsTaken())
    {
        if (!result.publication.sPassingPath.empty())
            Os::RemoveFile(result.publication.sPassingPath);
        worker.stack.pop_back();
        return GoOn(nWorker);
    }
    if (result.job.eKind == SJob::eScan &&
        !(m_bNamesOnly && result.IsGood() ? DecodeScanNames(result.sScan, result.scan)
                                          : DecodeScan(result.sScan, result.scan)))
        return m_services.pool.Kill(nWorker, "its process talked nonsense");
    SEntry& entry = EntryOf(result.job);
    result.messages = std::move(entry.result.messages);
    result.why = std::move(entry.result.why);
    entry.result = std::move(result);
    // What a worker has read before, it does not ask for again.
    for (const SDependency& dependency : entry.result.dependencies)
        if (dependency.eKind == SDependency::eDerived && m_entries.contains(dependency.sId) &&
            std::find(entry.needs.begin(), entry.needs.end(), dependency.sId) == entry.needs.end())
            entry.needs.push_back(dependency.sId);
    worker.stack.pop_back();
    if (worker.stack.empty())
    {
        worker.fLastJob = entry.result.fSeconds;
        worker.fMeanJob += (std::max(worker.fLastJob, SHORTEST_JOB) - worker.fMeanJob) / 8;
        GoOn(nWorker);
    }
    if (entry.result.publication.sPath.empty() || !entry.result.IsGood())
        return Complete(entry);
    entry.eState = EState::eToPublish;
    m_publisher.Add(entry.result.job.sId, entry.result.publication);
}

void ZJobScheduler::HandlePublished(const std::vector<ZPublisher::SOutcome>& outcomes)
{
    for (const ZPublisher::SOutcome& outcome : outcomes)
    {
        SEntry& entry = m_entries.at(outcome.sId);
        if (!outcome.sError.empty())
        {
            entry.result.eStatus = EJobStatus::eFailed;
            entry.result.sFile.clear();
            entry.result.nBytes = 0;
            entry.result.messages.push_back({ESeverity::eError, outcome.sError});
        }
        Complete(entry);
    }
}

void ZJobScheduler::Complete(SEntry& entry)
{
    entry.eState = EState::eDone;
    m_queue.Resume();
    const SJobResult& result = entry.result;
    if (result.IsGood())
    {
        // Scans are kept as they are told, so that the index does not depend on which worker was first.
        if (result.job.eKind == SJob::ePack)
            m_services.state.Save(m_services.staleness.RecordOf(result));
        NoteReady(result.job);
    }
    else
    {
        // What an earlier run left is of a source that is no more: better no file than that one.
        // A file that no run has noted may be anybody's, unless the last one had no time to note it.
        SBuildRecord record;
        const bool bOurs = m_services.bAfterCutShort ||
                           (m_services.state.Find(result.job.sId, record) && m_services.staleness.HasFile(record));
        m_services.state.Remove(result.job.sId);
        const std::string sFile = result.job.eKind == SJob::ePack ? OutputPathOf(ToId(result.job.sId)) : std::string();
        if (bOurs && !sFile.empty() && !result.job.Component().empty())
            Os::RemoveFile(m_services.staleness.FileOf(sFile));
    }
    for (const size_t nWaiter : std::exchange(entry.waiters, {}))
    {
        m_workers[nWaiter].sWaitsFor.clear();
        Answer(nWaiter, entry);
    }
}

void ZJobScheduler::HandleEnd(const ZWorkerPool::SEvent& end)
{
    SWorker worker = std::exchange(m_workers[end.nWorker], {});
    m_files[end.nWorker] = 0;
    RemoveUnfinished(worker, end.nProcess);
    for (; !worker.ahead.empty(); worker.ahead.pop_back())
        if (!worker.ahead.back().bTaken)
        {
            SEntry& ahead = EntryOf({SJob::ePack, worker.ahead.back().sId});
            ahead.eState = EState::eNew;
            m_queue.AddFirst(ahead.result.job);
        }
    if (worker.stack.empty())
        return;
    if (!worker.sWaitsFor.empty())
        std::erase(m_entries.at(worker.sWaitsFor).waiters, end.nWorker);
    if (worker.bTaken)
        worker.stack.erase(worker.stack.begin());
    if (worker.stack.empty())
        return;
    SEntry& crashed = EntryOf({SJob::ePack, worker.stack.back()});
    worker.stack.pop_back();
    for (size_t n = worker.stack.size(); n-- > 0;)
    {
        SEntry& outer = EntryOf({SJob::ePack, worker.stack[n]});
        outer.eState = EState::eNew;
        outer.result.messages.clear();
        outer.needs.clear();
        // One that others wait for is theirs to make; it would wait for ever behind them.
        m_queue.AddFirst(outer.result.job);
    }
    crashed.result.eStatus = EJobStatus::eCrashed;
    crashed.result.messages.push_back({ESeverity::eError, "the process of this job crashed: " + end.sText});
    Complete(crashed);
    for (const std::string& sOuter : worker.stack)
        for (const size_t nWaiter : std::exchange(EntryOf({SJob::ePack, sOuter}).waiters, {}))
        {
            m_workers[nWaiter].sWaitsFor.clear();
            EntryOf({SJob::ePack, m_workers[nWaiter].stack.back()}).needs.pop_back();
            HandleNeed(nWaiter, sOuter);
        }
}

void ZJobScheduler::Tell(SEntry& entry)
{
    if (entry.bTold || entry.eState != EState::eDone)
        return;
    entry.bTold = true;
    for (const std::string& sNeed : entry.needs)
    {
        SEntry& need = m_entries.at(sNeed);
        // What was up to date is no news unless it is on the list.
        if (need.eState == EState::eDone && need.result.eStatus != EJobStatus::eUpToDate)
            Tell(need);
    }
    if (entry.result.job.eKind == SJob::eScan && entry.result.eStatus == EJobStatus::ePacked)
        m_services.state.Save(m_services.staleness.RecordOf(entry.result), entry.result.sScan);
    entry.result.sScan = {};
    m_report(entry.result);
    entry.result.scan = {};
}

void ZJobScheduler::TellWhatIsKnown()
{
    for (; m_nTold < m_list.size(); ++m_nTold)
    {
        SEntry& entry = m_entries.at(m_list[m_nTold]);
        if (entry.eState != EState::eDone)
            return;
        Tell(entry);
    }
}

} // namespace Host
