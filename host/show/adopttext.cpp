#include "host/show/adopttext.h"

#include "host/show/jsonparts.h"
#include "host/text/textformat.h"

namespace Host
{

std::string AdoptLine(const SAdopted& result)
{
    ZJsonWriter json;
    json.Open('{');
    json.TextField("file", result.sFile);
    if (!result.sError.empty())
    {
        json.TextField("error", result.sError);
        json.Close('}');
        return json.Take();
    }
    const auto optional = [&json, &result](std::string_view key, auto write)
    {
        json.Key(key);
        if (result.bTake)
            write();
        else
            json.Null();
    };
    optional("stack", [&] { json.Text(result.sStack); });
    optional("take", [&] { json.Text(result.sTakeId); });
    json.TextField("rig", result.sRigId);
    json.TextField("written", result.sWritten);
    optional("firstFrame", [&] { json.Integer(result.nFirstFrame); });
    optional("lastFrame", [&] { json.Integer(result.nLastFrame); });
    json.NumberField("fps", result.fFrameRate);
    json.NumberField("scale", result.fScale);
    json.UnsignedField("bones", result.nBones);
    WriteMessages(json, result.messages);
    json.Close('}');
    return json.Take();
}

std::string AdoptSummaryLine(const SAdoptSummary& summary)
{
    ZJsonWriter json;
    json.Open('{');
    json.ObjectField("summary",
                     [&]
                     {
                         json.UnsignedField("files", summary.nFiles);
                         json.UnsignedField("rigs", summary.nRigs);
                         json.UnsignedField("takes", summary.nTakes);
                         json.UnsignedField("refused", summary.nRefused);
                     });
    json.Close('}');
    return json.Take();
}

std::string AdoptText(const SAdopted& result)
{
    std::string sText = result.sWritten + ": ";
    if (result.bTake)
        sText += "stack '" + result.sStack + "', frames " + std::to_string(result.nFirstFrame) + " to " +
                 std::to_string(result.nLastFrame) + Formatted(" at %.6g a second, ", result.fFrameRate);
    else
        sText += "rig, ";
    sText += Counted(result.nBones, "bone");
    // Warnings and errors are told beside.
    for (const SMessage& message : result.messages)
        if (message.eSeverity == ESeverity::eInfo)
            sText += "\n  " + message.sText;
    return sText;
}

std::string AdoptSummaryText(const SAdoptSummary& summary, bool bDryRun)
{
    return Counted(summary.nRigs, "rig") + " and " + Counted(summary.nTakes, "take") + " of " +
           Counted(summary.nFiles, "file") +
           (summary.nRefused != 0 ? ", " + std::to_string(summary.nRefused) + " refused" : "") +
           (bDryRun ? "; nothing was written" : "");
}

} // namespace Host
