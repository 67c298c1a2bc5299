#include "host/files/assettree.h"

#include "base/misc/utf8.h"
#include "host/files/contenthash.h"
#include "host/files/derivedkinds.h"
#include "host/files/resourceids.h"
#include "host/text/hosterror.h"
#include "os/filestamp.h"

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

/// Whether the extension alone does not tell that it is a source.
bool HasSign(const fs::path& path)
{
    return !SignOfSource(std::string_view(path.extension().string()).substr(1)).empty();
}

/// Looks into the file. One that can't be read may be a source: whoever reads it tells why not.
bool BearsSign(const fs::path& path)
{
    const std::string sExtension = path.extension().string();
    const std::string_view sign = SignOfSource(std::string_view(sExtension).substr(1));
    std::string sBeginning(SIGN_REACH, '\0');
    std::ifstream file(path, std::ios::binary);
    file.read(sBeginning.data(), static_cast<std::streamsize>(sBeginning.size()));
    return !file.is_open() || sBeginning.find(sign) != std::string::npos;
}

} // namespace

bool CanBeIdentifier(const std::string& sId)
{
    // A backslash is a slash to whoever looks one up.
    return ToId(sId).IsValid() && sId.find_first_of("?\\", SCHEME.size()) == std::string::npos;
}

bool IsSource(const std::string& sPath)
{
    return HasScanner(sPath) && !IsOthers(sPath);
}

bool IsOthers(const std::string& sPath)
{
    return HasSign(sPath) && !BearsSign(sPath);
}

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
    SListing& listing = it->second;
    if (!bNew)
        return listing;
    std::error_code ignored;
    for (fs::directory_iterator entry(sFolder, listing.error), end; !listing.error && entry != end;
         entry.increment(listing.error))
    {
        const EName eKind = entry->is_symlink(ignored)        ? EName::eLink
                            : entry->is_regular_file(ignored) ? EName::eFile
                            : entry->is_directory(ignored)    ? EName::eFolder
                                                              : EName::eLink;
        listing.names.push_back({entry->path().filename().string(), eKind});
    }
    // Names that nobody may follow are no use either.
    if (!listing.error)
        listing.error = Os::WhyNotEntered(sFolder);
    if (listing.error)
        listing.names.clear();
    // The order in which a disk lists them is nobody's business.
    std::sort(listing.names.begin(), listing.names.end(),
              [](const SName& a, const SName& b) { return a.sName < b.sName; });
    for (size_t n = 0; n < listing.names.size(); ++n)
        listing.byLowerCase.emplace(ToLower(listing.names[n].sName), n);
    return listing;
}

void ZAssetTree::FindInAnyCase(const std::string& sFolder, size_t nName, SSearch& search) const
{
    const std::string_view name = search.names[nName];
    const bool bLast = nName + 1 == search.names.size();
    const SListing& listing = ListingOf(sFolder);
    std::vector<SName> candidates;
    auto [it, end] = listing.byLowerCase.equal_range(ToLower(name));
    for (; it != end; ++it)
        candidates.push_back(listing.names[it->second]);
    std::sort(candidates.begin(), candidates.end(), [](const SName& a, const SName& b) { return a.sName < b.sName; });
    if (listing.error && listing.error != std::errc::no_such_file_or_directory &&
        listing.error != std::errc::not_a_directory)
    {
        // What stands in it may be reached all the same, by its very name.
        candidates.push_back({std::string(name), EName::eLink});
        if (search.sUnreadable.empty())
            search.sUnreadable = "the folder '" + sFolder.substr(std::min(m_sRoot.size() + 1, sFolder.size())) +
                                 "' can't be read: " + listing.error.message();
    }
    for (const SName& candidate : candidates)
    {
        if (search.found.size() >= MOST_CANDIDATES)
            return;
        const std::string sPath = sFolder + '/' + candidate.sName;
        if (!bLast && candidate.eKind != EName::eFile)
            FindInAnyCase(sPath, nName + 1, search);
        else if (bLast &&
                 (candidate.eKind == EName::eFile || (candidate.eKind == EName::eLink && StampOf(sPath).bExists)))
            search.found.push_back(sPath);
    }
}

