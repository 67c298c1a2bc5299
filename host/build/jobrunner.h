#pragma once

#include "host/build/joblines.h"
#include "host/module/hostdatabase.h"
#include "host/module/hostmodule.h"

namespace Host
{

/// The other end of a job runner: the process that hands out jobs.
class IJobHost
{
public:
    struct SAnswer
    {
        std::string sAnswer; ///< one of the ANSWER_ words
        std::string sWhy;    ///< of a failure
    };

    virtual void OnMessage(const SMessage& message) = 0; ///< of the innermost job that runs
    virtual SAnswer OnNeed(const std::string& sId) = 0;
    virtual void OnResult(const SJobResult& result) = 0;

protected:
    ~IJobHost() = default;
};

/// Where jobs read and write.
struct SJobPlace
{
    const ZAssetTree& tree;
    const std::string& sOut;
    bool bKeepSame = false; ///< a packed file that has the bytes already is left as it stands
};

/// Does jobs in this process, with the components of the loaded modules. What a job needs is packed inside it, when the
/// host says so. Nothing that a component does ends the process short of a crash: exceptions and failed assertions
/// fail the job.
class ZJobRunner
{
public:
    /// Becomes the process's resource database for as long as it lives.
    ZJobRunner(const SJobPlace& place, IJobHost& host);
    ~ZJobRunner();
    ZJobRunner(const ZJobRunner&) = delete;
    ZJobRunner& operator=(const ZJobRunner&) = delete;

    /// The result has gone to the host when this returns, as have those of the jobs inside. With bPublishLater a packed
    /// file is complete by then, and the host's to publish.
    SJobResult Run(const SJob& job, bool bPublishLater = false);

private:
    bool Make(const std::string& sId);
    bool Guarded(ZJobContext& context, const std::function<bool(ZJobContext&)>& work);
    bool Pack(ZJobContext& context);
    bool Publish(ZJobContext& context, bool bPublishLater, SJobResult& result);
    bool Scan(ZJobContext& context, SSourceScan& scan);

    IJobHost& m_host;
    bool m_bKeepSame;
    ZHostDatabase m_database;
    std::string m_sWhyFailed; ///< of the job that ended last
    ZTraceCollector m_trace;
};

} // namespace Host
