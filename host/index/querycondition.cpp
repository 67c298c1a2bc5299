#include "host/index/querycondition.h"

#include "base/misc/hash.h"
#include "host/files/resourceids.h"
#include "host/text/hosterror.h"

#include <algorithm>

namespace Host
{

namespace
{

constexpr std::string_view OPERATOR_CHARACTERS = "=!<>~";

constexpr struct SOperator
{
    std::string_view text;
    SCondition::EOperator eOperator;
} OPERATORS[] = {
    // Longer ones first.
    {"==", SCondition::eEqual},       {"!=", SCondition::eUnequal},
    {"<=", SCondition::eLessOrEqual}, {">=", SCondition::eGreaterOrEqual},
    {"!~", SCondition::eUnlike},      {"=", SCondition::eEqual},
    {"<", SCondition::eLess},         {">", SCondition::eGreater},
    {"~", SCondition::eLike},
};

bool EqualsInAnyCase(std::string_view a, std::string_view b)
{
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) { return FoldCase(x) == FoldCase(y); });
}

/// Whether the pattern's first element takes the character, and where the next one begins.
bool TakesCharacter(std::string_view pattern, char c, size_t& nNext)
{
    nNext = 1;
    if (pattern[0] == '?')
        return true;
    const size_t nEnd = pattern[0] == '[' ? pattern.find(']', 2) : std::string_view::npos;
    if (nEnd == std::string_view::npos)
        return FoldCase(pattern[0]) == FoldCase(c);
    nNext = nEnd + 1;
    std::string_view set = pattern.substr(1, nEnd - 1);
    const bool bNot = set[0] == '!' || set[0] == '^';
    if (bNot)
        set.remove_prefix(1);
    const auto folded = [](char x) { return static_cast<unsigned char>(FoldCase(x)); };
    bool bIn = false;
    for (size_t i = 0; i < set.size(); ++i)
    {
        const bool bRange = i + 2 < set.size() && set[i + 1] == '-';
        bIn = bIn || (folded(set[i]) <= folded(c) && folded(c) <= folded(set[bRange ? i + 2 : i]));
        i += bRange ? 2 : 0;
    }
    return bIn != bNot;
}

[[noreturn]] void Refuse(std::string_view text, size_t nPlace, const std::string& sWhat)
{
    throw ZUsageError("--where '" + std::string(text) + "', character " + std::to_string(nPlace + 1) + ": " + sWhat +
                      "; a condition is NAME OPERATOR VALUE, with = != < <= > >= ~ (like a pattern) !~ (unlike one), "
                      "such as FPS=30");
}

} // namespace

bool MatchesPattern(std::string_view text, std::string_view pattern)
{
    // The last * can take one character more each time that what follows it fails; those before it are settled.
    size_t nText = 0, nPattern = 0;
    size_t nStar = std::string_view::npos, nStarText = 0;
    while (nText < text.size())
    {
        size_t nNext = 0;
        if (nPattern < pattern.size() && pattern[nPattern] == '*')
        {
            nStar = nPattern++;
            nStarText = nText;
        }
        else if (nPattern < pattern.size() && TakesCharacter(pattern.substr(nPattern), text[nText], nNext))
        {
            nPattern += nNext;
            ++nText;
        }
        else if (nStar != std::string_view::npos)
        {
            nPattern = nStar + 1;
            nText = ++nStarText;
        }
        else
            return false;
    }
    return pattern.find_first_not_of('*', nPattern) == std::string_view::npos;
}

std::weak_ordering CompareValues(std::string_view a, std::string_view b)
{
    double fA = 0.0, fB = 0.0;
    if (IsNumber(a, fA) && IsNumber(b, fB))
        return fA < fB ? std::weak_ordering::less
                       : (fB < fA ? std::weak_ordering::greater : std::weak_ordering::equivalent);
    return std::lexicographical_compare_three_way(
        a.begin(), a.end(), b.begin(), b.end(),
        [](char x, char y) -> std::weak_ordering
        { return static_cast<unsigned char>(FoldCase(x)) <=> static_cast<unsigned char>(FoldCase(y)); });
}

std::string_view KindOf(const ZScanIndex::SEntry& entry)
{
    return entry.bIsSource ? "source" : KindOfEntry(entry.sId);
}

bool IsBuiltIn(std::string_view name)
{
    return name == "id" || name == "source" || name == "name" || name == "kind";
}

std::optional<std::string_view> ValueOf(const ZScanIndex::SEntry& entry, std::string_view name)
{
    if (name == "id")
        return entry.sId;
    if (name == "source")
        return entry.sSource;
    if (name == "name")
        return NameOfEntry(entry.sId);
    if (name == "kind")
        return KindOf(entry);
    if (const auto it = entry.properties.find(name); it != entry.properties.end())
        return it->second;
    for (const auto& [sKey, sValue] : entry.properties)
        if (EqualsInAnyCase(sKey, name))
            return sValue;
    return {};
}

SCondition SCondition::Parse(std::string_view text)
{
    const size_t nOperator = text.find_first_of(OPERATOR_CHARACTERS);
    if (nOperator == std::string_view::npos)
        Refuse(text, text.size(), "an operator is missing");
    SCondition condition;
    condition.sName = Trimmed(text.substr(0, nOperator));
    if (condition.sName.empty())
        Refuse(text, nOperator, "a name is missing");
    const std::string_view rest = text.substr(nOperator);
    const auto* pOperator = std::find_if(std::begin(OPERATORS), std::end(OPERATORS),
                                         [rest](const SOperator& entry) { return rest.starts_with(entry.text); });
    if (pOperator == std::end(OPERATORS))
        Refuse(text, nOperator, "'" + std::string(rest.substr(0, 1)) + "' is no operator");
    condition.eOperator = pOperator->eOperator;
    size_t nValue = nOperator + pOperator->text.size();
    std::string_view value = Trimmed(text.substr(nValue));
    nValue = value.empty() ? text.size() : static_cast<size_t>(value.data() - text.data());
    const bool bQuoted = value.size() >= 2 && (value[0] == '"' || value[0] == '\'') && value.back() == value[0];
    if (bQuoted)
        value = value.substr(1, value.size() - 2);
    else if (!value.empty() && OPERATOR_CHARACTERS.find(value[0]) != std::string_view::npos)
        Refuse(text, nValue,
               "the operator goes on with '" + std::string(value.substr(0, 1)) +
                   "', which is none (a value that begins so stands in quotes)");
    else if (value.empty() && condition.eOperator != eEqual && condition.eOperator != eUnequal)
        Refuse(text, nValue, "a value is missing");
    condition.sValue = value;
    return condition;
}

bool SCondition::Holds(const ZScanIndex::SEntry& entry) const
{
    const std::optional<std::string_view> value = ValueOf(entry, sName);
    if (!value)
        return false;
    if (eOperator == eLike || eOperator == eUnlike)
        return MatchesPattern(*value, sValue) == (eOperator == eLike);
    const std::weak_ordering order = CompareValues(*value, sValue);
    switch (eOperator)
    {
    case eUnequal:
        return std::is_neq(order);
    case eLess:
        return std::is_lt(order);
    case eLessOrEqual:
        return std::is_lteq(order);
    case eGreater:
        return std::is_gt(order);
    case eGreaterOrEqual:
        return std::is_gteq(order);
    default:
        return std::is_eq(order);
    }
}

} // namespace Host