const ZAssetTree::SLookup& ZAssetTree::Find(const ZResourceID& id) const
{
    const std::string sRootId = ToStd(id.GetRoot());
    const auto it = m_lookups.find(sRootId);
    return it != m_lookups.end() ? it->second : m_lookups.emplace(sRootId, LookUp(sRootId)).first->second;
}

ZAssetTree::SLookup ZAssetTree::LookUp(const std::string& sRootId) const
{
    std::string sText = sRootId;
    std::replace(sText.begin(), sText.end(), '\\', '/');
    if (ToLower(std::string_view(sText).substr(0, SCHEME.size())) != SCHEME)
        return {SLookup::eOutside, {}, "'" + sText + "' is not below assembly:/"};
    SSearch search{NamesOf(std::string_view(sText).substr(SCHEME.size())), {}, {}};
    if (std::find(search.names.begin(), search.names.end(), "..") != search.names.end() ||
        search.names.size() > DEEPEST_PATH)
        return {SLookup::eOutside, {}, "'" + sText + "' leads out of the asset tree"};
    if (search.names.empty())
        return {};
    FindInAnyCase(m_sRoot, 0, search);
    if (search.found.size() == 1)
        return {SLookup::eFound, search.found.front(), {}};
    if (search.found.empty())
        return {search.sUnreadable.empty() ? SLookup::eMissing : SLookup::eUnreadable, {}, search.sUnreadable};
    std::string sWhy = "files that differ in case alone:";
    for (const std::string& sPath : search.found)
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
    // What stands in the tree as a link, or behind one, to something outside.
    if (const fs::path path = fs::absolute(file, error).lexically_normal(); fs::exists(path, error))
        for (fs::path above = path; above.has_relative_path(); above = above.parent_path())
            if (fs::equivalent(above, m_sRoot, error))
                return std::string(SCHEME) + path.lexically_relative(above).string() + std::string(parameters);
    std::string_view relative = file;
    while (relative.starts_with("./"))
        relative.remove_prefix(2);
    return std::string(SCHEME) + std::string(relative) + std::string(parameters);
}

std::string ZAssetTree::FolderOf(const std::string& sId) const
{
    std::string sText = sId;
    std::replace(sText.begin(), sText.end(), '\\', '/');
    if (ToLower(std::string_view(sText).substr(0, SCHEME.size())) != SCHEME)
        return {};
    const std::vector<std::string_view> names = NamesOf(std::string_view(sText).substr(SCHEME.size()));
    if (std::find(names.begin(), names.end(), "..") != names.end() || names.size() > DEEPEST_PATH)
        return {};
    std::error_code error;
    const auto isFolder = [&error](const std::string& sPath) { return fs::is_directory(sPath, error); };
    std::string sExact = m_sRoot;
    for (const std::string_view name : names)
        (sExact += '/') += name;
    std::vector<std::string> found{isFolder(sExact) ? sExact : m_sRoot};
    if (found.front() != sExact && Find(ToId(sId)).eState == SLookup::eFound)
        return {};
    for (size_t n = found.front() == sExact ? names.size() : 0; n < names.size(); ++n)
    {
        std::vector<std::string> next;
        for (const std::string& sFolder : found)
        {
            const SListing& listing = ListingOf(sFolder);
            auto [it, end] = listing.byLowerCase.equal_range(ToLower(names[n]));
            for (; it != end && next.size() < MOST_CANDIDATES; ++it)
                if (const std::string sPath = sFolder + '/' + listing.names[it->second].sName; isFolder(sPath))
                    next.push_back(sPath);
        }
        found = std::move(next);
    }
    if (found.empty())
        return {};
    std::sort(found.begin(), found.end());
    if (found.size() > 1)
        throw ZUsageError("'" + sId + "': folders that differ in case alone: '" + found[0] + "' '" + found[1] + "'");
    return std::string(SCHEME) + found.front().substr(std::min(m_sRoot.size() + 1, found.front().size()));
}

