#pragma once

#include "host/build/jobqueue.h"
#include "host/build/publisher.h"
#include "host/state/jobresult.h"
#include "host/state/staleness.h"
#include "host/workers/workerpool.h"

#include <deque>
#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

namespace Host
{

/// Runs jobs in worker processes, each thing once a run, whoever asks for it: the list that it is given, and what the
/// jobs turn out to need. Alone decides what is up to date, and alone writes the build state.
///
/// Order      jobs start about in the list's order: a worker stays with the file whose jobs it does. Results are told
/// in the list's order too, whatever worker was first,
///            each as soon as those before it are known; what a job needed and was made for it is told right before
///            it. So the same tree tells the same lines for any number of workers.
/// Needs      a job that needs a packed resource waits while another makes it, or makes it inside itself. A ring of
///            needs fails the need that would close it.
/// Files      while many jobs wait, files are published in batches, by one worker that does nothing else; a job is done
///            when its file stands in its place.
/// Crashes    a job whose process ends is eCrashed; the jobs around it, which have done nothing wrong, start again.
class ZJobScheduler
{
public:
    struct SServices
    {
        ZWorkerPool& pool; ///< the last of its workers publishes, so two at least
        ZBuildState& state;
        ZStaleness& staleness;
        bool bForce = false;         ///< nothing is up to date but what this run has made
        bool bAfterCutShort = false; ///< the run before could not note all that it made
        bool bExplain = false;       ///< results tell why they were not up to date
        /// Extensions of packed resources that are there or not, but never made here.
        std::vector<std::string> standing = {};
    };
    using FReport = std::function<void(const SJobResult&)>;
    /// Called often: results told, jobs listed, and a job that runs.
    using FProgress = std::function<void(size_t nTold, size_t nListed, const SJob& running)>;

    ZJobScheduler(const SServices& services, FReport report, FProgress progress);

    /// Ends when all are done, or in an interrupt, with what was done by then told and nothing unfinished left. May be
    /// called again; what earlier lists made counts as done, and is not told again.
    /// With bNamesOnly the scans of sources that did not change hold no more than what is in them.
    void Run(const std::vector<SJob>& jobs, bool bNamesOnly = false);

private:
    enum class EState
    {
        eNew,
        eAhead, ///< sent to a worker that does another one first
        eRunning,
        eToPublish, ///< done but for its file
        eDone
    };
    struct SEntry
    {
        SJobResult result;
        EState eState = EState::eNew;
        bool bTold = false;
        size_t nWorker = 0;             ///< that runs it, or has it ahead
        std::vector<std::string> needs; ///< in the order of asking
        std::vector<size_t> waiters;    ///< workers that wait for it
    };
    struct SAhead
    {
        std::string sId;
        bool bTaken = false; ///< by another worker meanwhile
    };
    struct SWorker
    {
        std::vector<std::string> stack; ///< the job it was given, then those inside it
        std::string sWaitsFor;
        std::deque<SAhead> ahead;
        bool bTaken =
            false; ///< another has taken over the first of the stack: what comes of it here counts for nothing
        double fLastJob = 1.0; ///< seconds
        double fMeanJob = 0.001;
        bool IsTaken() const { return bTaken && stack.size() == 1; }
    };
    static constexpr size_t AHEAD_AT_LEAST = 2;
    static constexpr double AHEAD_SECONDS = 0.008; ///< so long may what a worker has ahead take
    static constexpr size_t MOST_READY = 8;
    static constexpr size_t QUIET_FROM = 4;   ///< jobs ahead: no need to hear of each
    static constexpr double SHORT_JOB = 0.02; ///< seconds; another worker had better do what stands behind a long one
    static constexpr double SHORTEST_JOB = 0.0001;   ///< seconds, with what it costs to tell of it
    static constexpr size_t PUBLISH_LATER_FROM = 16; ///< jobs that wait; with fewer a batch would not fill

    SEntry& EntryOf(const SJob& job);
    bool FillFromState(SEntry& entry);
    void Explain(SEntry& entry);
    bool IsMadeElsewhere(const SJob& job) const;
    bool MustWait(const SEntry& entry);
    void StartJobs();
    bool StartNext(size_t nWorker);
    std::vector<std::string> ReadyFor(size_t nWorker, const SJob& job);
    void NoteReady(const SJob& job);
    bool MayGetAhead(const SWorker& worker) const;
    void GoOn(size_t nWorker);
    void Stop();
    void RemoveUnfinished(const SWorker& worker, Os::TProcessId nProcess);
    void HandleLine(size_t nWorker, const std::string& sText);
    void HandleNeed(size_t nWorker, const std::string& sId);
    void HandleResult(size_t nWorker, SJobResult&& result);
    void HandlePublished(const std::vector<ZPublisher::SOutcome>& outcomes);
    void HandleEnd(const ZWorkerPool::SEvent& end);
    bool WouldCloseRing(size_t nWorker, const SEntry& needed) const;
    void Answer(size_t nWorker, const SEntry& needed);
    void Complete(SEntry& entry);
    void Tell(SEntry& entry);
    void TellWhatIsKnown();

    SServices m_services;
    FReport m_report;
    FProgress m_progress;
    std::unordered_map<std::string, SEntry> m_entries; ///< by identifier; references to them stay good
    std::vector<SWorker> m_workers;
    std::vector<ZJobQueue::TFile> m_files;                                  ///< of the job that each was given last
    std::unordered_map<ZJobQueue::TFile, std::vector<std::string>> m_ready; ///< the first that are done of a file
    ZPublisher m_publisher;
    ZJobQueue m_queue;
    std::vector<std::string> m_list; ///< of the current Run, in order
    size_t m_nTold = 0;
    bool m_bNamesOnly = false;
};

} // namespace Host
