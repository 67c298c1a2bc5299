#pragma once

#include "host/index/scanindex.h"
#include "host/text/words.h"

#include <compare>
#include <optional>
#include <string>
#include <string_view>

namespace Host
{

/// Whether a text as a whole is like a pattern: * any text, ? one character, [a-z] and [!a-z] one of a set or none of
/// it. Case (A to Z) does not matter.
bool MatchesPattern(std::string_view text, std::string_view pattern);

/// As numbers when both are numbers, else as texts, case (A to Z) left aside.
std::weak_ordering CompareValues(std::string_view a, std::string_view b);
/// "take", "rig", "chartype", and "source" for the entry of a source itself.
std::string_view KindOf(const ZScanIndex::SEntry& entry);

/// What an entry says under a name: id, source, name or kind, or else a property, case left aside where nothing has
/// just this name. Nothing when it has none.
std::optional<std::string_view> ValueOf(const ZScanIndex::SEntry& entry, std::string_view name);
bool IsBuiltIn(std::string_view name);

/// One comparison, "NAME OP VALUE".
struct SCondition
{
    enum EOperator
    {
        eEqual,
        eUnequal,
        eLess,
        eLessOrEqual,
        eGreater,
        eGreaterOrEqual,
        eLike,
        eUnlike
    };
    std::string sName;
    EOperator eOperator = eEqual;
    std::string sValue;

    /// ZUsageError, with the place, for what is no comparison.
    static SCondition Parse(std::string_view text);

    /// An entry without a value never does.
    bool Holds(const ZScanIndex::SEntry& entry) const;
};

} // namespace Host
