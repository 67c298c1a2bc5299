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
/// directives. A pasting that gives no C token, which shader compilers do not mind, is let pass. The result has #line
/// directives too, but only where file or line jump: short gaps in a file are empty lines, so that a long comment
/// inside a declaration does not put a directive there.
struct SPreprocessed
{
    bool bGood = false;
    std::string text;
    std::string error;                 ///< "FILE:LINE: TEXT"; not good only
    std::vector<std::string> warnings; ///< the same form
};

/// Temporary files stand in `sTempFolder`, or where the environment says when that is empty, and are gone at the end.
SPreprocessed PreprocessEffect(std::string_view flat, const std::vector<std::string>& includeFolders,
                               const std::vector<std::pair<std::string, std::string>>& defines,
                               const std::string& sTempFolder);

/// The source as cpp wants it: a directive that a file without a newline at its end has pushed behind other text gets a
/// line of its own, backslashes in its name are doubled, and byte order marks are gone.
std::string PrepareFlatSource(std::string_view flat);

/// The output with #line directives, as told above, in place of cpp's line marks.
std::string ConvertLineMarks(std::string_view output);

/// The program that is run, and the Debian package that it comes from.
constexpr const char PREPROCESSOR[] = "cpp";

} // namespace Samples
