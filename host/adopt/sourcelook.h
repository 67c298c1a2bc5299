#pragma once

#include "host/adopt/character.h"

#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace Host
{

/// Why a file, or a character, is not adopted.
class ZRefusal : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// A source file, as far as it is known when it is closed again.
struct SSourceFile
{
    struct SStack
    {
        std::string sName;
        SFbxFrames frames;
        std::set<size_t> animated; ///< skeletons that have keys in it, of all that were found
        std::set<size_t> moving;   ///< those that do not stand still in it
    };

    std::string sError; ///< it is refused
    double fUnit = 1.0;
    double fFrameRate = 30.0;
    std::vector<SStack> stacks;
    std::vector<SMessage> messages; ///< what of it is left out
};

/// Reads one file and adds its skeletons to those that were found.
SSourceFile LookAtSource(const std::string& sPath, size_t nFile, std::vector<SFoundSkeleton>& found);

} // namespace Host
