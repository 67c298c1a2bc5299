#include "host/files/outputplace.h"

#include "host/files/outputpath.h"
#include "host/files/resourceids.h"
#include "host/text/hosterror.h"
#include "host/text/words.h"
#include "os/filestamp.h"

#include <algorithm>
#include <filesystem>

namespace Host
{

namespace fs = std::filesystem;

namespace
{

constexpr int MOST_LINKS = 40; // as the system has it
/// Beside the packed files: the state of builds, its journal, its lock.
constexpr std::string_view STATE_START = "animpack.";
/// Documents that are read with a scene of their name.
constexpr std::string_view EVENTS = ".events";

bool IsRead(const fs::path& file)
{
    return IsSource(file.string()) || ToLower(file.extension().string()) == EVENTS;
}

/// The way from a folder to a file below it, without links; empty when it is not below it.
std::string PlaceBelow(const fs::path& file, const fs::path& folder)
{
    std::error_code error;
    const fs::path place = fs::weakly_canonical(file, error).lexically_relative(fs::weakly_canonical(folder, error));
    return place.empty() || place.begin()->string() == ".." || place == "." ? std::string() : place.generic_string();
}

/// Whether a source of the tree is the same file. That takes a second name, which few files have.
bool IsSourceByAnotherName(const ZAssetTree& tree, const fs::path& file)
{
    std::error_code error;
    if (fs::hard_link_count(file, error) < 2 || error)
        return false;
    const std::vector<std::string> ids = tree.Sources("assembly:/").ids;
    return std::any_of(ids.begin(), ids.end(),
                       [&](const std::string& sId)
                       {
                           const std::string& sSource = tree.Find(ToId(sId)).sPath;
                           return !sSource.empty() && fs::equivalent(file, sSource, error);
                       });
}

} // namespace

std::string FindOutputPlace(const std::string& sWord, const std::vector<std::string>& inputs,
                            const std::string& sMayReplace, std::string& sPath)
{
    std::error_code error;
    fs::path path = fs::absolute(sWord, error);
    for (int n = 0; !error && fs::is_symlink(path, error); ++n)
    {
        if (n == MOST_LINKS)
            return "links lead round in a circle";
        const fs::path target = fs::read_symlink(path, error);
        path = path.parent_path() / target;
    }
    const fs::file_status status = fs::symlink_status(path, error);
    if (path.filename().empty() || fs::is_directory(status))
        return "is a folder, no place for a file";
    if (fs::exists(status) && !fs::is_regular_file(status))
        return "is no regular file and not replaced";
    for (const std::string& sInput : inputs)
        if (fs::equivalent(path, sInput, error) && !(sWord == sInput && sWord == sMayReplace))
            return sWord == sInput ? "is read and not written over"
                                   : "is the input '" + sInput + "' by another name and not written over";
    sPath = path.string();
    return {};
}

std::string OutputPlaceOfReader(const std::string& sWord, const ZAssetTree& tree, const std::string& sOut)
{
    const auto refuse = [&sWord](const std::string& sWhy) { throw ZUsageError("'" + sWord + "' " + sWhy); };
    std::string sPath;
    std::error_code error;
    if (const std::string sWhy = FindOutputPlace(sWord, {}, {}, sPath); !sWhy.empty())
        refuse(sWhy);
    if (!fs::exists(sPath, error))
        return sPath;
    if ((!PlaceBelow(sPath, tree.Root()).empty() && IsRead(sPath)) || IsSourceByAnotherName(tree, sPath))
        refuse("is a source of the asset tree and not written over");
    const std::string sPlace = PlaceBelow(sPath, sOut);
    if (sPlace.starts_with(STATE_START) || !IdOfOutputPath(sPlace).empty())
        refuse("is what builds keep in the output folder and not written over");
    return sPath;
}

} // namespace Host
