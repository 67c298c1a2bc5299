#pragma once

#include "host/index/indexage.h"
#include "host/index/query.h"

#include <string>

namespace Host
{

/// With the columns that are asked for as its properties, or with all of them.
std::string EntryLine(const ZScanIndex::SEntry& entry, const std::vector<std::string>& columns);

/// What a table of entries is made of.
struct SQueryShown
{
    const SQuestion& question;
    const std::vector<ZScanIndex::SEntry>& found;
    const std::vector<std::pair<std::string, bool>>& used; ///< properties that the question names
};
std::string EntriesTable(const SQueryShown& shown);

/// "2 changed, 1 gone"; empty when the index is up to date.
std::string AgeText(const SIndexAge& age);

} // namespace Host
