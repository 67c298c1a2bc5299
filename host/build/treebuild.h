#pragma once

#include "host/build/buildtotals.h"
#include "host/build/session.h"

#include <map>
#include <string>
#include <unordered_map>
#include <vector>

namespace Host
{

/// Packs every take, rig and character that scanning finds in the sources that words name, or in the whole tree when
/// there are none, for each platform; of the whole tree it also removes what was packed of what is gone.
class ZTreeBuild
{
public:
    ZTreeBuild(ZHostSession& session, IBuildWatcher& watcher, std::vector<std::string> words,
               std::vector<std::string> platforms)
        : m_session(session), m_watcher(watcher), m_words(std::move(words)), m_platforms(std::move(platforms))
    {
    }

    /// Only what is built from sub-resources of this kind.
    void SetKind(std::string_view kind) { m_sKind = kind; }

    /// Reports each packed resource, or in a session that looks ahead what would be packed, those sources that could
    /// not be scanned, and what is removed. Once. An interrupt ends it early.
    ZBuildTotals Run(const ZJobScheduler::FReport& report);

private:
    static bool IsBuilt(const std::string& sSubResource);
    void Scan(const ZAssetTree::SSources& sources);
    SPresentSources Present(const ZAssetTree::SSources& sources) const;
    void PlanFor(const std::string& sSubResource);
    std::vector<SJob> Plan();
    void RunJobs(const std::vector<SJob>& jobs);
    void Report(const SJobResult& result);

    ZHostSession& m_session;
    IBuildWatcher& m_watcher;
    std::vector<std::string> m_words;
    std::vector<std::string> m_platforms;
    std::string m_sKind; ///< empty: all
    ZJobScheduler::FReport m_report;
    std::vector<std::string> m_files;                                  ///< to build as a whole; in order
    std::vector<std::string> m_named;                                  ///< takes and rigs that the user named
    std::unordered_map<std::string, std::vector<std::string>> m_found; ///< sub-resources, by file
    std::vector<std::vector<SJob>> m_plan;                             ///< for each kind and platform
    struct SScanMessages
    {
        std::string sId;
        std::vector<SMessage> messages;
    };
    std::map<std::string, SScanMessages> m_untold; ///< warnings of scans, by file in lower case
    ZBuildTotals m_totals;
};

} // namespace Host
