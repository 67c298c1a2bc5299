#include "host/build/jobscheduler.h"

#include "host/build/joblines.h"
#include "host/files/derivedkinds.h"
#include "host/files/outputpath.h"
#include "host/files/resourceids.h"
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
