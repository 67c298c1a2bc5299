#include "host/show/buildtext.h"

#include "host/text/jsonwriter.h"
#include "host/text/textformat.h"

#include <algorithm>

namespace Host
{

std::string BuildSummaryLine(const ZBuildTotals& totals)
{
    ZJsonWriter json;
    json.Open('{');
    json.Key("summary");
    json.Open('{');
    for (const EJobStatus eStatus :
         {EJobStatus::ePacked, EJobStatus::eUpToDate, EJobStatus::eFailed, EJobStatus::eCrashed, EJobStatus::eRemoved})
        json.UnsignedField(NameOf(eStatus), totals.Count(eStatus));
    json.UnsignedField("bytes", totals.Bytes());
    json.NumberField("seconds", totals.fSeconds);
    json.BoolField("interrupted", totals.bInterrupted);
    json.BoolField("dryRun", totals.bForeseen);
    if (totals.bForeseen)
        for (const EJobStatus eStatus : {EJobStatus::eToPack, EJobStatus::eToRemove})
            json.UnsignedField(NameOf(eStatus), totals.Count(eStatus));
    json.ListField("causes", totals.Causes(),
                   [&json](const ZBuildTotals::SCause& cause)
                   {
                       json.Object(
                           [&]
                           {
                               json.TextField("text", cause.sText);
                               json.UnsignedField("jobs", cause.nJobs);
                               json.TextField("first", cause.sFirst);
                           });
                   });
    json.ListField("slowest", totals.Slowest(),
                   [&json](const ZBuildTotals::SSlow& slow)
                   {
                       json.Object(
                           [&]
                           {
                               json.TextField("id", slow.sId);
                               json.NumberField("seconds", slow.fSeconds);
                           });
                   });
    json.Close('}');
    json.Close('}');
    return json.Take();
}

std::string BuildSummaryText(const ZBuildTotals& totals)
{
    const auto count = [&totals](EJobStatus eStatus) { return std::to_string(totals.Count(eStatus)); };
    const auto also = [&](EJobStatus eStatus, const char* szWord)
    { return totals.Count(eStatus) != 0 ? ", " + count(eStatus) + szWord : std::string(); };
    const std::string sInterrupted = totals.bInterrupted ? "interrupted: " : "";
    if (totals.bForeseen)
        return sInterrupted + "nothing done: " + count(EJobStatus::eToPack) + " to pack, " +
               count(EJobStatus::eUpToDate) + " up to date" + also(EJobStatus::eFailed, " failed to scan") +
               also(EJobStatus::eToRemove, " to remove") + ", told in " + SecondsText(totals.fSeconds);
    return sInterrupted + count(EJobStatus::ePacked) + " packed (" + BytesText(totals.Bytes()) + "), " +
           count(EJobStatus::eUpToDate) + " up to date, " + count(EJobStatus::eFailed) + " failed" +
           also(EJobStatus::eCrashed, " crashed") + also(EJobStatus::eRemoved, " removed") + " in " +
           SecondsText(totals.fSeconds);
}

std::string BuildStoryText(const ZBuildTotals& totals)
{
    constexpr size_t MOST_CAUSES = 20;
    std::string sText;
    const std::vector<ZBuildTotals::SCause> causes = totals.Causes();
    for (size_t n = 0; n < std::min(causes.size(), MOST_CAUSES); ++n)
        sText += (n == 0 ? "failures by cause:\n" : "") + Formatted("  %5zu  ", causes[n].nJobs) + causes[n].sText +
                 (causes[n].nJobs == 1 ? "  (" : "  (first ") + causes[n].sFirst + ")\n";
    if (causes.size() > MOST_CAUSES)
        sText += "  and " + std::to_string(causes.size() - MOST_CAUSES) + " other causes\n";
    // Of a few everybody sees which took how long.
    if (totals.Count(EJobStatus::ePacked) > ZBuildTotals::MOST_SLOW)
        for (const ZBuildTotals::SSlow& slow : totals.Slowest())
            sText += (&slow == &totals.Slowest().front() ? "slowest:\n" : "") +
                     Formatted("  %8.3f s  ", slow.fSeconds) + slow.sId + '\n';
    return sText;
}

} // namespace Host
