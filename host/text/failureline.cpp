#include "host/text/failureline.h"

#include "host/text/jsonwriter.h"

namespace Host
{

std::string FailureLine(std::string_view file, std::string_view text, std::string_view hint)
{
    ZJsonWriter json;
    json.Open('{');
    if (!file.empty())
        json.TextField("file", file);
    json.TextField("error", text);
    if (!hint.empty())
        json.TextField("hint", hint);
    json.Close('}');
    return json.Take();
}

} // namespace Host
