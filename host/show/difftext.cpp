#include "host/show/difftext.h"

#include "host/text/jsonwriter.h"
#include "host/text/textformat.h"

namespace Host
{

namespace
{

constexpr size_t MOST_CHANGES = 10;

std::string PoseText(const SPoseDifference& pose)
{
    if (!pose.sError.empty())
        return "motion not compared: " + pose.sError;
    const std::string sWhat =
        pose.bSameShape ? "" : Formatted(" of the %zu bones and %zu frames that both have", pose.nBones, pose.nFrames);
    if (pose.fMaxMillimetres == 0.0)
        return "the same motion" + sWhat;
    return Formatted("at most %.4g mm", pose.fMaxMillimetres) + ", '" + pose.sWorstBone + "' at frame " +
           std::to_string(pose.nWorstFrame) + sWhat;
}

} // namespace

std::string DiffLine(const SFileDifference& difference)
{
    ZJsonWriter json;
    json.Object(
        [&]
        {
            json.TextField("place", difference.sPlace);
            json.TextField("what", NameOf(difference.eKind));
            json.UnsignedField("bytesA", difference.nBytesA);
            json.UnsignedField("bytesB", difference.nBytesB);
            json.UnsignedField("bytesOther", difference.nBytesOther);
            json.ListField("changes", difference.changes, [&json](const std::string& sText) { json.Text(sText); });
            if (!difference.pose)
                return;
            const SPoseDifference& pose = *difference.pose;
            json.OptionalField("error", pose.sError);
            json.BoolField("sameShape", pose.bSameShape);
            json.UnsignedField("bones", pose.nBones);
            json.UnsignedField("frames", pose.nFrames);
            json.NumberField("maxMillimetres", pose.fMaxMillimetres);
            json.OptionalField("worstBone", pose.sWorstBone);
            json.UnsignedField("worstFrame", pose.nWorstFrame);
        });
    return json.Take();
}

std::string DiffText(const SFileDifference& difference)
{
    if (difference.eKind == SFileDifference::eSame)
        return {};
    std::string sText = std::string(NameOf(difference.eKind)) + std::string(9 - NameOf(difference.eKind).size(), ' ') +
                        difference.sPlace;
    if (difference.eKind != SFileDifference::eChanged)
        return sText + "  " + BytesText(difference.nBytesOther) + '\n';
    const auto nDelta = static_cast<long long>(difference.nBytesB) - static_cast<long long>(difference.nBytesA);
    sText +=
        Formatted("  %llu bytes other, length %+lld", static_cast<unsigned long long>(difference.nBytesOther), nDelta);
    if (difference.pose)
        sText += "; " + PoseText(*difference.pose);
    sText += '\n';
    for (size_t n = 0; n < std::min(difference.changes.size(), MOST_CHANGES); ++n)
        sText += "           " + difference.changes[n] + '\n';
    if (difference.changes.size() > MOST_CHANGES)
        sText += "           and " + std::to_string(difference.changes.size() - MOST_CHANGES) + " more\n";
    return sText;
}

void SDiffTotals::Add(const SFileDifference& difference)
{
    ++counts[difference.eKind];
    if (difference.pose && !(difference.pose->fMaxMillimetres <= fMaxMillimetres))
        fMaxMillimetres = difference.pose->fMaxMillimetres;
}

std::string DiffSummaryLine(const SDiffTotals& totals)
{
    ZJsonWriter json;
    json.Object(
        [&]
        {
            json.ObjectField("summary",
                             [&]
                             {
                                 for (const auto eKind : {SFileDifference::eNew, SFileDifference::eGone,
                                                          SFileDifference::eChanged, SFileDifference::eSame})
                                     json.UnsignedField(NameOf(eKind), totals.counts[eKind]);
                                 json.NumberField("maxMillimetres", totals.fMaxMillimetres);
                             });
        });
    return json.Take();
}

std::string DiffSummaryText(const SDiffTotals& totals)
{
    return Formatted("%zu new, %zu gone, %zu changed (at most %.4g mm), %zu the same", totals.counts[0],
                     totals.counts[1], totals.counts[2], totals.fMaxMillimetres, totals.counts[3]);
}

} // namespace Host
