#include "host/build/hostsession.h"
#include "host/commands/commands.h"
#include "host/files/resourceids.h"
#include "host/index/scandatafiles.h"
#include "host/text/hosterror.h"

namespace Host
{

namespace
{

std::string Property(const SSourceScan::SSubResource& entry, const char* szKey)
{
    const auto it = entry.properties.find(szKey);
    return it != entry.properties.end() ? it->second : std::string();
}

std::string PropertiesText(const SSourceScan::TProperties& properties, const char* szIndent)
{
    std::string sText;
    for (const auto& [sKey, sValue] : properties)
        sText.append(szIndent).append(sKey).append(": ").append(sValue) += '\n';
    return sText;
}

std::string ReferencesText(const std::vector<std::string>& references, const char* szIndent)
{
    std::string sText;
    for (const std::string& sId : references)
        sText.append(szIndent).append("refers to ").append(sId) += '\n';
    return sText;
}

/// For people: a line for the source, and one for each thing in it.
std::string ScanText(const SSourceScan& scan, bool bAll)
{
    std::string sText = scan.sSource + '\n';
    if (bAll)
        sText += ReferencesText(scan.references, "  ") + PropertiesText(scan.properties, "  ");
    for (const SSourceScan::SSubResource& entry : scan.subResources)
    {
        sText += "  " + ToStd(ToId(entry.sId).GetRootParameters());
        for (const char* szKey : {"SequenceDuration", "SequenceTrackTypes", "CutsequenceRigResource"})
            if (const std::string sValue = Property(entry, szKey); !bAll && !sValue.empty())
                (sText += "  ") += sValue;
        sText += '\n';
        if (bAll)
            sText += ReferencesText(entry.references, "    ") + PropertiesText(entry.properties, "    ");
    }
    if (scan.subResources.empty())
        sText += "  nothing to pack\n";
    return sText;
}

} // namespace

int RunScan(const SOptions& options, ZConsole& console)
{
    ZHostSession session(options, console, ZHostSession::EUse::eReads);
    ZScanDataFiles blobs(session.Out());
    bool bAllWritten = true;
    const bool bAllScanned = session.Scan(options.sources,
                                          [&](const SJobResult& result)
                                          {
                                              if (console.IsJson())
                                                  console.Output(ScanLine(result.scan));
                                              else if (result.IsGood())
                                                  console.Output(ScanText(result.scan, options.bVerbose));
                                              if (!options.bScanData || !result.IsGood())
                                                  return;
                                              if (const std::string sError = blobs.Add(result.scan); !sError.empty())
                                              {
                                                  console.Diagnostic(ESeverity::eError, result.job.sId, sError);
                                                  bAllWritten = false;
                                              }
                                          });
    for (const std::string& sError : blobs.Publish())
    {
        console.Notice("error: " + sError);
        bAllWritten = false;
    }
    if (blobs.Count() != 0)
        console.Notice("scan data stand in '" + session.Out() + "/scan'");
    return bAllScanned && bAllWritten ? eExit_Done : eExit_AssetsFailed;
}

} // namespace Host
