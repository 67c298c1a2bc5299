#pragma once

#include "host/index/querycondition.h"

#include <string>
#include <utility>
#include <vector>

namespace Host
{

/// What is asked of the index. Each list narrows what is found; of the patterns in one list any will do.
struct SQuestion
{
    std::vector<std::string> conditions; ///< all have to hold
    std::vector<std::string> names;
    std::vector<std::string> sources;
    std::vector<std::string> uses;
    std::vector<std::string> kinds; ///< as extensions of sub-resources, or "source"
    std::vector<std::string> columns;
    std::string sSort;
    bool bReverse = false;
    size_t nLimit = 0; ///< 0: no limit
};

/// Finds the entries that a question is about, looking at one entry after the other.
class ZQuery
{
public:
    /// ZUsageError for a condition that is none.
    explicit ZQuery(const SQuestion& question);

    /// May take the entry's parts.
    void Look(ZScanIndex::SEntry& entry);

    /// What was found, in the question's order, its limit left aside. Once.
    std::vector<ZScanIndex::SEntry> TakeFound();
    /// Entries of the kinds that are asked for.
    size_t LookedAt() const { return m_nLookedAt; }
    /// Properties that the question names, and whether any of these entries has it.
    const std::vector<std::pair<std::string, bool>>& NamedProperties() const { return m_used; }

private:
    SQuestion m_question;
    std::vector<SCondition> m_conditions;
    std::vector<std::string> m_sources;
    std::vector<std::pair<std::string, bool>> m_used;
    std::vector<ZScanIndex::SEntry> m_found;
    size_t m_nLookedAt = 0;
};

} // namespace Host
