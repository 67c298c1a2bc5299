#include "host/show/verifytext.h"

#include "host/text/jsonwriter.h"
#include "host/text/textformat.h"
#include "host/text/texttable.h"

#include <algorithm>

namespace Host
{

std::string BoundsText(const SVerified& result, double fMaxMillimetres, double fMaxDegrees)
{
    std::string sText;
    if (!result.lostBones.empty())
    {
        sText = "motion of ";
        sText.append(Counted(result.lostBones.size(), "bone")).append(" did not come through: ");
        constexpr size_t MOST_NAMES = 5;
        for (size_t n = 0; n < std::min(result.lostBones.size(), MOST_NAMES); ++n)
            sText += (n != 0 ? ", '" : "'") + result.lostBones[n] + "'";
        if (result.lostBones.size() > MOST_NAMES)
            sText += " and " + std::to_string(result.lostBones.size() - MOST_NAMES) + " more";
        sText += Formatted(", by up to %.4g mm", result.fLostMillimetres);
    }
    if (!(result.fMaxMillimetres <= fMaxMillimetres))
        sText += (sText.empty() ? "" : "; ") +
                 Formatted("%.4f mm off at the bone '%s' in frame %u, more than --max-mm %g", result.fMaxMillimetres,
                           result.sWorstBone.c_str(), result.nWorstFrame, fMaxMillimetres);
    if (!(result.fMaxDegrees <= fMaxDegrees))
        sText += (sText.empty() ? "" : "; ") +
                 Formatted("%.4f degrees off at the bone '%s' in frame %u, more than --max-degrees %g",
                           result.fMaxDegrees, result.sWorstTurned.c_str(), result.nWorstTurnedFrame, fMaxDegrees);
    return sText;
}

std::string VerifyLine(const SPackedAnimation& packed, const std::string& sError, const SVerified& result)
{
    ZJsonWriter json;
    json.Open('{');
    json.TextField("id", packed.sId);
    json.OptionalField("platform", packed.sPlatform);
    json.OptionalField("error", sError);
    if (result.sError.empty() && result.nBones != 0)
    {
        json.UnsignedField("bones", result.nBones);
        json.UnsignedField("frames", result.nFrames);
        json.UnsignedField("bytes", result.nBytes);
        json.NumberField("maxRotationDegrees", result.fMaxDegrees);
        json.NumberField("maxMillimetres", result.fMaxMillimetres);
        json.NumberField("meanMillimetres", result.fMeanMillimetres);
        json.TextField("worstBone", result.sWorstBone);
        json.UnsignedField("worstFrame", result.nWorstFrame);
        json.TextField("worstRotationBone", result.sWorstTurned);
        json.UnsignedField("worstRotationFrame", result.nWorstTurnedFrame);
        const auto text = [&json](const std::string& s) { json.Text(s); };
        json.ListField("lostBones", result.lostBones, text);
        json.NumberField("lostMillimetres", result.fLostMillimetres);
        json.ListField("droppedScale", result.droppedScale, text);
    }
    json.Close('}');
    return json.Take();
}

void ZVerifyTable::Add(const SPackedAnimation& packed, const SVerified& result)
{
    m_rows.push_back({packed.sId, result});
    if (result.fMaxMillimetres > m_rows[m_nWorst].result.fMaxMillimetres)
        m_nWorst = m_rows.size() - 1;
    if (result.fMaxDegrees > m_rows[m_nWorstTurned].result.fMaxDegrees)
        m_nWorstTurned = m_rows.size() - 1;
}

std::string ZVerifyTable::Text() const
{
    ZTextTable table(
        {"max mm", "mean mm", "max degrees", "bones", "frames", "bytes", "worst bone", "frame", "animation"});
    for (const auto& [sId, result] : m_rows)
        table.Add({Formatted("%.4f", result.fMaxMillimetres), Formatted("%.4f", result.fMeanMillimetres),
                   Formatted("%.4f", result.fMaxDegrees), std::to_string(result.nBones), std::to_string(result.nFrames),
                   std::to_string(result.nBytes), result.sWorstBone, std::to_string(result.nWorstFrame), sId});
    return table.Text();
}

std::string ZVerifyTable::WorstText() const
{
    if (m_rows.empty())
        return {};
    const SVerified& far = m_rows[m_nWorst].result;
    const SVerified& turned = m_rows[m_nWorstTurned].result;
    return Formatted(", at most %.4f mm (%s, frame %u of ", far.fMaxMillimetres, far.sWorstBone.c_str(),
                     far.nWorstFrame) +
           m_rows[m_nWorst].sId +
           Formatted(") and %.4f degrees (%s, frame %u of ", turned.fMaxDegrees, turned.sWorstTurned.c_str(),
                     turned.nWorstTurnedFrame) +
           m_rows[m_nWorstTurned].sId + ')';
}

} // namespace Host
