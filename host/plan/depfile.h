#pragma once

#include <string>
#include <vector>

namespace Host
{

/// "targets: inputs" as make and ninja read what compilers write of the headers that they have read. Names that no such
/// file can hold are left out and put on the list.
std::string DepFileText(const std::vector<std::string>& targets, const std::vector<std::string>& inputs,
                        std::vector<std::string>& leftOut);

/// Whether one can hold the name.
bool FitsDepFile(const std::string& sName);

/// What to name instead of a file that was looked for and is not there: the folder that will change when it comes, the
/// nearest that there is. Builders take what a missing input was made into for out of date for ever.
std::string FolderToWatch(const std::string& sAbsent);

/// Writes a file in one step; leaves one that has the same text as it stands. ZHostError when that fails.
void WriteIfOther(const std::string& sPath, const std::string& sText);

} // namespace Host
