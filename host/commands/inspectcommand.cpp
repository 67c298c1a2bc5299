#include "host/commands/commands.h"
#include "host/files/packedpose.h"
#include "host/files/packedword.h"
#include "host/files/resourceids.h"
#include "host/module/hostmodule.h"
#include "host/show/inspectjson.h"
#include "host/show/inspecttext.h"
#include "host/text/hosterror.h"

namespace Host
{

namespace
{

/// Whether the body can be read, too.
bool IsSound(ZPackedFile& file)
{
    return (file.Type() != "ARTY" || file.Animation() != nullptr) && (file.Type() != "RRTY" || file.Rig() != nullptr) &&
           (file.Type() != "ChrT" || file.Character() != nullptr);
}

/// Empty when all of them are there to be shown.
std::string LoadFrames(ZPackedFile& file, const std::string& sOut, const std::vector<uint32_t>& frames,
                       ZPackedPose& pose)
{
    if (file.Type() != "ARTY")
        return "only animations have frames";
    if (!pose.Load(file, sOut))
        return "frames can't be decoded: " + pose.Error();
    for (const uint32_t nFrame : frames)
        if (nFrame >= pose.Sampler().FrameCount())
            return "there is no frame " + std::to_string(nFrame) + ": the animation has " +
                   std::to_string(pose.Sampler().FrameCount());
    return {};
}

int Inspect(const SOptions& options, ZConsole& console)
{
    SPackedWord named = FindPackedWord(options.sources.front(), options.session.sOut, options.platforms.front());
    const auto fail = [&](const std::string& sWhy)
    {
        console.Failure(named.sPath, sWhy);
        return eExit_AssetsFailed;
    };
    ZPackedFile file;
    if (!file.Read(named.sPath) || !IsSound(file))
        return fail(file.Error());
    // A packed file does not say its platform. Its place may, what it refers to does, and the user may have.
    if (!file.References().empty())
        named.sPlatform = ToStd(ToId(file.References().front().sId).GetPlatformFromExtension());
    else if (named.sPlatform.empty() && options.bPlatformGiven)
        named.sPlatform = options.platforms.front();
    ZPackedPose pose;
    const bool bFrames = !options.frames.empty();
    if (bFrames)
        if (const std::string sWhy = LoadFrames(file, options.session.sOut, options.frames, pose); !sWhy.empty())
            return fail(sWhy);
    const ZPackedPose* pPose = bFrames ? &pose : nullptr;
    console.Output(console.IsJson() ? InspectLine(file, named.sPath, named.sPlatform, pPose, options.frames)
                                    : InspectText(file, named.sPath, named.sPlatform, pPose, options.frames));
    return eExit_Done;
}

} // namespace

int RunInspect(const SOptions& options, ZConsole& console)
{
    RegisterHostModules();
    try
    {
        return Inspect(options, console);
    }
    catch (const SAssertionFailed& e)
    {
        console.Failure(options.sources.front(), "assertion failed: " + e.sExpression);
    }
    catch (const zhalt_exception&)
    {
        console.Failure(options.sources.front(), "the file contradicts itself");
    }
    return eExit_AssetsFailed;
}

} // namespace Host
