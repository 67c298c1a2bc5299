#include "host/adopt/adoptplan.h"

#include "host/adopt/plainscene.h"
#include "host/text/hosterror.h"
#include "host/text/safenames.h"
#include "host/text/words.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <tuple>

namespace Host
{

namespace
{

namespace Fs = std::filesystem;

/// The path below a folder in the case of what is there already.
std::string InDiskCase(const std::string& sFolder, const std::string& sBelow)
{
    std::string sPath = sFolder;
    size_t nStart = 0;
    while (nStart <= sBelow.size())
    {
        const size_t nEnd = std::min(sBelow.find('/', nStart), sBelow.size());
        std::string sName = sBelow.substr(nStart, nEnd - nStart);
        std::error_code error;
        if (!Fs::exists(sPath + '/' + sName, error))
            for (const Fs::directory_entry& entry : Fs::directory_iterator(sPath, error))
                if (ToLower(entry.path().filename().string()) == ToLower(sName))
                    sName = entry.path().filename().string();
        sPath += '/' + sName;
        nStart = nEnd + 1;
    }
    return sPath;
}

} // namespace

bool IsAdoptedFile(const std::string& sPath)
{
    char head[4096];
    std::ifstream file(sPath, std::ios::binary);
    file.read(head, sizeof head);
    return std::string_view(head, static_cast<size_t>(file.gcount())).find(ADOPTED_CREATOR) != std::string_view::npos;
}

ZAdoptPlan::ZAdoptPlan(const SAdoptSettings& settings) : m_settings(settings)
{
    CheckWords();
    for (size_t n = 0; n < settings.files.size(); ++n)
        m_files.push_back(LookAtSource(settings.files[n], n, m_found));
    for (SCharacter& character : JoinCharacters(m_found, settings.eRoot))
        m_characters.emplace_back().character = std::move(character);
    NameCharacters();
    for (SNamedCharacter& named : m_characters)
    {
        NameTakes(named);
        LookAtOldRig(named);
    }
}

void ZAdoptPlan::CheckWords()
{
    std::string& sFolder = m_sFolder;
    sFolder = m_settings.sFolder;
    if (sFolder.starts_with("assembly:/"))
        sFolder.erase(0, 10);
    while (sFolder.starts_with("./"))
        sFolder.erase(0, 2);
    while (sFolder.ends_with('/'))
        sFolder.pop_back();
    const std::string sOdd = "\\?*:|<>\"";
    const std::string sBelow = '/' + sFolder + '/';
    if (m_settings.sFolder.starts_with('/') || sFolder.find_first_of(sOdd) != std::string::npos ||
        sBelow.find("/../") != std::string::npos || sBelow.find("/./") != std::string::npos ||
        (!sFolder.empty() && sBelow.find("//") != std::string::npos))
        throw ZUsageError("--to: '" + m_settings.sFolder + "' is no folder below --assets");
    if (!m_settings.sName.empty() && SafeName(m_settings.sName, "") != m_settings.sName)
        throw ZUsageError("--name: '" + m_settings.sName + "' can't be part of an identifier; '" +
                          SafeName(m_settings.sName, "character") + "' can");
}

std::string ZAdoptPlan::StemOf(size_t nFile) const
{
    return Fs::path(m_settings.files[nFile]).stem().string();
}

std::set<size_t> ZAdoptPlan::FilesOf(const SNamedCharacter& named) const
{
    std::set<size_t> files;
    for (const size_t nPart : named.character.parts)
        if (!m_found[nPart].bOld)
            files.insert(m_found[nPart].nFile);
    return files;
}

bool ZAdoptPlan::IsAmong(const SNamedCharacter& named, size_t nFile, const std::set<size_t>& skeletons) const
{
    return std::any_of(named.character.parts.begin(), named.character.parts.end(),
                       [&](size_t nPart) { return m_found[nPart].nFile == nFile && skeletons.contains(nPart); });
}

/// What the names of several files begin with, up to where a word ends.
std::string ZAdoptPlan::CommonStem(const std::set<size_t>& files) const
{
    std::string sCommon = StemOf(*files.begin());
    for (const size_t nFile : files)
    {
        const std::string sStem = StemOf(nFile);
        size_t n = 0;
        while (n < std::min(sCommon.size(), sStem.size()) && sCommon[n] == sStem[n])
            ++n;
        sCommon.resize(n);
    }
    const auto isEnd = [&](const std::string& sStem)
    {
        const size_t n = sCommon.size();
        return n >= sStem.size() || std::string_view("_-. @").find(sStem[n]) != std::string_view::npos;
    };
    while (!sCommon.empty() &&
           !std::all_of(files.begin(), files.end(), [&](size_t nFile) { return isEnd(StemOf(nFile)); }))
        sCommon.pop_back();
    return sCommon.size() >= 3 ? sCommon : std::string();
}

std::string ZAdoptPlan::PathOf(const SNamedCharacter& named, const std::string& sFile) const
{
    return InDiskCase(m_settings.sAssets, named.sFolder + '/' + sFile);
}

std::string ZAdoptPlan::IdOf(const std::string& sPath) const
{
    return "assembly:/" + sPath.substr(m_settings.sAssets.size() + 1);
}

void ZAdoptPlan::NameCharacters()
{
    ZNameSet names;
    for (SNamedCharacter& named : m_characters)
    {
        const SFoundSkeleton& first = m_found[named.character.parts.front()];
        const std::set<size_t> files = FilesOf(named);
        std::string sName = m_settings.sName;
        const bool bAlone =
            m_settings.sName.empty()
                ? std::count_if(m_characters.begin(), m_characters.end(),
                                [&](const SNamedCharacter& other) { return FilesOf(other).contains(first.nFile); }) == 1
                : m_characters.size() == 1;
        if (sName.empty() && files.size() > 1)
            sName = CommonStem(files);
        if (sName.empty())
            sName = StemOf(first.nFile);
        if (!bAlone)
            sName += '_' + BareName(first.skeleton.sLabel);
        named.sName = names.Take(SafeName(sName, "character"));
        named.sFolder = m_sFolder.empty() ? named.sName : m_sFolder;
        named.sRigPath = PathOf(named, named.sName + ".rig.fbx");
        named.sRigId = IdOf(named.sRigPath) + "?/" + named.sName + ".rig";
        ZNameSet taken;
        for (const SCharacterBone& bone : named.character.bones)
            taken.Take(bone.sName);
        const SCharacter& character = named.character;
        named.sGround = taken.Take(character.bRootBone ? character.sRootName : named.sName + "_ground");
    }
}

/// A stack's own name where it has one; the file's where the stack's is the program's and there are several files.
void ZAdoptPlan::NameTakes(SNamedCharacter& named)
{
    const std::set<size_t> files = FilesOf(named);
    const std::string sCommon = files.size() > 1 ? CommonStem(files) : std::string();
    using TKey = SNamedCharacter::TTake;
    std::map<std::string, std::vector<TKey>> byName;
    std::map<TKey, std::string> longNames;
    for (const size_t nFile : files)
    {
        const std::vector<SSourceFile::SStack>& stacks = m_files[nFile].stacks;
        size_t nAnimated = 0;
        for (const SSourceFile::SStack& stack : stacks)
            nAnimated += IsAmong(named, nFile, stack.animated);
        for (size_t n = 0; n < stacks.size(); ++n)
        {
            if (!IsAmong(named, nFile, stacks[n].animated))
                continue;
            std::string sStem = StemOf(nFile).substr(sCommon.size());
            if (files.size() == 1)
                sStem.clear();
            std::string sName = SafeName(PlainStackName(stacks[n].sName), "take");
            if (nAnimated == 1 && IsIdleStackName(stacks[n].sName) && !SafeName(sStem, "").empty())
                sName = SafeName(sStem, "take");
            byName[ToLower(sName)].push_back({nFile, n});
            longNames[{nFile, n}] = SafeName(sStem + '_' + stacks[n].sName, "take");
            named.takes[{nFile, n}] = sName;
        }
    }
    ZNameSet names;
    std::vector<TKey> order;
    for (const auto& [key, sName] : named.takes)
        order.push_back(key);
    std::sort(order.begin(), order.end(),
              [this](const TKey& a, const TKey& b)
              { return std::make_tuple(StemOf(a.first), a) < std::make_tuple(StemOf(b.first), b); });
    for (const TKey& key : order)
    {
        std::string& sName = named.takes[key];
        if (byName[ToLower(sName)].size() > 1)
            sName = longNames[key];
        sName = names.Take(sName);
    }
}

/// Takes that were adopted before, and that this run does not write anew.
bool ZAdoptPlan::HasOtherTakes(const SNamedCharacter& named) const
{
    std::set<std::string> planned;
    for (const auto& [key, sTake] : named.takes)
        planned.insert(ToLower(named.sName + '_' + sTake + ".fbx"));
    std::error_code error;
    for (const Fs::directory_entry& entry : Fs::directory_iterator(Fs::path(named.sRigPath).parent_path(), error))
    {
        const std::string sName = ToLower(entry.path().filename().string());
        if (sName.starts_with(ToLower(named.sName) + '_') && sName.ends_with(".fbx") && !planned.contains(sName) &&
            IsAdoptedFile(entry.path().string()))
            return true;
    }
    return false;
}

/// Bones of a rig that stands there stay in it: what was adopted before, or will be, needs them. Where these files tell
/// all of it, and no other take is there, it is made anew.
void ZAdoptPlan::LookAtOldRig(SNamedCharacter& named)
{
    std::error_code error;
    ZSourceScene source;
    if (named.character.bPlain || !Fs::exists(named.sRigPath, error) || !IsAdoptedFile(named.sRigPath) ||
        !source.Load(named.sRigPath))
        return;
    const std::vector<SSkeleton> skeletons = FindSkeletons(source, {});
    const bool bOthers = HasOtherTakes(named);
    std::set<std::string> known;
    for (const size_t nPart : named.character.parts)
        for (const SSkeletonBone& bone : m_found[nPart].skeleton.bones)
            known.insert(ToLower(bone.sName));
    for (const SSkeleton& skeleton : skeletons)
    {
        const auto isNew = [&known](const SSkeletonBone& bone) { return !known.contains(ToLower(bone.sName)); };
        if (!bOthers && std::none_of(skeleton.bones.begin(), skeleton.bones.end(), isNew))
            continue;
        m_found.push_back({m_files.size(), {}, true, skeleton});
        const std::string sRig = '\'' + named.sRigPath + '\'';
        const bool bSameGround = skeleton.nRootNode >= 0 &&
                                 ToLower(source.Scene().GetNode(static_cast<size_t>(skeleton.nRootNode))->GetName()) ==
                                     ToLower(named.sGround);
        if (!JoinOldRig(m_found, m_found.size() - 1, m_settings.eRoot, named.character))
            named.sError = sRig + " is the rig of another skeleton; choose another --name or --to, or remove it";
        else if (!bSameGround)
            named.sError = sRig + " has another ground, which takes that stand there need; choose another --root, "
                                  "--name or --to, or adopt all of them again";
        else
            named.bRigStays =
                m_found[named.character.parts.front()].bOld && skeleton.bones.size() == named.character.bones.size();
    }
}

} // namespace Host
