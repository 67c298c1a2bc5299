#pragma once

#include "host/marking/marksfile.h"
#include "host/module/job.h"

#include <string>
#include <vector>

namespace Host
{

/// What became of one file that marking wrote.
struct SMarkedFile
{
    std::string sPath;
    SMarks marks;
    size_t nBytes = 0;
    std::vector<SMessage> messages; ///< what packing would say
};

/// {"file","nodes","takes","bytes","messages"}
std::string MarkLine(const SMarkedFile& file);
/// "out.fbx: 1 node marked, 2 takes, 1.6 MB"
std::string MarkText(const SMarkedFile& file);

} // namespace Host
