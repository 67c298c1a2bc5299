#pragma once

#include "host/build/treebuild.h"

#include <string>
#include <vector>

namespace Host
{

/// A build in shares, by several machines that write to one output folder on a disk that they share. What the shares
/// tell one another stands in files below OUT/farm, each of which appears complete or not at all:
///
///   N.list        identifiers of the sources of share N, one a line
///   N.rigs.db     build state of share N when its rigs are packed      N.needs   rigs that its takes need, one a line
///   rigs.db       build state of all rigs
///   N.all.db      build state of share N when all of it is packed
///
/// A share keeps its state in memory until it ends, so one that dies leaves none, and is done again.
class ZFarm
{
public:
    explicit ZFarm(std::string sOut) : m_sFolder(std::move(sOut) + "/farm") {}

    /// Instead of the plan that was there. At most nWanted shares, about equal in bytes; their number. Names with a
    /// line feed, which no list can hold, are left out; a build tells of them, and so does the last stage.
    size_t WriteShares(const ZAssetTree& tree, const std::vector<std::string>& sources, size_t nWanted);

    const std::string& Folder() const { return m_sFolder; }

    struct STask
    {
        ZHostSession& session;
        IBuildWatcher& watcher;
        const std::vector<std::string>& platforms;
        const ZJobScheduler::FReport& report;
    };
    /// The stages, in their order: rigs of each share; rigs of all, with those that takes need and no scan lists; the
    /// rest of each share; and what a build of the whole tree does with the states of all shares. Sessions of all but
    /// the last are shares.
    ZBuildTotals PackRigs(const STask& task, unsigned int nShare);
    ZBuildTotals GatherRigs(const STask& task);
    ZBuildTotals PackAll(const STask& task, unsigned int nShare);
    ZBuildTotals Finish(const STask& task);

private:
    std::string File(unsigned int nShare, const char* szTail) const;
    std::vector<std::string> Sources(unsigned int nShare) const;
    /// Numbers of all shares of the plan.
    std::vector<unsigned int> Shares() const;

    std::string m_sFolder;
};

} // namespace Host
