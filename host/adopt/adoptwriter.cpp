#include "host/adopt/adoptwriter.h"

#include "host/adopt/adoptedpose.h"
#include "host/adopt/plainscene.h"
#include "host/files/outputfile.h"
#include "host/files/outputplace.h"
#include "host/marking/marking.h"
#include "host/text/safenames.h"

#include <algorithm>
#include <filesystem>
#include <map>

namespace Host
{

namespace
{

namespace Fs = std::filesystem;

/// What a take may come to: bones times frames. Memory is 24 bytes for each, twice while it is written.
constexpr int64_t MOST_KEYS = 20000000;
constexpr int64_t MOST_FRAMES = 1000000; ///< as many as packing takes

SPropertyMark FlagMark(const char* szName)
{
    return {szName, false, "bool", "", "U", 'I', {1.0}, {}};
}

SPropertyMark TextMark(const char* szName, const std::string& sText)
{
    return {szName, false, "KString", "", "U", 'S', {}, sText};
}

SPlainScene SceneOf(const SNamedCharacter& named, const std::vector<SRigid>& rest)
{
    SPlainScene scene;
    scene.nodes.push_back({named.sGround, false, -1, rest.front(), {}, {}});
    for (size_t n = 0; n < named.character.bones.size(); ++n)
    {
        const SCharacterBone& bone = named.character.bones[n];
        scene.nodes.push_back({bone.sName, true, bone.nParent + 1, rest[n + 1], {}, {}});
    }
    return scene;
}

std::vector<int64_t> Finish(const SPlainScene& scene, const SMarks& marks, FbxDocument& document)
{
    std::vector<std::string> warnings;
    std::vector<int64_t> ids;
    if (!MakeDocument(scene, document, &ids))
        throw ZRefusal(document.Error());
    ApplyMarks(marks, document, warnings);
    return ids;
}

} // namespace

void ZAdoptWriter::AddGeometry(const SNamedCharacter& named, size_t nFile, const SPlainScene& scene,
                               const std::vector<int64_t>& ids, ZGeometry& geometry, FbxDocument& document,
                               std::vector<SMessage>& messages) const
{
    if (!geometry.Load(m_plan.Settings().files[nFile]))
    {
        messages.push_back({ESeverity::eWarning, "its geometry can't be kept: " + geometry.Error()});
        return;
    }
    std::vector<SRigid> world;
    for (const SPlainNode& node : scene.nodes)
        world.push_back(node.nParent >= 0 ? Compose(world[static_cast<size_t>(node.nParent)], node.rest) : node.rest);
    const std::vector<int> nodes = NodesOfBones(named.character, m_plan.Found(), nFile);
    std::map<int, ZGeometry::SBone> bones;
    for (size_t n = 0; n < nodes.size(); ++n)
        if (nodes[n] >= 0)
            bones[nodes[n]] = {ids[n + 1], world[n + 1]};
    if (named.character.bRootBone)
        if (const int nRoot = NodeOfRoot(named.character, m_plan.Found(), nFile); nRoot >= 0)
            bones.try_emplace(nRoot, ZGeometry::SBone{ids.front(), world.front()});
    const auto isHere = [&](const SFoundSkeleton& found) { return found.nFile == nFile && !found.bOld; };
    const bool bAlone = std::count_if(m_plan.Found().begin(), m_plan.Found().end(), isHere) == 1;
    geometry.AddTo(document, bones, bAlone);
}

void ZAdoptWriter::Write(FbxDocument& document, const std::string& sPath) const
{
    std::string sPlace;
    if (const std::string sWhy = FindOutputPlace(sPath, m_plan.Settings().files, "", sPlace); !sWhy.empty())
        throw ZRefusal("'" + sPath + "' is what it would write, and it " + sWhy + "; choose another --to or --name");
    std::error_code error;
    if (Fs::exists(sPlace, error) && !IsAdoptedFile(sPlace))
        throw ZRefusal("'" + sPath + "' is there already and no file that adopt wrote; choose another --to or --name");
    std::string sBytes;
    if (!document.Write(sBytes))
        throw ZRefusal("'" + sPath + "': " + document.Error());
    if (m_plan.Settings().bDryRun)
        return;
    ZOutputFile file;
    if (!file.Open(sPlace) || !file.Write(sBytes.data(), sBytes.size()))
        throw ZRefusal("'" + sPath + "': " + file.Error());
    file.Close();
    if (!file.Publish())
        throw ZRefusal("'" + sPath + "': " + file.Error());
}

void ZAdoptWriter::WriteRig(SNamedCharacter& named) const
{
    const ZAdoptedPose pose(named.character, nullptr, {}, -1);
    SPlainScene scene = SceneOf(named, pose.Rest());
    SMarks marks;
    marks.nodes.push_back({named.sGround,
                           {FlagMark("IsGroundRoot"), FlagMark("IsRig"), TextMark("GroundName", named.sName),
                            TextMark("RigResource", named.sRigId)}});
    FbxDocument document;
    const std::vector<int64_t> ids = Finish(scene, marks, document);
    const auto first = std::find_if(named.character.parts.begin(), named.character.parts.end(),
                                    [this](size_t nPart) { return !m_plan.Found()[nPart].bOld; });
    const size_t nFile = m_plan.Found()[*first].nFile;
    ZSourceScene source;
    ZGeometry geometry(source);
    if (m_plan.Settings().bKeepGeometry && source.Load(m_plan.Settings().files[nFile]))
        AddGeometry(named, nFile, scene, ids, geometry, document, named.rigMessages);
    Write(document, named.sRigPath);
}

void ZAdoptWriter::WriteTake(const SNamedCharacter& named, const ZSourceScene& source, SNamedCharacter::TTake key,
                             SAdopted& result) const
{
    const auto [nFile, nStack] = key;
    const std::string& sTake = named.takes.at(key);
    const SSourceFile& file = m_plan.Files()[nFile];
    const SSourceFile::SStack& stack = file.stacks[nStack];
    const SCharacter& character = named.character;
    if (stack.frames.Count() > std::min(MOST_FRAMES, MOST_KEYS / static_cast<int64_t>(result.nBones)))
        throw ZRefusal("has " + std::to_string(stack.frames.Count()) + " frames of " + std::to_string(result.nBones) +
                       " bones, which is too much for a take");
    source.Scene().SetCurrentAnimStack(source.Scene().GetAnimStack(nStack));
    ZAdoptedPose pose(character, &source, NodesOfBones(character, m_plan.Found(), nFile),
                      NodeOfRoot(character, m_plan.Found(), nFile));
    SPlainScene scene = SceneOf(named, pose.Rest());
    scene.nTimeMode = source.Scene().GetGlobalSettings().GetTimeMode();
    scene.fFrameRate = file.fFrameRate;
    scene.sStack = sTake;
    scene.nFirstFrame = static_cast<int32_t>(stack.frames.nFirst);
    scene.nLastFrame = static_cast<int32_t>(stack.frames.nLast);
    for (int32_t nFrame = scene.nFirstFrame; nFrame <= scene.nLastFrame; ++nFrame)
    {
        const std::vector<SRigid>& locals = pose.At(FbxTime::FromFrame(nFrame, file.fFrameRate));
        if (const int nBad = pose.BadBone(); nBad >= 0)
            throw ZRefusal("the place of '" + character.bones[static_cast<size_t>(nBad)].sName +
                           "' is no number in frame " + std::to_string(nFrame));
        for (size_t n = 0; n < locals.size(); ++n)
            AddKey(scene.nodes[n], locals[n]);
    }
    for (SPlainNode& node : scene.nodes)
        DropIdleKeys(node);

    SMarks marks;
    marks.nodes.push_back(
        {named.sGround,
         {FlagMark("IsGroundRoot"), TextMark("GroundName", named.sName), TextMark("RigResource", named.sRigId)}});
    STakeMark take;
    take.sGround = named.sGround;
    take.sName = sTake;
    take.startFrame = scene.nFirstFrame;
    take.endFrame = scene.nLastFrame;
    ZNameSet names;
    for (const SPlainNode& node : scene.nodes)
        names.Take(node.sName);
    take.sNode = names.Take("TAKE_" + sTake);
    marks.takes.push_back(take);

    result.bTake = true;
    result.sStack = stack.sName;
    result.sWritten = m_plan.PathOf(named, named.sName + '_' + sTake + ".fbx");
    result.sTakeId = m_plan.IdOf(result.sWritten) + "?/" + sTake + ".take";
    result.nFirstFrame = stack.frames.nFirst;
    result.nLastFrame = stack.frames.nLast;
    if (!m_plan.IsAmong(named, nFile, stack.moving))
        result.messages.push_back({ESeverity::eWarning, "nothing moves in the stack '" + stack.sName + "'"});
    FbxDocument document;
    const std::vector<int64_t> ids = Finish(scene, marks, document);
    ZGeometry geometry(source);
    if (m_plan.Settings().bKeepGeometry)
        AddGeometry(named, nFile, scene, ids, geometry, document, result.messages);
    Write(document, result.sWritten);
}

} // namespace Host
