#pragma once

#include "host/marking/marksfile.h"

#include <string>
#include <vector>

namespace Host
{

/// The marks of one file that is written.
struct SStackMarks
{
    std::string sStack; ///< empty for the file that the user named; else the stack of all its takes
    SMarks marks;
};

/// A file plays one anim stack, so takes of another stack go to a file of their own, with the marks of all nodes: the
/// first entry holds the takes of the stack that the marks choose, or of the file's current one, the others follow in
/// the order of their first takes. Frames that a take leaves out become those of its stack. Reads the scene, if any
/// take names a stack or leaves frames out; sError is its error then. ZMarksError, with all places, for a stack that is
/// not there, or that has no frames to give.
std::vector<SStackMarks> SplitByStack(const SMarks& marks, const std::string& sScene, std::string& sError);

} // namespace Host
