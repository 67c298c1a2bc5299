#pragma once

#include "host/files/assettree.h"
#include "host/state/buildstate.h"

#include <functional>
#include <string>
#include <unordered_map>
#include <unordered_set>

namespace Host
{

/// Tells whether what was done before still holds: done by the same tools, its file in its place, and everything that
/// the job looked at as it was. Size and time of a file that are as they were are taken for its content; otherwise the
/// content is compared.
class ZStaleness
{
public:
    ZStaleness(const ZAssetTree& tree, std::string sOut, ZBuildState& state, std::string sTools)
        : m_tree(tree), m_sOut(std::move(sOut)), m_state(state), m_sTools(std::move(sTools))
    {
    }

    /// True: the record holds. A time that has changed alone is noted, so that the next look is quick again.
    bool IsUpToDate(const SJob& job, SBuildRecord& record);

    /// All that keeps the last record of a job from holding; none when it does.
    std::vector<SReason> WhyNot(const SJob& job);

    /// Tells of each job, and before it of the stale ones among those that it needs, whether it is eUpToDate or eToPack
    /// with the reasons.
    void Foresee(const std::vector<SJob>& jobs, const std::function<void(const SJobResult&)>& report);

    /// Whether the record's packed file is still the one that was made, and not gone or another's.
    bool HasFile(SBuildRecord record);

    /// The record of a job that has just been done.
    SBuildRecord RecordOf(const SJobResult& result) const;

    std::string FileOf(const std::string& sRelative) const { return m_sOut + '/' + sRelative; }

private:
    enum class ELook
    {
        eSame,
        eSameContent, ///< with another time
        eOther
    };
    ELook Compare(const std::string& sPath, const SFileStamp& now, SFileStamp& stamp, uint64_t nHash);
    bool HasFile(SBuildRecord& record, bool& bNoted);
    struct SSource
    {
        std::string sPath;
        SFileStamp stamp;
        bool bWrong = false; ///< one of several, for example: what was made of it can't stay
    };
    const SSource& SourceOf(const SDependency& dependency);
    ELook CompareSource(SDependency& dependency);
    bool IsSameDerived(SDependency& dependency, bool& bNoted);

    const ZAssetTree& m_tree;
    std::string m_sOut;
    ZBuildState& m_state;
    std::string m_sTools;
    ZFileHashes m_hashes;
    std::unordered_map<std::string, SSource> m_sources; ///< as they are for this run; many jobs look at one
    std::unordered_map<std::string, SSource> m_derived; ///< packed files that were up to date; the same
    std::unordered_set<std::string> m_upToDate;         ///< what was asked before; such a thing stays so for the run
    std::unordered_set<std::string> m_asking;           ///< a resource that needs itself is never up to date
};

} // namespace Host
