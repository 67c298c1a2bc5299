#include "host/build/session.h"
#include "host/commands/commands.h"
#include "host/index/scandatafiles.h"
#include "host/show/scantext.h"
#include "host/text/hosterror.h"
#include "os/interrupt.h"

namespace Host
{

int RunScan(const SOptions& options, ZConsole& console)
{
    ZHostSession session(options.session, console, ZHostSession::EUse::eReads);
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
    if (Os::Interrupted())
        return eExit_Interrupted;
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
