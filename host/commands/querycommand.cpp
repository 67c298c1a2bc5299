#include "host/build/buildstate.h"
#include "host/build/hostsession.h"
#include "host/commands/commands.h"
#include "host/files/resourceids.h"
#include "host/index/querycondition.h"
#include "host/text/hosterror.h"
#include "host/text/jsonwriter.h"
#include "host/text/texttable.h"

#include <algorithm>
#include <filesystem>
#include <set>

namespace Host
{

namespace
{

constexpr struct SUnit
{
    std::string_view property;
    std::string_view unit;
} UNITS[] = {
    {"DurationSeconds", "s"},
    {"ACD_AverageLinearVelocity", "m/s"},
    {"ACD_LinearStartVelocity", "m/s"},
    {"ACD_LinearEndVelocity", "m/s"},
    {"ACD_TotalLinearDelta", "m"},
    {"ACD_TotalLinearXDelta", "m"},
    {"ACD_TotalLinearYDelta", "m"},
    {"ACD_AverageAngularVelocity", "rad/s"},
    {"ACD_TotalAngularDelta", "rad"},
    {"ACD_StartDirectionAngle", "rad"},
    {"ACD_AimingYaw", "rad"},
    {"ACD_AimingPitch", "rad"},
    {"ACD_HeadYaw", "rad"},
    {"ACD_HeadPitch", "rad"},
};

std::string WithUnit(const std::string& sName)
{
    for (const SUnit& entry : UNITS)
        if (entry.property == sName)
            return sName + " (" + std::string(entry.unit) + ')';
    return sName;
}

/// The pattern that a word for sources stands for: a folder stands for all in it, and "assembly:/" may be left out.
std::string SourcePattern(std::string sWord)
{
    if (sWord.find(":/") == std::string::npos && !sWord.starts_with('*'))
        sWord = "assembly:/" + sWord;
    return sWord.ends_with('/') ? sWord + '*' : sWord;
}

class ZQuery
{
public:
    ZQuery(const SOptions& options, ZConsole& console)
        : m_options(options), m_query(options.query), m_console(console), m_sFile(options.sOut + '/' + STATE_FILE)
    {
        for (const std::string& sText : m_query.conditions)
            m_conditions.push_back(SCondition::Parse(sText));
        for (const std::string& sWord : m_query.sources)
            m_sources.push_back(SourcePattern(sWord));
        const auto use = [this](const std::string& sName)
        {
            if (!IsBuiltIn(sName))
                m_used.push_back({sName, false});
        };
        for (const SCondition& condition : m_conditions)
            use(condition.sName);
        std::for_each(m_query.columns.begin(), m_query.columns.end(), use);
        if (!m_query.sSort.empty())
            use(m_query.sSort);
    }

    int Run()
    {
        const bool bAllScanned = !m_query.bScan || Refresh();
        std::error_code error;
        if (!std::filesystem::exists(m_sFile, error))
            throw ZHostError("there is no index in '" + m_options.sOut + "'",
                             "'animpack scan --out " + m_options.sOut +
                                 "' makes one, 'animpack build' does so too; or is it in another folder?");
        ZBuildState state(m_sFile);
        state.VisitEntries([this](ZScanIndex::SEntry& entry) { Look(entry); });
        if (m_nSources == 0)
            m_console.Notice("the index in '" + m_options.sOut + "' is empty; 'animpack scan' fills it");
        else if (!m_query.bScan)
            TellAge(state);
        TellUnknownNames(state);
        Sort();
        Print();
        return bAllScanned ? eExit_Done : eExit_AssetsFailed;
    }

private:
    bool Refresh()
    {
        SOptions options = m_options;
        options.sources.clear();
        return ZHostSession(options, m_console, ZHostSession::EUse::eReads).Scan({}, [](const SJobResult&) {});
    }

    static bool MatchesAny(std::string_view text, const std::vector<std::string>& patterns)
    {
        return patterns.empty() || std::any_of(patterns.begin(), patterns.end(),
                                               [text](const std::string& s) { return MatchesPattern(text, s); });
    }

