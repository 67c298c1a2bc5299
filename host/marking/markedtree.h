#pragma once

#include "host/marking/marksfile.h"

#include <string>

namespace Host
{

/// The path of the file that holds takes of a stack that the file does not play: FILE_STACK.fbx beside FILE.fbx, the
/// stack's name made safe; the file itself for the empty name.
std::string FileOfStack(const std::string& sFile, const std::string& sStack);

/// The folder behind assembly:/ that a marked file is in: the one in which the file is where the rig that its marks
/// name is said to be; else sAssets, if it is below it. Empty when there is neither.
std::string TreeOfMarked(const std::string& sFile, const SMarks& marks, const std::string& sAssets);

} // namespace Host
