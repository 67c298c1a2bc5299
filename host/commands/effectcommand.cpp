#include "host/commands/commands.h"
#include "host/files/assettree.h"
#include "host/module/effectrun.h"
#include "host/module/hostmodule.h"
#include "host/show/effecttext.h"
#include "host/text/hosterror.h"

namespace Host
{

int RunEffect(const SOptions& options, ZConsole& console)
{
    const std::string& sFile = options.sources.front();
    ZTraceCollector traces;
    SEffectRun run;
    CompileEffect(EffectCompilerPath(options.sCompiler),
                  {PathOfWord(sFile, options.session.sAssets), sFile, options.includeFolders, options.defines}, run);
    for (const SMessage& message : run.messages)
        // The compiler's last error has the same text with its place.
        if (message.eSeverity != ESeverity::eError || !run.sError.ends_with(message.sText))
            console.Diagnostic(message.eSeverity, sFile, message.sText);
    for (const std::string& sWarning : run.warnings)
        console.Diagnostic(ESeverity::eWarning, sFile, sWarning);
    if (!run.sError.empty())
        console.Diagnostic(ESeverity::eError, sFile, run.sError);
    if (options.bVerbose)
        for (const std::string& sLine : traces.TakeFailures())
            console.Notice(sLine);
    if (console.IsJson())
        console.Output(EffectLine(sFile, run));
    else if (run.pEffect != nullptr)
        console.Output(EffectText(sFile, *run.pEffect, run.references));
    return run.pEffect != nullptr ? eExit_Done : eExit_AssetsFailed;
}

} // namespace Host
