#include "host/show/buildtext.h"

#include "host/text/jsonwriter.h"
#include "host/text/textformat.h"

namespace Host
{

std::string BuildSummaryLine(const SBuildTotals& totals)
{
    ZJsonWriter json;
    json.Open('{');
    json.Key("summary");
    json.Open('{');
    for (const EJobStatus eStatus :
         {EJobStatus::ePacked, EJobStatus::eUpToDate, EJobStatus::eFailed, EJobStatus::eCrashed, EJobStatus::eRemoved})
        json.UnsignedField(NameOf(eStatus), totals.Count(eStatus));
    json.UnsignedField("bytes", totals.nBytes);
    json.NumberField("seconds", totals.fSeconds);
    json.BoolField("interrupted", totals.bInterrupted);
    json.Close('}');
    json.Close('}');
    return json.Take();
}

std::string BuildSummaryText(const SBuildTotals& totals)
{
    const size_t nCrashed = totals.Count(EJobStatus::eCrashed);
    const size_t nRemoved = totals.Count(EJobStatus::eRemoved);
    return (totals.bInterrupted ? "interrupted: " : std::string()) + std::to_string(totals.Count(EJobStatus::ePacked)) +
           " packed (" + BytesText(totals.nBytes) + "), " + std::to_string(totals.Count(EJobStatus::eUpToDate)) +
           " up to date, " + std::to_string(totals.Count(EJobStatus::eFailed)) + " failed" +
           (nCrashed != 0 ? ", " + std::to_string(nCrashed) + " crashed" : "") +
           (nRemoved != 0 ? ", " + std::to_string(nRemoved) + " removed" : "") + " in " + SecondsText(totals.fSeconds);
}

} // namespace Host
