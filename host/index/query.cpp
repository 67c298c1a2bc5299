#include "host/index/query.h"

#include <algorithm>
#include <tuple>

namespace Host
{

namespace
{

/// The pattern that a word for sources stands for: a folder stands for all in it, and "assembly:/" may be left out.
std::string SourcePattern(std::string sWord)
{
    if (sWord.find(":/") == std::string::npos && !sWord.starts_with('*'))
        sWord = "assembly:/" + sWord;
    return sWord.ends_with('/') ? sWord + '*' : sWord;
}

bool MatchesAny(std::string_view text, const std::vector<std::string>& patterns)
{
    return patterns.empty() || std::any_of(patterns.begin(), patterns.end(),
                                           [text](const std::string& s) { return MatchesPattern(text, s); });
}

/// Numbers before texts, so that there is one order of both; what has no value comes last either way.
struct SRank
{
    int nClass;
    double fValue;
    std::string_view text;
    bool operator<(const SRank& other) const
    {
        if (nClass != other.nClass || nClass == 2)
            return nClass < other.nClass;
        return nClass == 0 ? fValue < other.fValue : std::is_lt(CompareValues(text, other.text));
    }
};
SRank RankOf(const ZScanIndex::SEntry& entry, const std::string& sSort)
{
    const std::optional<std::string_view> value = ValueOf(entry, sSort);
    double fValue = 0.0;
    if (!value)
        return {2, 0.0, {}};
    return IsNumber(*value, fValue) ? SRank{0, fValue, {}} : SRank{1, 0.0, *value};
}
} // namespace

ZQuery::ZQuery(const SQuestion& question) : m_question(question)
{
    for (const std::string& sText : m_question.conditions)
        m_conditions.push_back(SCondition::Parse(sText));
    for (const std::string& sWord : m_question.sources)
        m_sources.push_back(SourcePattern(sWord));
    const auto use = [this](const std::string& sName)
    {
        if (!IsBuiltIn(sName))
            m_used.push_back({sName, false});
    };
    for (const SCondition& condition : m_conditions)
        use(condition.sName);
    std::for_each(m_question.columns.begin(), m_question.columns.end(), use);
    if (!m_question.sSort.empty())
        use(m_question.sSort);
}

void ZQuery::Look(ZScanIndex::SEntry& entry)
{
    const std::string_view kind = KindOf(entry);
    if (m_question.kinds.empty()
            ? entry.bIsSource
            : std::find(m_question.kinds.begin(), m_question.kinds.end(), kind) == m_question.kinds.end())
        return;
    ++m_nLookedAt;
    for (auto& [sName, bSeen] : m_used)
        bSeen = bSeen || ValueOf(entry, sName).has_value();
    const auto usesAny = [&]
    {
        return m_question.uses.empty() ||
               std::any_of(entry.references.begin(), entry.references.end(),
                           [&](const std::string& sId) { return MatchesAny(sId, m_question.uses); });
    };
    if (MatchesAny(NameOfEntry(entry.sId), m_question.names) && MatchesAny(entry.sSource, m_sources) && usesAny() &&
        std::all_of(m_conditions.begin(), m_conditions.end(),
                    [&entry](const SCondition& condition) { return condition.Holds(entry); }))
        m_found.push_back(std::move(entry));
}

std::vector<ZScanIndex::SEntry> ZQuery::TakeFound()
{
    std::sort(m_found.begin(), m_found.end(),
              [](const auto& a, const auto& b) { return std::tie(a.sId, a.sSource) < std::tie(b.sId, b.sSource); });
    if (!m_question.sSort.empty())
        std::stable_sort(m_found.begin(), m_found.end(),
                         [this](const auto& a, const auto& b)
                         { return RankOf(a, m_question.sSort) < RankOf(b, m_question.sSort); });
    if (m_question.bReverse)
    {
        // What has no value stays last.
        const auto end = std::find_if(m_found.begin(), m_found.end(),
                                      [this](const auto& entry)
                                      { return !m_question.sSort.empty() && !ValueOf(entry, m_question.sSort); });
        std::reverse(m_found.begin(), end);
    }
    return std::move(m_found);
}

} // namespace Host
