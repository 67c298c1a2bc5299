#include "host/commands/commands.h"
#include "host/files/outputfile.h"
#include "host/files/outputplace.h"
#include "host/marking/marking.h"
#include "host/text/hosterror.h"
#include "host/text/jsonwriter.h"
#include "host/text/textformat.h"

#include <cerrno>
#include <cstring>
#include <fstream>

namespace Host
{

namespace
{

/// Far more than the marks of a scene that anybody can look over.
constexpr size_t MOST_MARKS_BYTES = 64u << 20;

/// A pipe will do.
bool ReadText(const std::string& sPath, std::string& sText, std::string& sWhy)
{
    errno = 0;
    std::ifstream file(sPath, std::ios::binary);
    char buffer[65536];
    while (sText.size() <= MOST_MARKS_BYTES && (file.read(buffer, sizeof buffer), file.gcount() > 0))
        sText.append(buffer, static_cast<size_t>(file.gcount()));
    if (sText.size() > MOST_MARKS_BYTES)
        return sWhy = "is too large for marks: more than " + BytesText(MOST_MARKS_BYTES), false;
    if (!file.is_open() || file.bad())
        return sWhy = std::string("can't be read") + (errno != 0 ? std::string(": ") + std::strerror(errno) : ""),
               false;
    return true;
}

std::string Counted(size_t n, const char* szWhat)
{
    return std::to_string(n) + ' ' + szWhat + (n == 1 ? "" : "s");
}

} // namespace

int RunMark(const SOptions& options, ZConsole& console)
{
    const std::string& sIn = options.sources.at(0);
    const std::string& sMarks = options.sources.at(1);
    const std::string& sOut = options.sources.at(2);
    const auto fail = [&console](const std::string& sFile, const std::string& sWhy)
    {
        console.Failure(sFile, sWhy);
        return eExit_AssetsFailed;
    };
    std::string sText, sPath;
    std::string sWhy = FindOutputPlace(sOut, {sIn, sMarks}, sIn, sPath);
    if (!sWhy.empty())
        return fail(sOut, sWhy);
    if (!ReadText(sMarks, sText, sWhy))
        return fail(sMarks, sWhy);
    FbxDocument document;
    SMarks marks;
    std::vector<std::string> warnings;
    try
    {
        marks = ReadMarks(sText);
        if (!document.Load(sIn.c_str()))
            return fail(sIn, document.Error());
        ApplyMarks(marks, document, warnings);
    }
    catch (const ZMarksError& e)
    {
        for (const std::string& sFault : e.Faults())
            fail(sMarks, sFault);
        return eExit_AssetsFailed;
    }
    for (const std::string& sWarning : warnings)
        console.Diagnostic(ESeverity::eWarning, sMarks, sWarning);

    std::string sBytes;
    if (!document.Write(sBytes))
        return fail(sIn, document.Error());
    ZOutputFile file;
    if (!file.Open(sPath) || !file.Write(sBytes.data(), sBytes.size()))
        return fail(sOut, file.Error());
    file.Close();
    if (!file.Publish())
        return fail(sOut, file.Error());

    if (console.IsJson())
    {
        ZJsonWriter json;
        json.Open('{');
        json.TextField("file", sOut);
        json.UnsignedField("nodes", marks.nodes.size());
        json.UnsignedField("takes", marks.takes.size());
        json.Close('}');
        console.Output(json.Take());
    }
    else
        console.Output(sOut + ": " + Counted(marks.nodes.size(), "node") + " marked, " +
                       Counted(marks.takes.size(), "take") + ", " + BytesText(sBytes.size()));
    return eExit_Done;
}

} // namespace Host
