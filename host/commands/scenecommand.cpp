#include "host/commands/commands.h"
#include "host/module/scenefile.h"
#include "host/show/scenejson.h"
#include "host/show/scenetext.h"
#include "host/text/hosterror.h"

namespace Host
{

int RunScene(const SOptions& options, ZConsole& console)
{
    const std::string& sSource = options.sources.front();
    ZSceneFile file;
    if (!file.Load({options.session.sModule, options.session.sAssets, sSource},
                   options.bStackGiven ? &options.sStack : nullptr))
    {
        console.Failure(sSource, file.Error());
        return eExit_AssetsFailed;
    }
    std::vector<FbxTime> times;
    for (const double fSeconds : options.seconds)
        times.push_back(FbxTime::FromSeconds(fSeconds));
    for (const int64_t nTicks : options.ticks)
        times.push_back(FbxTime::FromTicks(nTicks));
    console.Output(console.IsJson() ? SceneLine(file, sSource, times) : SceneText(file, sSource, times));
    return eExit_Done;
}

} // namespace Host
