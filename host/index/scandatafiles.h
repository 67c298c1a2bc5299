#pragma once

#include "host/files/outputfile.h"
#include "host/index/sourcescan.h"

namespace Host
{

/// Writes what scans found as scan data, the blob that hosts and modules exchange: one file a source, below "scan" in
/// the output folder (resource/_shared/_internal/resourcescandata.h tells its form). Files appear at the end.
class ZScanDataFiles
{
public:
    explicit ZScanDataFiles(std::string sOut) : m_sOut(std::move(sOut)) {}
    /// What was not published is removed.
    ~ZScanDataFiles();
    ZScanDataFiles(const ZScanDataFiles&) = delete;
    ZScanDataFiles& operator=(const ZScanDataFiles&) = delete;

    /// An error, or an empty text.
    std::string Add(const SSourceScan& scan);
    /// The errors of those that could not be published.
    std::vector<std::string> Publish();
    size_t Count() const { return m_nCount; }

private:
    std::string m_sOut;
    std::vector<SPublication> m_complete;
    size_t m_nCount = 0;
};

} // namespace Host
