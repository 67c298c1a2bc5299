#pragma once

#include "base/misc/zresourceid.h"

#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Host
{

/// The folder behind `assembly:/`.
///
/// A path is looked up as it stands, then without regard to case (A to Z), name by name. Names of folders are read once
/// and remembered: a tree must not be expected to show what changes during a run.
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
            eAmbiguous, ///< several files that differ in case alone
            eOutside    ///< not below assembly:/, or on its way out through ".."
        };
        EState eState = eMissing;
        std::string sPath; ///< absolute; found only
        std::string sWhy;  ///< a text for the user; not for a file that is just missing
    };

    /// The file of an identifier: what stands behind a "?" is left aside, and of a derived one it is the source's.
    SLookup Find(const ZResourceID& id) const;

    /// `text` is an identifier, or the path of a file or folder in the tree: absolute, seen from the current folder or
    /// from the tree's root; a "?" and what is behind it may follow. The identifier, in the case of the disk where the
    /// path exists.
    std::string IdOf(std::string_view text) const;

    /// Whether an identifier names a folder of the tree.
    bool IsFolder(const std::string& sId) const;

    /// Whether a file is known to be a source as it is, so that there is no need to look into it.
    using FKnown = std::function<bool(const std::string& sId, const std::string& sPath)>;
    /// Identifiers of all files below a folder (its identifier) whose extension has a scanner, in their order. Names
    /// that are no UTF-8 and can't be told to anybody are left out and counted.
    std::vector<std::string> Sources(const std::string& sFolderId, size_t& nUnreadableNames,
                                     const FKnown& isKnown = {}) const;

    const std::string& Root() const { return m_sRoot; }

private:
    struct SListing
    {
        std::unordered_multimap<std::string, std::string> names; ///< by lower case
    };
    const SListing& ListingOf(const std::string& sFolder) const;
    void FindInAnyCase(const std::string& sFolder, const std::vector<std::string_view>& names, size_t nName,
                       std::vector<std::string>& found) const;

    std::string m_sRoot;
    mutable std::unordered_map<std::string, SListing> m_listings;
};

/// The file that a command is to look at, which need not stand in the tree: a path as it is, or what an identifier
/// names. The word itself where that is nothing.
std::string PathOfWord(const std::string& sWord, const std::string& sAssets);

} // namespace Host
