#include "host/build/jobscheduler.h"

#include "host/build/joblines.h"
#include "host/files/outputpath.h"
#include "host/files/resourceids.h"
#include "host/index/scantext.h"

#include <algorithm>

// The half of the scheduler that hears what workers say, and that they have ended.
namespace Host
{

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

} // namespace Host
