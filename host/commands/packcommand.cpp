#include "host/build/session.h"
#include "host/commands/commands.h"
#include "host/files/derivedkinds.h"
#include "host/files/resourceids.h"
#include "host/show/jobtext.h"
#include "host/text/hosterror.h"

namespace Host
{

namespace
{

std::vector<SJob> JobsOf(const SOptions& options, const std::string& sSource)
{
    std::string sParameters;
    for (const std::string& sParameter : options.parameters)
        sParameters += (sParameters.empty() ? "" : "|") + sParameter;
    std::vector<SJob> jobs;
    for (const std::string& sPlatform : options.platforms)
    {
        const ZResourceID id = ToId(sSource).CreateDerivedResourceID(ToZString(options.sExtension),
                                                                     ToZString(sParameters), ToZString(sPlatform));
        if (!id.IsValid())
            throw ZUsageError("'" + sSource + "' is no identifier of a source");
        jobs.push_back({SJob::ePack, CanonicalId(id)});
    }
    return jobs;
}

} // namespace

int RunPack(const SOptions& options, ZConsole& console)
{
    if (FindDerivedKind(options.sExtension) == nullptr)
    {
        std::string sKnown;
        for (const SDerivedKind& kind : DerivedKinds())
            if (!kind.component.empty())
                sKnown += (sKnown.empty() ? "" : ", ") + std::string(kind.extension);
        throw ZUsageError("nothing is packed as '" + options.sExtension + "'; there are " + sKnown);
    }
    ZHostSession session(options.session, console, ZHostSession::EUse::eWrites);
    const std::string sSource = session.Tree().IdOf(options.sources.front());
    const std::vector<SJob> jobs = JobsOf(options, sSource);

    bool bAllGood = true;
    std::string sFiles;
    const auto report = [&](const SJobResult& result)
    {
        const bool bAskedFor =
            std::any_of(jobs.begin(), jobs.end(), [&result](const SJob& job) { return job.sId == result.job.sId; });
        console.Job(result);
        if (console.IsJson())
            console.Output(JobLine(result, session.Out()));
        if (!bAskedFor)
            return;
        bAllGood &= result.IsGood();
        if (result.IsGood())
            sFiles += session.Out() + '/' + result.sFile + '\n';
    };
    if (const std::string sClash = session.CaseClash(sSource); !sClash.empty())
        for (const SJob& job : jobs)
        {
            SJobResult result;
            result.job = job;
            result.messages.push_back({ESeverity::eError, sClash});
            report(result);
        }
    else
        session.Run(jobs, report);
    if (!console.IsJson() && !sFiles.empty())
        console.Output(sFiles);
    return bAllGood ? eExit_Done : eExit_AssetsFailed;
}

} // namespace Host
