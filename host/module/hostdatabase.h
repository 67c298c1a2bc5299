#pragma once

#include "host/files/assettree.h"
#include "host/files/outputfile.h"
#include "host/module/job.h"
#include "resource/core/iresourcedatabase.h"
#include "resource/core/iresourcepacker.h"

#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace Host
{

/// One job while it runs: where its messages go, what it looked at, and what it writes.
class ZJobContext final : public IResourcePackerContext
{
public:
    using FMessage = std::function<void(const SMessage&)>;

    ZJobContext(const SJob& job, FMessage onMessage) : m_job(job), m_onMessage(std::move(onMessage)) {}

    void Info(const ZString& text) override;
    void Warning(const ZString& text) override;
    void Error(const ZString& text) override;
    /// Beyond MOST_MESSAGES they are counted only.
    void AddMessage(ESeverity eSeverity, std::string sText);

    /// The first look at a thing counts: what is read later may be newer, and then the job is stale.
    void AddDependency(SDependency dependency);
    bool HasDependency(const std::string& sId) const { return m_seen.contains(sId); }

    const SJob& Job() const { return m_job; }
    bool HasErrors() const { return m_bHasErrors; }
    const std::string& FirstError() const { return m_sFirstError; }
    std::vector<SDependency>& Dependencies() { return m_dependencies; }
    ZOutputFile& Output() { return m_output; }

    /// Updates that were begun and not ended.
    int m_nOpenUpdates = 0;
    /// Seconds of other jobs inside this one.
    double m_fElsewhere = 0.0;

    static constexpr size_t MOST_MESSAGES = 1000;

private:
    const SJob& m_job;
    FMessage m_onMessage;
    std::vector<SDependency> m_dependencies;
    std::unordered_set<std::string> m_seen;
    ZOutputFile m_output;
    std::string m_sFirstError;
    size_t m_nMessages = 0;
    bool m_bHasErrors = false;
};

/// The host's resource database: the asset tree for sources, the output folder for packed resources. Objects other than
/// streams are loaded by the factory that scans sources of their file's extension, whose exceptions pass through. Lives
/// in a worker process and serves one job at a time, with the jobs that run inside it.
class ZHostDatabase final : public IResourceDatabase
{
public:
    /// Sees to it that the packed file of a derived identifier (canonical) is there and up to date.
    using FMake = std::function<bool(const std::string& sId)>;

    ZHostDatabase(const ZAssetTree& tree, std::string sOut, FMake make)
        : m_tree(tree), m_sOut(std::move(sOut)), m_make(std::move(make))
    {
    }

    void Push(ZJobContext* pContext) { m_contexts.push_back(pContext); }
    void Pop() { m_contexts.pop_back(); }
    ZJobContext* Current() const { return m_contexts.empty() ? nullptr : m_contexts.back(); }
    size_t Depth() const { return m_contexts.size(); }

    /// Absolute place of a packed file; empty for an identifier that no file can stand for.
    std::string FileOf(const ZResourceID& id) const;

    void AddSourceDependency(const ZResourceID& id) override;
    void* OpenInputStream(const ZResourceID& id, STypeID* pInterface, int nFlags, int nMask) override;
    /// Null for any identifier but the one that the job is to make.
    IOutputStream* OpenOutputStream(const ZResourceID& id) override;
    SResourceInfo QuerySourceResource(const ZResourceID& id) override;
    ZFilePath GetResourceFilePath(const ZResourceID& id) override;
    bool BeginResourceUpdate(const ZResourceID& id, int nFlags) override;
    void EndResourceUpdate(int nFlags) override;

private:
    const ZAssetTree::SLookup& LookUp(const ZResourceID& id, ESeverity eWhenOdd);
    const SFileStamp& StampOfSource(const std::string& sPath);
    IInputStream* OpenDerived(const ZResourceID& id);
    void* LoadObject(const ZResourceID& id, STypeID* pInterface);

    const ZAssetTree& m_tree;
    std::string m_sOut;
    FMake m_make;
    std::vector<ZJobContext*> m_contexts;
    ZFileHashes m_hashes;
    std::unordered_map<std::string, SFileStamp> m_stamps; ///< of sources, when they were looked at first

    /// A packed resource that a job has read: what follows for the same file mostly reads it too. A thing is made once
    /// a run, so it stays good.
    struct SPacked
    {
        SFileStamp stamp;
        uint64_t nHash = 0;
        std::shared_ptr<const std::vector<uint8_t>> pBytes;
    };
    static constexpr size_t LARGEST_KEPT = size_t(1) << 20;
    static constexpr size_t MOST_KEPT = size_t(16) << 20;
    std::unordered_map<std::string, SPacked> m_packed; ///< by identifier
    size_t m_nKept = 0;                                ///< bytes in it
    void AddNeed(const std::string& sId, const SPacked& packed);
};

} // namespace Host
