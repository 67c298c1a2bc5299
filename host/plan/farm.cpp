#include "host/plan/farm.h"

#include "host/files/outputfile.h"
#include "host/files/resourceids.h"
#include "host/plan/depfile.h"
#include "host/plan/takerig.h"
#include "host/text/hosterror.h"
#include "os/interrupt.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <queue>
#include <set>

namespace Host
{

namespace fs = std::filesystem;

namespace
{

constexpr std::string_view RIG_KIND = "rig";
constexpr const char RIGS[] = "/rigs.db";
/// What a file costs beside its bytes, as bytes.
constexpr uint64_t FILE_COST = 64 << 10;

std::vector<std::string> LinesOf(const std::string& sPath)
{
    std::vector<std::string> lines;
    std::ifstream file(sPath);
    for (std::string sLine; std::getline(file, sLine);)
        lines.push_back(sLine);
    return lines;
}

/// Whether a plan, its tasks or what they say stands in a file of this name. There may be others in the folder.
bool IsOfPlan(std::string sName)
{
    constexpr std::string_view NAMES[] = {".list",     ".needs",     ".rigs.db",   ".all.db",   "rigs.db",
                                          "rigs-.out", "gather.out", "takes-.out", "finish.out"};
    // One that a state is written to before it takes its place.
    if (const size_t nDb = sName.find(".db."); nDb != std::string::npos)
        sName.resize(nDb + 3);
    std::erase_if(sName, [](char c) { return c >= '0' && c <= '9'; });
    return std::find(std::begin(NAMES), std::end(NAMES), sName) != std::end(NAMES);
}

bool Exists(const std::string& sPath)
{
    std::error_code error;
    return fs::exists(sPath, error);
}

} // namespace

std::string ZFarm::File(unsigned int nShare, const char* szTail) const
{
    return m_sFolder + '/' + std::to_string(nShare) + szTail;
}

size_t ZFarm::WriteShares(const ZAssetTree& tree, const std::vector<std::string>& sources, size_t nWanted)
{
    struct SSource
    {
        uint64_t nCost;
        const std::string* pId;
    };
    std::vector<SSource> largestFirst;
    for (const std::string& sId : sources)
        if (sId.find('\n') == std::string::npos)
            largestFirst.push_back({FILE_COST + StampOf(tree.Find(ToId(sId)).sPath).nSize, &sId});
    std::stable_sort(largestFirst.begin(), largestFirst.end(),
                     [](const SSource& a, const SSource& b) { return a.nCost > b.nCost; });
    // Each to the share that has least so far.
    std::vector<std::vector<std::string>> shares(std::max<size_t>(1, std::min(nWanted, largestFirst.size())));
    std::priority_queue<std::pair<uint64_t, size_t>, std::vector<std::pair<uint64_t, size_t>>, std::greater<>> least;
    for (size_t n = 0; n < shares.size(); ++n)
        least.emplace(0, n);
    for (const SSource& source : largestFirst)
    {
        const auto [nCost, nShare] = least.top();
        least.pop();
        shares[nShare].push_back(*source.pId);
        least.emplace(nCost + source.nCost, nShare);
    }
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(m_sFolder, error))
        if (IsOfPlan(entry.path().filename().string()))
            Os::RemoveFile(entry.path().string());
    fs::create_directories(m_sFolder, error);
    for (size_t n = 0; n < shares.size(); ++n)
    {
        std::sort(shares[n].begin(), shares[n].end());
        std::string sText;
        for (const std::string& sId : shares[n])
            sText += sId + '\n';
        WriteIfOther(File(static_cast<unsigned int>(n + 1), ".list"), sText);
    }
    return shares.size();
}

std::vector<std::string> ZFarm::Sources(unsigned int nShare) const
{
    const std::string sFile = File(nShare, ".list");
    if (!Exists(sFile))
        throw ZHostError("there is no share " + std::to_string(nShare) + " in '" + m_sFolder + "'",
                         "'animpack plan --format slurm' makes the shares");
    return LinesOf(sFile);
}

std::vector<unsigned int> ZFarm::Shares() const
{
    std::vector<unsigned int> shares;
    for (unsigned int n = 1; Exists(File(n, ".list")); ++n)
        shares.push_back(n);
    if (shares.empty())
        throw ZHostError("there are no shares in '" + m_sFolder + "'", "'animpack plan --format slurm' makes them");
    return shares;
}

