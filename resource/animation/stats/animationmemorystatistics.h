#pragma once

#include "resource/animation/stats/animationmemstats.h"

namespace ResourceAnimation
{

/// Memory that the packed animations of a project take: a report for people that can be read again. One caller at a
/// time; resources come from the process's database.
class ZAnimationMemoryStatistics
{
public:
    TArray<SPackedAnimationMemoryStats> m_records;

    /// Replaces the records by those of a report. Lines without the marker are passed over. False, with no records,
    /// when it can't be opened. Assertion: "nBytesRead == nDataSize".
    bool Read(const ZResourceID& id);
    /// Totals, then one line of data a record. True. An output that can't be opened fails an assertion and halts.
    bool Write(const ZResourceID& id) const;
    /// The text that Write() writes. Without records the averages are what no number prints as.
    ZString Report() const;
};

/// "3661.50 seconds  (1 hours 1 minutes 1 seconds)"
ZString FormatDuration(float seconds);
/// "1048576 bytes  (1.00 MBs)"
ZString FormatBytes(uint64_t bytes);

} // namespace ResourceAnimation