    void Look(ZScanIndex::SEntry& entry)
    {
        m_nSources += entry.bIsSource;
        const std::string_view kind = KindOf(entry);
        if (m_query.kinds.empty() ? entry.bIsSource
                                  : std::find(m_query.kinds.begin(), m_query.kinds.end(), kind) == m_query.kinds.end())
            return;
        ++m_nLookedAt;
        for (auto& [sName, bSeen] : m_used)
            bSeen = bSeen || ValueOf(entry, sName).has_value();
        const auto usesAny = [&]
        {
            return m_query.uses.empty() ||
                   std::any_of(entry.references.begin(), entry.references.end(),
                               [&](const std::string& sId) { return MatchesAny(sId, m_query.uses); });
        };
        if (MatchesAny(NameOfEntry(entry.sId), m_query.names) && MatchesAny(entry.sSource, m_sources) && usesAny() &&
            std::all_of(m_conditions.begin(), m_conditions.end(),
                        [&entry](const SCondition& condition) { return condition.Holds(entry); }))
            m_found.push_back(std::move(entry));
    }

    /// How far the tree has moved on since, as far as names, sizes and times tell.
    void TellAge(ZBuildState& state) const
    {
        const std::string sRoot = m_options.bAssetsGiven ? m_options.sAssets : state.Assets();
        std::error_code error;
        if (!std::filesystem::is_directory(sRoot, error))
            return m_console.Notice("the asset tree '" + sRoot + "' of the index is not there");
        const ZAssetTree tree(sRoot);
        size_t nChanged = 0, nGone = 0, nNew = 0, nUnreadableNames = 0;
        std::set<std::string> known;
        for (const ZScanIndex::SSource& source : state.ScannedSources())
        {
            const SFileStamp now = StampOf(tree.Root() + '/' + source.sId.substr(source.sId.find('/') + 1));
            (now.bExists ? nChanged : nGone) += now != source.stamp;
            known.insert(source.sId);
        }
        for (const std::string& sId :
             tree.Sources("assembly:/", nUnreadableNames,
                          [&known](const std::string&sKnown, const std::string&) { return known.contains(sKnown); }))
            nNew += !known.contains(sId);
        std::string sWhat;
        for (const auto& [nCount, szWhat] : {std::pair(nChanged, " changed"),
                                             {nGone, " gone"},
                                             {nNew, " not in the index (new, or their scan failed)"}})
            if (nCount != 0)
                sWhat += (sWhat.empty() ? "" : ", ") + std::to_string(nCount) + szWhat;
        if (!sWhat.empty())
            m_console.Notice("the index is behind the asset tree: sources " + sWhat + "; --scan brings it up to date");
    }

    void TellUnknownNames(ZBuildState& state) const
    {
        const auto isUnknown = [](const auto& used) { return !used.second; };
        if (m_nLookedAt == 0 || std::none_of(m_used.begin(), m_used.end(), isUnknown))
            return;
        std::set<std::string> names{"id", "source", "name", "kind"};
        state.VisitEntries(
            [&names](const ZScanIndex::SEntry& entry)
            {
                for (const auto& [sKey, sValue] : entry.properties)
                    names.insert(sKey);
            });
        std::set<std::string> told;
        for (const auto& [sName, bSeen] : m_used)
        {
            if (bSeen || !told.insert(sName).second)
                continue;
            const std::string sNearest = NearestName(sName, {names.begin(), names.end()});
            m_console.Notice("warning: no entry has a property '" + sName + "'" +
                             (sNearest.empty() ? "" : "; is '" + sNearest + "' meant?"));
        }
    }

