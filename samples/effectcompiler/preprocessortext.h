#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Samples
{

// Effect text on its way to GNU cpp and back.

/// A flat source as cpp wants it. What differs:
///
///   #line directives    one that a file without a newline at its end has pushed behind other text gets a line of its
///                       own; backslashes in its name are doubled
///   after a condition   or a comment, cpp has not seen the #line directives inside of it: the place is told again
///   # include "x"       with white space, which flattening leaves alone: when the file stands beside the including
///                       one, it is named by its path; backslashes become slashes
///   byte order marks    are gone, wherever an include has put them
std::string PrepareFlatSource(std::string_view flat);

struct SConvertedOutput
{
    std::string text;
    std::vector<std::string> files; ///< that cpp itself included, in order, as often as it did
};

/// The output with #line directives in place of cpp's line marks, but only where file or line jump: gaps in a file are
/// empty lines, so that a comment inside a declaration does not put a directive there. Gaps together are not longer
/// than the output; what goes beyond that becomes a directive.
SConvertedOutput ConvertLineMarks(std::string_view output);

} // namespace Samples