ZBuildTotals ZFarm::PackRigs(const STask& task, unsigned int nShare)
{
    const std::vector<std::string> sources = Sources(nShare);
    ZBuildState& state = task.session.State();
    // What a build before this one made, and this share itself if it had come to its end before.
    const std::string sWhole = task.session.Out() + '/' + STATE_FILE;
    if (Exists(sWhole))
        state.Take(sWhole, sources);
    for (const char* szTail : {".rigs.db", ".all.db"})
        if (Exists(File(nShare, szTail)))
            state.Take(File(nShare, szTail));
    ZTreeBuild build(task.session, task.watcher, sources, task.platforms);
    build.SetKind(RIG_KIND);
    ZBuildTotals totals = build.Run(task.report);
    if (totals.bInterrupted)
        return totals;
    std::set<std::string> needs;
    for (const std::string& sSource : sources)
    {
        SBuildRecord record;
        SSourceScan scan;
        if (state.Find(sSource, record) && state.FindScan(record, scan))
            for (const SSourceScan::SSubResource& entry : scan.subResources)
                if (ToLower(ToId(entry.sId).GetExtension().View()) == "take")
                    needs.insert(RigOfTake(entry));
    }
    std::string sText;
    for (const std::string& sNeed : needs)
        sText += sNeed + '\n';
    WriteIfOther(File(nShare, ".needs"), sText);
    state.SaveTo(File(nShare, ".rigs.db"));
    return totals;
}

ZBuildTotals ZFarm::GatherRigs(const STask& task)
{
    ZBuildState& state = task.session.State();
    std::set<std::string> needs;
    for (const unsigned int nShare : Shares())
        if (const std::string sState = File(nShare, ".rigs.db"); Exists(sState))
        {
            state.Take(sState, Sources(nShare), "animationrig");
            for (const std::string& sNeed : LinesOf(File(nShare, ".needs")))
                needs.insert(sNeed);
        }
    ZBuildTotals totals;
    std::vector<SJob> jobs;
    for (const std::string& sPlatform : task.platforms)
        for (const std::string& sNeed : needs)
            // One that is not there is told of with the take that needs it.
            if (task.session.Tree().Find(ToId(sNeed)).eState == ZAssetTree::SLookup::eFound)
                jobs.push_back({SJob::ePack, CanonicalId(ToId(sNeed).CreateDerivedResourceID(
                                                 ToZString("animationrig"), "", ToZString(sPlatform)))});
    task.session.Run(jobs,
                     [&](const SJobResult& result)
                     {
                         totals.Add(result);
                         task.report(result);
                     });
    totals.bInterrupted = Os::Interrupted();
    if (!totals.bInterrupted)
        state.SaveTo(m_sFolder + RIGS);
    return totals;
}

ZBuildTotals ZFarm::PackAll(const STask& task, unsigned int nShare)
{
    const std::vector<std::string> sources = Sources(nShare);
    ZBuildState& state = task.session.State();
    for (const std::string& sState : {File(nShare, ".rigs.db"), File(nShare, ".all.db"), m_sFolder + RIGS})
        if (Exists(sState))
            state.Take(sState);
    ZBuildTotals totals = ZTreeBuild(task.session, task.watcher, sources, task.platforms).Run(task.report);
    if (!totals.bInterrupted)
        state.SaveTo(File(nShare, ".all.db"));
    return totals;
}

ZBuildTotals ZFarm::Finish(const STask& task)
{
    ZBuildState& state = task.session.State();
    // Nobody else is at work here now, so whoever left unfinished files has died.
    RemovePassingFiles(task.session.Out());
    ZBuildTotals missing;
    if (Exists(m_sFolder + RIGS))
        state.Take(m_sFolder + RIGS);
    for (const unsigned int nShare : Shares())
    {
        if (const std::string sState = File(nShare, ".all.db"); Exists(sState))
            state.Take(sState);
        else
        {
            const SJobResult result = ZHostSession::FailedScan(
                "share " + std::to_string(nShare), "has not come to its end; what it said stands in '" + m_sFolder +
                                                       "'. Submit again: what is done stays done");
            missing.Add(result);
            task.report(result);
        }
    }
    state.Commit();
    if (!missing.IsGood())
        return missing;
    ZBuildTotals totals = ZTreeBuild(task.session, task.watcher, {}, task.platforms).Run(task.report);
    std::error_code error;
    if (!totals.bInterrupted)
        for (const fs::directory_entry& entry : fs::directory_iterator(m_sFolder, error))
            if (entry.path().extension() == ".db" || entry.path().extension() == ".needs")
                fs::remove(entry.path(), error);
    return totals;
}

} // namespace Host