/// Goes through folders, first all that are found without links.
class ZAssetTree::ZSourceWalk
{
public:
    ZSourceWalk(const ZAssetTree& tree, const FKnown& isKnown) : m_tree(tree), m_isKnown(isKnown) {}

    SSources Run(const std::string& sFolder)
    {
        Walk(sFolder);
        while (!m_links.empty())
            Walk(m_links.extract(m_links.begin()).value());
        std::sort(m_sources.ids.begin(), m_sources.ids.end());
        std::sort(m_sources.unreadable.begin(), m_sources.unreadable.end(),
                  [](const auto& a, const auto& b) { return a.sId < b.sId; });
        return std::move(m_sources);
    }

private:
    std::string IdOf(const std::string& sPath) const
    {
        return std::string(SCHEME) + sPath.substr(std::min(m_tree.m_sRoot.size() + 1, sPath.size()));
    }

    /// A folder or a link to one; links in it have to wait.
    void Walk(const std::string& sStart)
    {
        std::error_code error;
        const std::string sTrueStart = fs::weakly_canonical(sStart, error).string();
        std::vector<std::string> folders{sStart};
        while (!folders.empty())
        {
            const std::string sFolder = std::move(folders.back());
            folders.pop_back();
            if (!m_visited.insert(sTrueStart + sFolder.substr(sStart.size())).second)
                continue;
            const SListing& listing = m_tree.ListingOf(sFolder);
            if (listing.error)
                m_sources.unreadable.push_back({IdOf(sFolder) + (sFolder == m_tree.m_sRoot ? "" : "/"),
                                                "the folder can't be read: " + listing.error.message()});
            for (const SName& name : listing.names)
                Add(sFolder + '/' + name.sName, name.eKind, folders);
        }
    }

    void Add(const std::string& sPath, EName eKind, std::vector<std::string>& folders)
    {
        std::error_code ignored;
        if (eKind == EName::eFolder)
            folders.push_back(sPath);
        else if (eKind == EName::eLink && fs::is_directory(sPath, ignored))
            m_links.insert(sPath);
        else if (HasScanner(sPath) && (eKind == EName::eFile || StampOf(sPath).bExists))
        {
            const std::string sId = IdOf(sPath);
            if (!HasSign(sPath) || (m_isKnown && m_isKnown(sId, sPath)) || BearsSign(sPath))
            {
                if (!IsUtf8(sId))
                    m_sources.namesNotUtf8.push_back(sId);
                else if (!CanBeIdentifier(sId))
                    m_sources.unreadable.push_back({sId, NO_IDENTIFIER});
                else
                    m_sources.ids.push_back(sId);
            }
        }
    }

    const ZAssetTree& m_tree;
    const FKnown& m_isKnown;
    SSources m_sources;
    std::set<std::string> m_visited; ///< without links
    std::set<std::string> m_links;
};

ZAssetTree::SSources ZAssetTree::Sources(const std::string& sFolderId, const FKnown& isKnown) const
{
    std::string sFolder = m_sRoot + '/' + sFolderId.substr(SCHEME.size());
    while (sFolder.size() > 1 && sFolder.back() == '/')
        sFolder.pop_back();
    return ZSourceWalk(*this, isKnown).Run(sFolder);
}

std::vector<std::string> ZAssetTree::ListedFolders() const
{
    std::vector<std::string> folders;
    for (const auto& [sFolder, listing] : m_listings)
        if (!listing.error)
            folders.push_back(sFolder);
    std::sort(folders.begin(), folders.end());
    return folders;
}

std::string PathOfWord(const std::string& sWord, const std::string& sAssets)
{
    if (sWord.find(":/") == std::string::npos)
        return sWord;
    const ZAssetTree tree(sAssets);
    const ZAssetTree::SLookup& lookup = tree.Find(ToId(sWord));
    if (lookup.IsWrong())
        throw ZUsageError("'" + sWord + "': " + lookup.sWhy);
    return lookup.eState == ZAssetTree::SLookup::eFound ? lookup.sPath : sWord;
}

} // namespace Host
