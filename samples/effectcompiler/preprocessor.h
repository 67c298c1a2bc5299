#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Samples
{

/// What GNU cpp makes of a flat effect source.
///
/// It reads effect text as C, without any of its own macros and include folders, and places what it says by the #line
/// directives. A pasting that gives no C token, which shader compilers do not mind, is let pass. See
/// preprocessortext.h for what is done to the text before and behind.
struct SPreprocessed
{
    bool bGood = false;
    std::string text;
    std::string error;                 ///< "FILE:LINE: TEXT"; not good only
    std::vector<std::string> warnings; ///< the same form
    std::vector<std::string> files;    ///< that the preprocessor included by itself, in order
};

/// Nothing goes through a shell. The program is ended at 30 seconds, 10 of them at work, 2 GB of memory, or 64 MB of
/// text beyond four times the source; the first error and a hundred warnings are kept. What the caller's environment
/// says to compilers is not handed on. Temporary files stand in `sTempFolder`, or where the environment says when that
/// is empty, and are gone at the end.
SPreprocessed PreprocessEffect(std::string_view flat, const std::vector<std::string>& includeFolders,
                               const std::vector<std::pair<std::string, std::string>>& defines,
                               const std::string& sTempFolder);

/// The program that is run, and the Debian package that it comes from.
constexpr const char PREPROCESSOR[] = "cpp";

} // namespace Samples
