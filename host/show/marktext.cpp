#include "host/show/marktext.h"

#include "host/show/jsonparts.h"
#include "host/text/textformat.h"

namespace Host
{

std::string MarkLine(const SMarkedFile& file)
{
    ZJsonWriter json;
    json.Open('{');
    json.TextField("file", file.sPath);
    json.UnsignedField("nodes", file.marks.nodes.size());
    json.UnsignedField("takes", file.marks.takes.size());
    json.UnsignedField("bytes", file.nBytes);
    WriteMessages(json, file.messages);
    json.Close('}');
    return json.Take();
}

std::string MarkText(const SMarkedFile& file)
{
    return file.sPath + ": " + Counted(file.marks.nodes.size(), "node") + " marked, " +
           Counted(file.marks.takes.size(), "take") + ", " + BytesText(file.nBytes);
}

} // namespace Host
