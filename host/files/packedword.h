#pragma once

#include <string>
#include <vector>

namespace Host
{

/// A packed file that a word of the command line names, and what the word alone says of it.
struct SPackedWord
{
    std::string sPath;
    std::string sPlatform; ///< empty: not known
};

/// The word is a path, a derived identifier, or a take or rig, which stands for what a build makes of it for that
/// platform. ZUsageError when it names no packed resource. Whether the file is there is not looked at.
SPackedWord FindPackedWord(const std::string& sWord, const std::string& sOut, const std::string& sPlatform);

} // namespace Host
