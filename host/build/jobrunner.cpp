#include "host/build/jobrunner.h"

#include "base/component/componentmanager.h"
#include "base/pointers/tcomponentsharedptr.h"
#include "host/files/derivedkinds.h"
#include "host/files/outputpath.h"
#include "host/files/resourceids.h"
#include "host/index/scandata.h"
#include "resource/core/iresourcefactory.h"

#include <chrono>
#include <cstdlib>
#include <cxxabi.h>

namespace Host
{

namespace
{

constexpr size_t DEEPEST_JOB = 32;

double SecondsNow()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

/// Of the exception that is being caught: a module's own types can't be named here.
std::string CurrentExceptionType()
{
    const std::type_info* pType = abi::__cxa_current_exception_type();
    if (pType == nullptr)
        return "unknown";
    int nStatus = 0;
    char* szName = abi::__cxa_demangle(pType->name(), nullptr, nullptr, &nStatus);
    std::string sName = szName != nullptr ? szName : pType->name();
    std::free(szName);
    return sName;
}

} // namespace

ZJobRunner::ZJobRunner(const SJobPlace& place, IJobHost& host)
    : m_host(host),
      m_bKeepSame(place.bKeepSame),
      m_database(place.tree, place.sOut, [this](const std::string& sId) { return Make(sId); })
{
    RegisterHostModules();
    SetResourceDatabase(&m_database);
}

ZJobRunner::~ZJobRunner()
{
    SetResourceDatabase(nullptr);
}

SJobResult ZJobRunner::Run(const SJob& job, bool bPublishLater)
{
    const double fStart = SecondsNow();
    SJobResult result;
    result.job = job;
    ZJobContext context(job, [this](const SMessage& message) { m_host.OnMessage(message); });
    m_database.Push(&context);
    std::vector<std::string> outerNotices;
    m_trace.SwapNotices(outerNotices);
    const bool bGood = Guarded(context,
                               [&](ZJobContext& current)
                               {
                                   return job.eKind == SJob::eScan
                                              ? Scan(current, result.scan)
                                              : Pack(current) && Publish(current, bPublishLater, result);
                               });
    context.Output().Discard();
    if (!bGood && !context.HasErrors())
    {
        for (const std::string& sLine : m_trace.TakeFailures())
            context.AddMessage(ESeverity::eError, sLine);
        if (!context.HasErrors())
            context.AddMessage(ESeverity::eError, "failed without giving a reason");
    }
    m_trace.TakeFailures();
    for (const std::string& sLine : m_trace.TakeNotices())
        context.AddMessage(ESeverity::eWarning, sLine);
    m_trace.SwapNotices(outerNotices);
    m_sWhyFailed = context.FirstError();
    m_database.Pop();
    result.eStatus = bGood ? EJobStatus::ePacked : EJobStatus::eFailed;
    result.dependencies = std::move(context.Dependencies());
    const double fAll = SecondsNow() - fStart;
    result.fSeconds = std::max(0.0, fAll - context.m_fElsewhere);
    if (ZJobContext* pOuter = m_database.Current())
        pOuter->m_fElsewhere += fAll;
    m_host.OnResult(result);
    return result;
}

bool ZJobRunner::Guarded(ZJobContext& context, const std::function<bool(ZJobContext&)>& work)
{
    const size_t nDepth = m_database.Depth();
    const auto fail = [&context](const std::string& sText)
    {
        context.AddMessage(ESeverity::eError, sText);
        return false;
    };
    // What went wrong was traced last, if it was traced at all.
    const auto cause = [this]
    {
        const std::vector<std::string> lines = m_trace.TakeFailures();
        return lines.empty() ? std::string() : lines.back();
    };
    bool bGood = false;
    try
    {
        bGood = work(context);
    }
    catch (const SAssertionFailed& e)
    {
        const std::string sCause = cause();
        bGood = fail("assertion failed: " + e.sExpression + (sCause.empty() ? "" : " (" + sCause + ')'));
    }
    catch (const zhalt_exception&)
    {
        const std::string sCause = cause();
        bGood = fail("halted: " + (sCause.empty() ? "a condition that must never occur" : sCause));
    }
    catch (const std::bad_alloc&)
    {
        bGood = fail("out of memory (see --memory-limit)");
    }
    catch (const std::exception& e)
    {
        bGood = fail(std::string("unexpected exception: ") + e.what());
    }
    catch (...)
    {
        bGood = fail("unexpected exception of the type " + CurrentExceptionType());
    }
    // An exception may have passed through jobs inside this one.
    while (m_database.Depth() > nDepth)
        m_database.Pop();
    return bGood;
}

bool ZJobRunner::Pack(ZJobContext& context)
{
    const ZResourceID target = ToId(context.Job().sId);
    const SDerivedKind* pKind = FindDerivedKind(target.GetExtension().View());
    if (pKind == nullptr || pKind->component.empty())
    {
        context.AddMessage(ESeverity::eError,
                           "nothing here makes resources of the extension '" + ToStd(target.GetExtension()) + "'");
        return false;
    }
    const ZPackerOptionScope platform("t", ToStd(target.GetPlatformFromExtension()));
    const TComponentScope<IResourcePacker> packer(CreateComponent<IResourcePacker>(ToZString(pKind->component)));
    if (!packer)
    {
        context.AddMessage(ESeverity::eError, "the loaded module has no component \"" + std::string(pKind->component) +
                                                  "\", which makes resources of the extension '" +
                                                  std::string(pKind->extension) + "'");
        return false;
    }
    return packer->Pack(&context, target.GetSourceResourceID(), target, ZVariantRef()) && !context.HasErrors();
}

bool ZJobRunner::Publish(ZJobContext& context, bool bPublishLater, SJobResult& result)
{
    const ZResourceID target = ToId(context.Job().sId);
    ZOutputFile& output = context.Output();
    std::string sWhy;
    if (context.m_nOpenUpdates > 0)
        sWhy = "the packer reports success, but has not ended the update that it began";
    else if (output.IsOpen())
        sWhy = "the packer reports success, but has not released its output";
    else if (output.Path().empty())
        sWhy = "the packer reports success, but has written nothing";
    else if (m_bKeepSame && output.IsComplete() && output.LeaveSame())
        sWhy.clear();
    else if (bPublishLater ? !output.Release(result.publication) : !output.Publish())
        sWhy = output.Error();
    if (!sWhy.empty())
    {
        context.AddMessage(ESeverity::eError, sWhy);
        return false;
    }
    result.sFile = OutputPathOf(target);
    result.stamp = output.Stamp();
    result.nBytes = result.stamp.nSize;
    result.nHash = output.Hash();
    return true;
}

bool ZJobRunner::Scan(ZJobContext& context, SSourceScan& scan)
{
    const std::string& sId = context.Job().sId;
    const std::string sComponent = context.Job().Component();
    SResourceScanData data;
    scan.sSource = sId;
    const auto fail = [&](std::string sError)
    {
        if (context.HasErrors())
            sError = context.FirstError();
        if (sError.empty())
            for (const std::string& sLine : m_trace.TakeFailures())
                sError += (sError.empty() ? "" : "; ") + sLine;
        // What could not be parsed, and where, is only traced; so is the error itself.
        const std::string sTold = sError;
        for (const std::string& sLine : m_trace.TakeNotices())
            if (!sTold.empty() && sLine.find(sTold) == std::string::npos)
                sError += " (" + sLine + ')';
        if (sError.empty())
            sError = "the source can't be read";
        if (!context.HasErrors())
            context.AddMessage(ESeverity::eError, sError);
        scan.sError = sError;
        FillScan(scan, data);
        return false;
    };
    const TComponentScope<IResourceFactory> factory(CreateComponent<IResourceFactory>(ToZString(sComponent)));
    if (!factory)
        return fail("the loaded module has no component \"" + sComponent + "\"");
    const TComponentScope<IInputStream> stream(OpenResource<IInputStream>(m_database, ToId(sId)));
    if (!stream)
        return fail("there is no such file");
    if (!factory->ScanResource(ToId(sId), stream.Get(), data))
        return fail(ToStd(factory->GetLastErrorMessage()));
    FillScan(scan, data);
    return true;
}

bool ZJobRunner::Make(const std::string& sId)
{
    ZJobContext* pContext = m_database.Current();
    if (m_database.Depth() >= DEEPEST_JOB)
    {
        pContext->AddMessage(ESeverity::eError, "resources need one another too deep at '" + sId + "'");
        return false;
    }
    const double fStart = SecondsNow();
    IJobHost::SAnswer answer = m_host.OnNeed(sId);
    if (pContext != nullptr)
        pContext->m_fElsewhere += SecondsNow() - fStart;
    if (answer.sAnswer == ANSWER_READY)
        return true;
    if (answer.sAnswer == ANSWER_PACK)
    {
        if (Run({SJob::ePack, sId}).IsGood())
            return true;
        answer.sWhy = m_sWhyFailed; // as the host would tell it, had another process been asked
    }
    if (pContext != nullptr)
        pContext->AddMessage(answer.sAnswer == ANSWER_REFUSED ? ESeverity::eError : ESeverity::eInfo,
                             "needs '" + sId + "': " + answer.sWhy);
    return false;
}

} // namespace Host
