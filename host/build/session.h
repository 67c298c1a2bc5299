#pragma once

#include "host/build/buildwatcher.h"
#include "host/build/jobscheduler.h"
#include "host/state/goneresources.h"
#include "host/state/outputlock.h"
#include "os/interrupt.h"

#include <memory>
#include <optional>

namespace Host
{

/// Where a session works and with what.
struct SSessionOptions
{
    std::string sAssets;   ///< folder of the asset tree
    std::string sOut;      ///< output folder
    bool bMakeOut = false; ///< readers make the output folder, too
    std::string sModule;   ///< path of the module
    unsigned int nWorkers = 1;
    double fJobTimeout = 0.0;  ///< seconds; 0: no bound
    uint64_t nMemoryLimit = 0; ///< bytes a worker; 0: no bound
    bool bForce = false;       ///< nothing is up to date
    bool bExplain = false;     ///< results tell why they were not up to date
    bool bNoState = false; ///< for another builder: neither state nor lock, and files whose bytes are the same are left
    bool bShare =
        false; ///< of a build by several at once: the lock is shared, the state kept in memory and by the caller
    std::vector<std::string> standing; ///< extensions of packed resources that another builder makes
};

/// All that the commands share that run jobs: the tree, the output folder with its state, the module, the workers.
class ZHostSession
{
public:
    /// Readers write nothing but the scan index, and that only to an output folder in which nobody is at work. They
    /// make one when bMakeOut says so. Who looks ahead waits for whoever is at work, as what he says is of their
    /// result.
    enum class EUse
    {
        eWrites,
        eReads,
        eLooksAhead
    };
    ZHostSession(const SSessionOptions& options, IBuildWatcher& watcher, EUse eUse);
    ~ZHostSession();
    ZHostSession(const ZHostSession&) = delete;
    ZHostSession& operator=(const ZHostSession&) = delete;

    const ZAssetTree& Tree() const { return m_tree; }
    /// The output folder as the user wrote it.
    const std::string& Out() const { return m_sOut; }

    ZBuildState& State() { return *m_pState; }

    /// See ZJobScheduler::Run. Nothing is printed but progress.
    void Run(const std::vector<SJob>& jobs, const ZJobScheduler::FReport& report, bool bNamesOnly = false);

    /// Tells what Run would do with each job, and first with what it needs, as far as that is known: eUpToDate or
    /// eToPack.
    void Foresee(const std::vector<SJob>& jobs, const ZJobScheduler::FReport& report);

    /// Scans sources, all of the tree when there are no words, prints what went wrong, and reports each, folders that
    /// can't be read included; the result of one that failed holds a scan with its error too. False when a scan failed
    /// or an interrupt was noted.
    bool Scan(const std::vector<std::string>& words, const ZJobScheduler::FReport& report);
    /// Takes from the index the sources that are not on the list; of a folder that could not be read all stay.
    void ForgetAllBut(const ZAssetTree::SSources& sources);
    /// Removes what earlier runs packed of sources and takes that are gone, and reports each. What this program has not
    /// packed stays, whatever its place. Who looks ahead only reports. `look` as for FindGone().
    void RemoveGone(const std::function<SPresentSources()>& look, const std::vector<SJob>& made,
                    const ZJobScheduler::FReport& report);

    bool LooksAhead() const { return m_eUse == EUse::eLooksAhead; }
    /// Files that a packed resource was made from, in a packed resource that it needs too; and those that were looked
    /// for in vain, by where they would stand. Of what this session or an earlier one made.
    struct SInputs
    {
        std::vector<std::string> files;
        std::vector<std::string> absent;
    };
    SInputs InputsOf(const std::vector<std::string>& ids);

    /// Identifiers, in the disk's spelling, of the sources that the words name: identifiers, paths, folders; all of the
    /// tree when there are none. What names no file stays as it is: its scan will fail.
    ZAssetTree::SSources SourcesOf(const std::vector<std::string>& words);

    /// The result of what there is no job for.
    static SJobResult FailedScan(const std::string& sId, const std::string& sWhy);

private:
    IBuildWatcher& m_watcher;
    std::string m_sOut;
    EUse m_eUse;
    bool m_bWrites = false;
    ZAssetTree m_tree;
    std::unique_ptr<ZOutputLock> m_pLock;
    std::optional<Os::ZInterruptNote> m_interruptNote; ///< from where on an interrupt has to be cleaned up after
    std::unique_ptr<ZBuildState> m_pState;
    std::unique_ptr<ZStaleness> m_pStaleness;
    std::unique_ptr<ZWorkerPool> m_pPool;
    std::unique_ptr<ZJobScheduler> m_pScheduler;
    ZJobScheduler::FReport m_report;
};

} // namespace Host
