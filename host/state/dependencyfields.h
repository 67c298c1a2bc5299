#pragma once

#include "host/module/job.h"
#include "host/text/fieldline.h"

#include <vector>

namespace Host
{

// What a job was made with, as fields of a line.

void WriteStamp(ZFieldWriter& fields, const SFileStamp& stamp, uint64_t nHash);
void ReadStamp(ZFieldReader& fields, SFileStamp& stamp, uint64_t& nHash);
void WriteDependencies(ZFieldWriter& fields, const std::vector<SDependency>& dependencies);
void ReadDependencies(ZFieldReader& fields, std::vector<SDependency>& dependencies);

} // namespace Host
