#pragma once

#include "host/build/session.h"

#include <string>
#include <unordered_map>
#include <vector>

namespace Host
{

/// What came of a build, by status.
struct SBuildTotals
{
    size_t counts[4] = {};
    uint64_t nBytes = 0; ///< packed
    double fSeconds = 0.0;

    size_t Count(EJobStatus eStatus) const { return counts[static_cast<size_t>(eStatus)]; }
    bool IsGood() const { return Count(EJobStatus::eFailed) + Count(EJobStatus::eCrashed) == 0; }
};

/// Packs every take, rig and character that scanning finds in the sources that words name, or in the whole tree when
/// there are none, for each platform.
class ZTreeBuild
{
public:
    ZTreeBuild(ZHostSession& session, IBuildWatcher& watcher, std::vector<std::string> words,
               std::vector<std::string> platforms)
        : m_session(session), m_watcher(watcher), m_words(std::move(words)), m_platforms(std::move(platforms))
    {
    }

    /// Reports each packed resource, and those sources that could not be scanned. Once.
    SBuildTotals Run(const ZJobScheduler::FReport& report);

private:
    void Scan();
    std::vector<SJob> Plan() const;
    void Report(const SJobResult& result);

    ZHostSession& m_session;
    IBuildWatcher& m_watcher;
    std::vector<std::string> m_words;
    std::vector<std::string> m_platforms;
    ZJobScheduler::FReport m_report;
    std::vector<std::string> m_files;                                  ///< to build as a whole
    std::vector<std::string> m_named;                                  ///< takes and rigs that the user named
    std::unordered_map<std::string, std::vector<std::string>> m_found; ///< sub-resources, by file
    SBuildTotals m_totals;
};

} // namespace Host
