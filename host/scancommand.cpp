#include "host/commands.h"
#include "host/hosterror.h"
#include "host/hostsession.h"
#include "host/jobrunner.h"
#include "host/resourceids.h"
#include "host/sourcescan.h"

namespace Host
{

namespace
{

std::string Property(const SSourceScan::SSubResource& entry, const char* szKey)
{
    const auto it = entry.properties.find(szKey);
    return it != entry.properties.end() ? it->second : std::string();
}

/// For people: a line for the source, and one for each thing in it.
std::string ScanText(const SSourceScan& scan, bool bAll)
{
    std::string sText = scan.sSource + '\n';
    for (const SSourceScan::SSubResource& entry : scan.subResources)
    {
        sText += "  " + ToStd(ToId(entry.sId).GetRootParameters());
        for (const char* szKey : {"SequenceDuration", "SequenceTrackTypes", "CutsequenceRigResource"})
            if (const std::string sValue = Property(entry, szKey); !bAll && !sValue.empty())
                (sText += "  ") += sValue;
        sText += '\n';
        for (const auto& [sKey, sValue] : entry.properties)
            if (bAll)
                sText.append("    ").append(sKey).append(": ").append(sValue) += '\n';
    }
    if (scan.subResources.empty())
        sText += "  nothing to pack\n";
    return sText;
}

} // namespace

int RunScan(const SOptions& options, ZConsole& console)
{
    ZHostSession session(options, console, ZHostSession::EUse::eReads);
    std::vector<SJob> jobs;
    for (const std::string& sSource : session.SourcesOf(options.sources))
        jobs.push_back({SJob::eScan, sSource.substr(0, sSource.find('?'))});
    bool bAllGood = true;
    session.Run(jobs,
                [&](const SJobResult& result)
                {
                    bAllGood &= result.IsGood();
                    const std::string* pError = result.FirstError();
                    const std::string sLine =
                        !result.sScan.empty()
                            ? result.sScan
                            : FailedScanLine(result.job.sId, pError != nullptr ? *pError : "it can't be read");
                    for (const SMessage& message : result.messages)
                        console.Diagnostic(message.eSeverity, result.job.sId, message.sText);
                    if (console.IsJson())
                        console.Output(sLine);
                    else if (result.IsGood())
                        console.Output(ScanText(ReadSourceScan(sLine), options.bVerbose));
                });
    if (jobs.empty())
        console.Notice("there are no sources in '" + session.Tree().Root() + "'");
    return bAllGood ? eExit_Done : eExit_AssetsFailed;
}

} // namespace Host
