#pragma once

#include "base/misc/zstring.h"

#include <map>
#include <string>

/// Finds files by names whose case is not that on disk: effects come from systems that ignore it. Each folder is listed
/// once, so that any number of lookups costs little more than the folders that exist. One folder has endless spellings:
/// behind MOST_NAMES names in all of them nothing more is listed, and only the case on disk is found.
class ZFXFileNames
{
public:
    static constexpr size_t MOST_NAMES = 200000;

    /// The path as it is on disk; empty when nothing differs from it in the case of ASCII letters only. Of several, the
    /// first in the order of bytes.
    ZString Find(const ZString& path);

private:
    using TNames = std::map<std::string, std::string>; ///< as on disk, by lower case
    const TNames& NamesIn(const std::string& sFolder);

    std::map<std::string, TNames> m_folders;
    size_t m_nNames = 0; ///< and folders
};
