#include "host/files/assettree.h"

#include "host/files/contenthash.h"
#include "host/files/derivedkinds.h"
#include "host/files/resourceids.h"
#include "host/text/hosterror.h"
#include "host/text/jsonwriter.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>

namespace Host
{

namespace fs = std::filesystem;

namespace
{

constexpr std::string_view SCHEME = "assembly:/";
constexpr size_t DEEPEST_PATH = 128;
/// So many files of one name say enough.
constexpr size_t MOST_CANDIDATES = 4;

std::string_view WithoutRootParameters(std::string_view id)
{
    return id.substr(0, id.find('?'));
}

std::vector<std::string_view> NamesOf(std::string_view path)
{
    std::vector<std::string_view> names;
    while (!path.empty())
    {
        const size_t nSlash = path.find('/');
        if (const std::string_view name = path.substr(0, nSlash); !name.empty() && name != ".")
            names.push_back(name);
        path = nSlash == std::string_view::npos ? std::string_view() : path.substr(nSlash + 1);
    }
    return names;
}

bool HasScanner(const fs::path& path)
{
    const std::string sExtension = path.extension().string();
    return !sExtension.empty() && !ScannerOf(std::string_view(sExtension).substr(1)).empty();
}

/// Looks into the file where its extension alone does not tell.
bool IsSource(const fs::path& path)
{
    const std::string_view sign = SignOfSource(std::string_view(path.extension().string()).substr(1));
    if (sign.empty())
        return true;
    std::string sBeginning(SIGN_REACH, '\0');
    std::ifstream file(path, std::ios::binary);
    file.read(sBeginning.data(), static_cast<std::streamsize>(sBeginning.size()));
    return sBeginning.find(sign) != std::string::npos;
}

} // namespace

ZAssetTree::ZAssetTree(const std::string& sRoot)
{
    std::error_code error;
    const fs::path root = fs::canonical(sRoot, error);
    if (error || !fs::is_directory(root, error))
        throw ZHostError("there is no asset tree at '" + sRoot + "'",
                         "name the folder behind assembly:/ with --assets");
    m_sRoot = root.string();
}

const ZAssetTree::SListing& ZAssetTree::ListingOf(const std::string& sFolder) const
{
    const auto [it, bNew] = m_listings.try_emplace(sFolder);
    if (bNew)
    {
        std::error_code error;
        for (fs::directory_iterator entry(sFolder, error), end; !error && entry != end; entry.increment(error))
        {
            const std::string sName = entry->path().filename().string();
            it->second.names.emplace(ToLower(sName), sName);
        }
    }
    return it->second;
}

void ZAssetTree::FindInAnyCase(const std::string& sFolder, const std::vector<std::string_view>& names, size_t nName,
                               std::vector<std::string>& found) const
{
    auto [it, end] = ListingOf(sFolder).names.equal_range(ToLower(names[nName]));
    std::vector<std::string> candidates;
    for (; it != end; ++it)
        candidates.push_back(sFolder + '/' + it->second);
    std::sort(candidates.begin(), candidates.end());
    for (const std::string& sPath : candidates)
    {
        if (found.size() >= MOST_CANDIDATES)
            return;
        if (nName + 1 < names.size())
            FindInAnyCase(sPath, names, nName + 1, found);
        else if (StampOf(sPath).bExists)
            found.push_back(sPath);
    }
}

ZAssetTree::SLookup ZAssetTree::Find(const ZResourceID& id) const
{
    std::string sText = ToStd(id.GetRoot());
    std::replace(sText.begin(), sText.end(), '\\', '/');
    if (ToLower(std::string_view(sText).substr(0, SCHEME.size())) != SCHEME)
        return {SLookup::eOutside, {}, "'" + sText + "' is not below assembly:/"};
    const std::vector<std::string_view> names = NamesOf(std::string_view(sText).substr(SCHEME.size()));
    if (std::find(names.begin(), names.end(), "..") != names.end() || names.size() > DEEPEST_PATH)
        return {SLookup::eOutside, {}, "'" + sText + "' leads out of the asset tree"};
    if (names.empty())
        return {};

    std::string sExact = m_sRoot;
    for (const std::string_view name : names)
        (sExact += '/') += name;
    if (StampOf(sExact).bExists)
        return {SLookup::eFound, sExact, {}};
    std::vector<std::string> found;
    FindInAnyCase(m_sRoot, names, 0, found);
    if (found.empty())
        return {};
    if (found.size() == 1)
        return {SLookup::eFound, found.front(), {}};
    std::string sWhy = "files that differ in case alone:";
    for (const std::string& sPath : found)
        sWhy += " '" + sPath.substr(m_sRoot.size() + 1) + "'";
    return {SLookup::eAmbiguous, {}, sWhy};
}

std::string ZAssetTree::IdOf(std::string_view text) const
{
    if (text.starts_with('<') || text.find(":/") != std::string_view::npos)
        return std::string(text);
    const std::string_view file = WithoutRootParameters(text);
    const std::string_view parameters = text.substr(file.size());
    std::error_code error;
    for (const fs::path& base : {fs::current_path(error), fs::path(m_sRoot)})
    {
        const fs::path path = base / file;
        if (!fs::exists(path, error))
            continue;
        const std::string sPath = fs::weakly_canonical(path, error).string();
        if (sPath == m_sRoot)
            return std::string(SCHEME);
        if (sPath.starts_with(m_sRoot + '/'))
            return std::string(SCHEME) + sPath.substr(m_sRoot.size() + 1) + std::string(parameters);
    }
    std::string_view relative = file;
    while (relative.starts_with("./"))
        relative.remove_prefix(2);
    return std::string(SCHEME) + std::string(relative) + std::string(parameters);
}

bool ZAssetTree::IsFolder(const std::string& sId) const
{
    if (!sId.starts_with(SCHEME) || sId.find("..") != std::string::npos)
        return false;
    std::error_code error;
    return fs::is_directory(m_sRoot + '/' + sId.substr(SCHEME.size()), error);
}

std::vector<std::string> ZAssetTree::Sources(const std::string& sFolderId, size_t& nUnreadableNames,
                                             const FKnown& isKnown) const
{
    std::vector<std::string> sources;
    std::vector<std::string> folders{m_sRoot + '/' + sFolderId.substr(SCHEME.size())};
    // A link to a folder above would lead round in circles.
    std::set<std::string> visited;
    while (!folders.empty())
    {
        const std::string sFolder = std::move(folders.back());
        folders.pop_back();
        std::error_code error;
        if (!visited.insert(fs::weakly_canonical(sFolder, error).string()).second)
            continue;
        for (fs::directory_iterator entry(sFolder, error), end; !error && entry != end; entry.increment(error))
        {
            std::error_code ignored;
            const std::string sPath = entry->path().lexically_normal().string();
            if (entry->is_directory(ignored))
            {
                folders.push_back(sPath);
                continue;
            }
            if (!HasScanner(entry->path()) || !entry->is_regular_file(ignored))
                continue;
            const std::string sId = std::string(SCHEME) + sPath.substr(m_sRoot.size() + 1);
            if (!(isKnown && isKnown(sId, sPath)) && !IsSource(entry->path()))
                continue;
            if (IsUtf8(sId))
                sources.push_back(sId);
            else
                ++nUnreadableNames;
        }
    }
    std::sort(sources.begin(), sources.end());
    return sources;
}

std::string PathOfWord(const std::string& sWord, const std::string& sAssets)
{
    if (sWord.find(":/") == std::string::npos)
        return sWord;
    const ZAssetTree::SLookup lookup = ZAssetTree(sAssets).Find(ToId(sWord));
    return lookup.eState == ZAssetTree::SLookup::eFound ? lookup.sPath : sWord;
}

} // namespace Host