    void Sort()
    {
        std::sort(m_found.begin(), m_found.end(),
                  [](const auto& a, const auto& b) { return std::tie(a.sId, a.sSource) < std::tie(b.sId, b.sSource); });
        m_nFound = m_found.size();
        if (!m_query.sSort.empty())
            std::stable_sort(m_found.begin(), m_found.end(),
                             [this](const auto& a, const auto& b) { return RankOf(a) < RankOf(b); });
        if (m_query.bReverse)
            ReverseBySort();
        if (m_query.nLimit != 0 && m_found.size() > m_query.nLimit)
            m_found.resize(m_query.nLimit);
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
    SRank RankOf(const ZScanIndex::SEntry& entry) const
    {
        const std::optional<std::string_view> value = ValueOf(entry, m_query.sSort);
        double fValue = 0.0;
        if (!value)
            return {2, 0.0, {}};
        return IsNumber(*value, fValue) ? SRank{0, fValue, {}} : SRank{1, 0.0, *value};
    }
    void ReverseBySort()
    {
        const auto end = std::find_if(m_found.begin(), m_found.end(),
                                      [this](const auto& entry)
                                      { return !m_query.sSort.empty() && !ValueOf(entry, m_query.sSort); });
        std::reverse(m_found.begin(), end);
    }

    /// Of the table: those that were asked for, else what is most asked for and what the question itself names, of
    /// these only what a row has.
    std::vector<std::string> Columns() const
    {
        if (!m_query.columns.empty())
        {
            std::vector<std::string> columns = m_query.columns;
            if (std::find(columns.begin(), columns.end(), "id") == columns.end())
                columns.insert(columns.begin(), "id");
            return columns;
        }
        std::vector<std::string> columns{"id"};
        const auto add = [&](const std::string& sName)
        {
            if (std::find(columns.begin(), columns.end(), sName) == columns.end() &&
                std::any_of(m_found.begin(), m_found.end(),
                            [&](const auto& entry) { return ValueOf(entry, sName).has_value(); }))
                columns.push_back(sName);
        };
        add("DurationSeconds");
        add("FPS");
        for (const auto& [sName, bSeen] : m_used)
            add(sName);
        return columns;
    }

    void Print() const
    {
        if (m_console.IsJson())
        {
            for (const ZScanIndex::SEntry& entry : m_found)
                m_console.Output(Json(entry));
            return;
        }
        const std::vector<std::string> columns = Columns();
        std::vector<std::string> head;
        std::transform(columns.begin(), columns.end(), std::back_inserter(head), &WithUnit);
        ZTextTable table(head);
        for (const ZScanIndex::SEntry& entry : m_found)
        {
            std::vector<std::string> row;
            row.reserve(columns.size());
            for (const std::string& sName : columns)
                row.emplace_back(ValueOf(entry, sName).value_or(std::string_view()));
            table.Add(std::move(row));
        }
        if (!m_found.empty())
            m_console.Output(table.Text());
        m_console.Summary(
            std::to_string(m_nFound) + " of " + std::to_string(m_nLookedAt) +
                (m_nLookedAt == 1 ? " entry" : " entries") +
                (m_found.size() < m_nFound ? ", " + std::to_string(m_found.size()) + " shown" : std::string()),
            true);
    }

    std::string Json(const ZScanIndex::SEntry& entry) const
    {
        ZJsonWriter json;
        json.Open('{');
        json.TextField("id", entry.sId);
        json.TextField("source", entry.sSource);
        json.TextField("kind", KindOf(entry));
        json.TextField("name", NameOfEntry(entry.sId));
        WriteReferences(json, entry.references);
        if (m_query.columns.empty())
            WriteProperties(json, entry.properties);
        else
        {
            SSourceScan::TProperties chosen;
            for (const std::string& sName : m_query.columns)
                if (const auto value = ValueOf(entry, sName); value && !IsBuiltIn(sName))
                    chosen.emplace(sName, *value);
            WriteProperties(json, chosen);
        }
        json.Close('}');
        return json.Take();
    }

    const SOptions& m_options;
    const SQueryOptions& m_query;
    ZConsole& m_console;
    std::string m_sFile;
    std::vector<SCondition> m_conditions;
    std::vector<std::string> m_sources;
    std::vector<std::pair<std::string, bool>> m_used; ///< names of properties in the question; whether any entry has it
    std::vector<ZScanIndex::SEntry> m_found;
    size_t m_nSources = 0;
    size_t m_nLookedAt = 0;
    size_t m_nFound = 0;
};

} // namespace

int RunQuery(const SOptions& options, ZConsole& console)
{
    return ZQuery(options, console).Run();
}

} // namespace Host
