#pragma once

#include "host/index/sourcescan.h"
#include "host/text/fieldline.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Host
{

// What a scan said as one line of fields: how a worker tells it and how the index keeps it.

/// Texts become UTF-8, whatever the source had.
std::string EncodeScan(const SSourceScan& scan);

/// All of it. False for what is no such line.
bool DecodeScan(std::string_view text, SSourceScan& scan);
/// Its source, error and the identifiers of its sub-resources: the references and properties of a large database take
/// far longer to read.
bool DecodeScanNames(std::string_view text, SSourceScan& scan);

/// Content hash of such a line; never 0.
uint64_t HashOfScan(std::string_view text);

/// Reads it piece by piece: what many characters refer to takes more room as a whole than the line does.
class ZScanTextReader
{
public:
    /// The text must stay.
    explicit ZScanTextReader(std::string_view text);

    /// The source's own part, then its sub-resources one after the other. False at the end and where it is no such
    /// line.
    bool Head(SSourceScan& scan);
    bool Next(SSourceScan::SSubResource& entry);
    size_t CountLeft() const { return m_nLeft; }
    /// Whether all of it was read, and was as it should be.
    bool Good() const { return m_nLeft == 0 && m_names.Good() && m_content.Good(); }

private:
    void References(std::vector<std::string>& references);
    void Properties(SSourceScan::TProperties& properties);

    ZFieldReader m_names;   ///< identifiers, which stand first
    ZFieldReader m_content; ///< references and properties
    std::vector<std::string> m_known;
    size_t m_nLeft = 0;
};

} // namespace Host
