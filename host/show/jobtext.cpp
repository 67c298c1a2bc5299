#include "host/show/jobtext.h"

#include "host/show/jsonparts.h"

namespace Host
{

std::string JobLine(const SJobResult& result, const std::string& sOut)
{
    ZJsonWriter json;
    json.Open('{');
    json.TextField("id", result.job.sId);
    json.TextField("source", result.job.Source());
    json.TextField("component", result.job.Component());
    json.OptionalField("file", result.IsGood() && !result.sFile.empty() ? sOut + '/' + result.sFile : std::string());
    json.TextField("status", NameOf(result.eStatus));
    WriteMessages(json, result.messages);
    json.UnsignedField("bytes", result.nBytes);
    json.NumberField("seconds", result.fSeconds);
    if (!result.why.empty())
        json.ListField("why", result.why,
                       [&json](const SReason& reason)
                       {
                           json.Object(
                               [&]
                               {
                                   json.TextField("what", NameOf(reason.eKind));
                                   json.OptionalField("id", reason.sId);
                                   json.UnsignedField("bytesBefore", reason.nBytesBefore);
                                   json.UnsignedField("bytesNow", reason.nBytesNow);
                                   json.TextField("text", TextOf(reason));
                               });
                       });
    json.Close('}');
    return json.Take();
}

} // namespace Host
