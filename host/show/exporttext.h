#pragma once

#include "host/export/gltftake.h"
#include "host/files/packedlist.h"

#include <string>

namespace Host
{

struct SExportSummary
{
    std::string sFile;
    size_t nTakes = 0;
    size_t nFailed = 0;
    uint64_t nBytes = 0;    ///< of the file; none is written without takes
    uint64_t nKeyBytes = 0; ///< of these, keys
};

/// The take is nothing where there is an error.
std::string ExportLine(const SPackedAnimation& packed, const std::string& sError, const SGltfTake& take);
std::string ExportSummaryLine(const SExportSummary& summary);
std::string ExportSummaryText(const SExportSummary& summary);

} // namespace Host
