#pragma once

#include "base/misc/zresourceid.h"

#include <functional>
#include <string>
#include <string_view>
#include <system_error>
#include <unordered_map>
#include <vector>

namespace Host
{

/// The folder behind `assembly:/`.
///
/// A path is looked up name by name without regard to case (A to Z): identifiers that differ in case alone are one, so
/// two files that do are an error. Names of folders are read once and remembered: a tree must not be expected to show
/// what changes during a run.
class ZAssetTree
{
public:
    /// ZHostError when there is no such folder.
    explicit ZAssetTree(const std::string& sRoot);

    struct SLookup
    {
        enum EState
        {
            eFound,
            eMissing,
            eAmbiguous,  ///< several files that differ in case alone
            eUnreadable, ///< in a folder that can't be read
            eOutside     ///< not below assembly:/, or on its way out through ".."
        };
        EState eState = eMissing;
        /// Nothing can be made of such a tree, whatever the file is for.
        bool IsWrong() const { return eState == eAmbiguous || eState == eUnreadable; }
        std::string sPath; ///< absolute; found only
        std::string sWhy;  ///< a text for the user; not for a file that is just missing
    };

    /// The file of an identifier: what stands behind a "?" is left aside, and of a derived one it is the source's.
    const SLookup& Find(const ZResourceID& id) const;

    /// `text` is an identifier, or the path of a file or folder in the tree: absolute, seen from the current folder or
    /// from the tree's root; a "?" and what is behind it may follow. The identifier, in the case of the disk where the
    /// path exists.
    std::string IdOf(std::string_view text) const;

    /// The folder of the tree that an identifier names, looked up as files are but exactly first: its identifier in the
    /// disk's spelling, empty when it names none. ZUsageError where it is several.
    std::string FolderOf(const std::string& sId) const;

    /// Whether a file is known to be a source as it is, so that there is no need to look into it.
    using FKnown = std::function<bool(const std::string& sId, const std::string& sPath)>;
    struct SSources
    {
        std::vector<std::string> ids;          ///< in their order
        std::vector<std::string> namesNotUtf8; ///< there are no identifiers for them, so they are left out
        struct SFolder
        {
            std::string sId; ///< with a slash at its end
            std::string sWhy;
        };
        std::vector<SFolder> unreadable; ///< and files that can't have an identifier; in their order
    };
    /// Identifiers of all files below a folder (its identifier) whose extension has a scanner. A link to a folder that
    /// is found without it stands for nothing; of several links to one folder outside the first one counts.
    SSources Sources(const std::string& sFolderId, const FKnown& isKnown = {}) const;

    /// Folders that have been looked into so far, in their order; after Sources("assembly:/") all that are reached.
    std::vector<std::string> ListedFolders() const;

    const std::string& Root() const { return m_sRoot; }

private:
    enum class EName
    {
        eFile,
        eFolder,
        eLink, ///< or something else that has to be looked at
    };
    struct SName
    {
        std::string sName;
        EName eKind;
    };
    struct SListing
    {
        std::vector<SName> names; ///< in their order
        std::unordered_multimap<std::string, size_t> byLowerCase;
        std::error_code error; ///< then there are no names
    };
    struct SSearch
    {
        std::vector<std::string_view> names;
        std::vector<std::string> found;
        std::string sUnreadable; ///< a folder on the way, and why
    };
    class ZSourceWalk;
    const SListing& ListingOf(const std::string& sFolder) const;
    void FindInAnyCase(const std::string& sFolder, size_t nName, SSearch& search) const;
    SLookup LookUp(const std::string& sRootId) const;

    std::string m_sRoot;
    mutable std::unordered_map<std::string, SListing> m_listings;
    mutable std::unordered_map<std::string, SLookup> m_lookups;
};

/// Whether there can be an identifier of a file, which this would be. The text says why there is none.
bool CanBeIdentifier(const std::string& sId);
constexpr const char NO_IDENTIFIER[] = "its name has a question mark, a backslash, an angle bracket or a control "
                                       "character, so there is no identifier for it";

/// Whether a file's name, and where other programs have such files too its beginning, says that it is a source.
bool IsSource(const std::string& sPath);
/// Whether it is one of another program, by its beginning.
bool IsOthers(const std::string& sPath);

/// The file that a command is to look at, which need not stand in the tree: a path as it is, or what an identifier
/// names. The word itself where that is nothing; ZUsageError where it is several files.
std::string PathOfWord(const std::string& sWord, const std::string& sAssets);

} // namespace Host
