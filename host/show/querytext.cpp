#include "host/show/querytext.h"

#include "host/text/jsonwriter.h"
#include "host/text/texttable.h"

#include <algorithm>

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

/// Of the table: those that were asked for, else what is most asked for and what the question itself names, of
/// these only what a row has.
std::vector<std::string> ColumnsOf(const SQueryShown& shown)
{
    if (!shown.question.columns.empty())
    {
        std::vector<std::string> columns = shown.question.columns;
        if (std::find(columns.begin(), columns.end(), "id") == columns.end())
            columns.insert(columns.begin(), "id");
        return columns;
    }
    std::vector<std::string> columns{"id"};
    const auto add = [&](const std::string& sName)
    {
        if (std::find(columns.begin(), columns.end(), sName) == columns.end() &&
            std::any_of(shown.found.begin(), shown.found.end(),
                        [&](const auto& entry) { return ValueOf(entry, sName).has_value(); }))
            columns.push_back(sName);
    };
    add("DurationSeconds");
    add("FPS");
    for (const auto& [sName, bSeen] : shown.used)
        add(sName);
    return columns;
}

} // namespace

std::string EntryLine(const ZScanIndex::SEntry& entry, const std::vector<std::string>& columns)
{
    ZJsonWriter json;
    json.Open('{');
    json.TextField("id", entry.sId);
    json.TextField("source", entry.sSource);
    json.TextField("kind", KindOf(entry));
    json.TextField("name", NameOfEntry(entry.sId));
    WriteReferences(json, entry.references);
    if (columns.empty())
        WriteProperties(json, entry.properties);
    else
    {
        SSourceScan::TProperties chosen;
        for (const std::string& sName : columns)
            if (const auto value = ValueOf(entry, sName); value && !IsBuiltIn(sName))
                chosen.emplace(sName, *value);
        WriteProperties(json, chosen);
    }
    json.Close('}');
    return json.Take();
}

std::string EntriesTable(const SQueryShown& shown)
{
    const std::vector<std::string> columns = ColumnsOf(shown);
    std::vector<std::string> head;
    std::transform(columns.begin(), columns.end(), std::back_inserter(head), &WithUnit);
    ZTextTable table(head);
    for (const ZScanIndex::SEntry& entry : shown.found)
    {
        std::vector<std::string> row;
        row.reserve(columns.size());
        for (const std::string& sName : columns)
            row.emplace_back(ValueOf(entry, sName).value_or(std::string_view()));
        table.Add(std::move(row));
    }
    return table.Text();
}

std::string AgeText(const SIndexAge& age)
{
    std::string sText;
    for (const auto& [nCount, szWhat] : {std::pair(age.nChanged, " changed"),
                                         {age.nGone, " gone"},
                                         {age.nNew, " not in the index (new, or their scan failed)"}})
        if (nCount != 0)
            sText += (sText.empty() ? "" : ", ") + std::to_string(nCount) + szWhat;
    return sText;
}

} // namespace Host
