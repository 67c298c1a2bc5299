#include "host/diff/treediff.h"

#include "host/files/outputfile.h"
#include "host/files/outputpath.h"
#include "host/files/packedfile.h"
#include "host/files/resourceids.h"
#include "host/text/hosterror.h"
#include "host/text/textformat.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>

namespace Host
{

namespace fs = std::filesystem;

namespace
{

std::string BytesOf(const std::string& sPath)
{
    std::ifstream file(sPath, std::ios::binary);
    if (!file)
        throw ZHostError("'" + sPath + "' can't be read");
    return {std::istreambuf_iterator<char>(file), {}};
}

/// What was packed, by its place: not the state, nor what other builders keep beside it.
std::set<std::string> PlacesIn(const std::string& sOut)
{
    std::set<std::string> places;
    std::error_code error;
    for (fs::recursive_directory_iterator it(sOut, error), end; !error && it != end; it.increment(error))
    {
        std::error_code ignored;
        const std::string sName = it->path().filename().string();
        if (it.depth() == 0 && (sName == "farm" || sName.starts_with('.')))
            it.disable_recursion_pending();
        else if (it.depth() != 0 && it->is_regular_file(ignored) && !IsPassingName(sName))
            places.insert(it->path().lexically_relative(sOut).generic_string());
    }
    if (error)
        throw ZHostError("the output folder '" + sOut + "' can't be read: " + error.message());
    return places;
}

/// Entries of a list in one file and not in another, in words.
template <class TMap>
void TellEntries(const char* szWhat, const TMap& a, const TMap& b, std::vector<std::string>& changes)
{
    for (const auto& [sName, value] : b)
        if (const auto it = a.find(sName); it == a.end())
            changes.push_back(std::string(szWhat) + " '" + sName + "' is new");
        else if (it->second != value)
            changes.push_back(std::string(szWhat) + " '" + sName + "': " + it->second + " before, " + value + " now");
    for (const auto& [sName, value] : a)
        if (!b.contains(sName))
            changes.push_back(std::string(szWhat) + " '" + sName + "' is gone");
}

using TEntries = std::map<std::string, std::string>;

TEntries BonesOf(const ZAnimationRig& rig)
{
    TEntries bones;
    for (uint32_t n = 0; n < rig.BoneCount(); ++n)
    {
        const SQV& bone = rig.Bone(n);
        const SBoneId parent = rig.ParentId(n);
        const auto wide = [](float f) { return static_cast<double>(f); };
        bones.emplace(ToStd(rig.Name(n)),
                      Formatted("at %.2f %.2f %.2f mm, turned %.5f %.5f %.5f %.5f, below '%s'",
                                1000.0 * wide(bone.translation.x), 1000.0 * wide(bone.translation.y),
                                1000.0 * wide(bone.translation.z), wide(bone.rotation.x), wide(bone.rotation.y),
                                wide(bone.rotation.z), wide(bone.rotation.w),
                                parent.IsValid() ? ToStd(rig.Name(parent)).c_str() : ""));
    }
    return bones;
}

TEntries ReferencesOf(const ZPackedFile& file)
{
    TEntries references;
    for (const ZPackedFile::SReference& reference : file.References())
        references.emplace(reference.sId, "flags " + std::to_string(reference.nFlags));
    return references;
}

TEntries CharacterOf(ZPackedFile& file)
{
    TEntries entries;
    if (const std::vector<ZPackedFile::SEntry>* pEntries = file.Character())
        for (const ZPackedFile::SEntry& entry : *pEntries)
            entries.emplace(entry.sName, entry.nReference < file.References().size()
                                             ? file.References()[entry.nReference].sId
                                             : "reference " + std::to_string(entry.nReference));
    return entries;
}

void TellChanges(ZPackedFile& a, ZPackedFile& b, std::vector<std::string>& changes)
{
    TellEntries("reference", ReferencesOf(a), ReferencesOf(b), changes);
    if (a.Type() == "RRTY" && a.Rig() != nullptr && b.Rig() != nullptr)
        TellEntries("bone", BonesOf(*a.Rig()), BonesOf(*b.Rig()), changes);
    if (a.Type() == "ChrT")
        TellEntries("animation", CharacterOf(a), CharacterOf(b), changes);
}

/// The output folder that a packed file of an animation stands in: the one that has its rig, too.
std::string OutputFolderOf(const std::string& sFile)
{
    ZPackedFile file;
    if (file.Read(sFile))
        for (const ZPackedFile::SReference& reference : file.References())
            if (const std::string sPlace = OutputPathOf(ToId(reference.sId)); !sPlace.empty())
                for (fs::path folder = fs::absolute(sFile).parent_path(); folder.has_relative_path();
                     folder = folder.parent_path())
                    if (StampOf((folder / sPlace).string()).bExists)
                        return folder.string();
    return fs::path(sFile).parent_path().string();
}

void CompareFiles(const std::string& sFileA, const std::string& sOutA, const std::string& sFileB,
                  const std::string& sOutB, SFileDifference& difference)
{
    const std::string sA = BytesOf(sFileA), sB = BytesOf(sFileB);
    difference.nBytesA = sA.size();
    difference.nBytesB = sB.size();
    const size_t nCommon = std::min(sA.size(), sB.size());
    difference.nBytesOther = std::max(sA.size(), sB.size()) - nCommon;
    for (size_t n = 0; n < nCommon; ++n)
        difference.nBytesOther += sA[n] != sB[n];
    if (difference.nBytesOther == 0)
        return;
    difference.eKind = SFileDifference::eChanged;
    ZPackedFile a, b;
    if (!a.Read(sFileA) || !b.Read(sFileB))
        return;
    if (a.Type() != b.Type())
    {
        difference.changes.push_back("type " + a.Type() + " before, " + b.Type() + " now");
        return;
    }
    try
    {
        TellChanges(a, b, difference.changes);
    }
    catch (const SAssertionFailed&)
    {
        difference.changes.push_back("one of the files contradicts itself");
    }
    catch (const zhalt_exception&)
    {
        difference.changes.push_back("one of the files contradicts itself");
    }
    if (a.Type() == "ARTY")
        difference.pose = DifferenceOf(sFileA, sOutA, sFileB, sOutB);
}

} // namespace

std::string_view NameOf(SFileDifference::EKind eKind)
{
    constexpr std::string_view names[] = {"new", "gone", "changed", "same"};
    return names[eKind];
}

void DiffPacked(const std::string& sA, const std::string& sB, const std::function<void(const SFileDifference&)>& report)
{
    std::error_code error;
    for (const std::string* pName : {&sA, &sB})
        if (!fs::exists(*pName, error))
            throw ZHostError("there is no '" + *pName + "'", "name two packed files, or two output folders");
    const bool bFolder = fs::is_directory(sA, error);
    for (const std::string* pName : {&sA, &sB})
        if (!fs::is_directory(*pName, error) && !fs::is_regular_file(*pName, error))
            throw ZHostError("'" + *pName + "' is no regular file", "name two packed files, or two output folders");
    if (bFolder != fs::is_directory(sB, error))
        throw ZHostError("'" + sA + "' and '" + sB + "' are a file and a folder",
                         "name two packed files, or two output folders");
    if (!bFolder)
    {
        SFileDifference difference;
        difference.sPlace = sB;
        CompareFiles(sA, OutputFolderOf(sA), sB, OutputFolderOf(sB), difference);
        return report(difference);
    }
    const std::set<std::string> inA = PlacesIn(sA), inB = PlacesIn(sB);
    std::set<std::string> all = inA;
    all.insert(inB.begin(), inB.end());
    for (const std::string& sPlace : all)
    {
        SFileDifference difference;
        difference.sPlace = sPlace;
        const std::string sFileA = sA + '/' + sPlace, sFileB = sB + '/' + sPlace;
        if (inA.contains(sPlace) && inB.contains(sPlace))
            CompareFiles(sFileA, sA, sFileB, sB, difference);
        else
        {
            difference.eKind = inA.contains(sPlace) ? SFileDifference::eGone : SFileDifference::eNew;
            difference.nBytesA = inA.contains(sPlace) ? StampOf(sFileA).nSize : 0;
            difference.nBytesB = inB.contains(sPlace) ? StampOf(sFileB).nSize : 0;
            difference.nBytesOther = std::max(difference.nBytesA, difference.nBytesB);
        }
        report(difference);
    }
}

} // namespace Host
