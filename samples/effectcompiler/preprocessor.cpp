#include "samples/effectcompiler/preprocessor.h"

#include "resource/_shared/fxcompilerutil.h"
#include "samples/effectcompiler/childprocess.h"

#include <charconv>
#include <cstring>
#include <fstream>
#include <iterator>
#include <system_error>

namespace Samples
{

namespace
{

constexpr std::string_view BYTE_ORDER_MARK = "\xef\xbb\xbf";
/// A jump forward in the same file, in lines, that becomes empty lines.
constexpr uint32_t LONGEST_GAP = 10000;
constexpr size_t MOST_MESSAGES = 100;

/// "# 12 "name" flags": a number, a name with its escapes undone.
bool ReadLineMark(std::string_view line, uint32_t& nNumber, std::string& sName)
{
    if (!line.starts_with("# "))
        return false;
    line.remove_prefix(2);
    const auto number = std::from_chars(line.data(), line.data() + line.size(), nNumber);
    line.remove_prefix(static_cast<size_t>(number.ptr - line.data()));
    if (number.ec != std::errc() || !line.starts_with(" \""))
        return false;
    sName.clear();
    for (size_t n = 2; n < line.size() && line[n] != '"'; ++n)
    {
        if (line[n] == '\\' && n + 1 < line.size())
            ++n;
        sName += line[n];
    }
    return true;
}

/// "FILE:LINE:COLUMN: KIND: TEXT" as FILE:LINE and TEXT; kinds are "error", "fatal error", "warning" and "note".
struct SMessage
{
    std::string_view place, kind, text;
};
bool ReadMessage(std::string_view line, SMessage& message)
{
    for (const std::string_view kind : {"fatal error", "error", "warning", "note"})
    {
        const std::string sMark = ": " + std::string(kind) + ": ";
        const size_t nMark = line.find(sMark);
        if (nMark == std::string_view::npos)
            continue;
        message = {line.substr(0, nMark), kind, line.substr(nMark + sMark.size())};
        const size_t nColumn = message.place.rfind(':');
        const bool bHasLine = nColumn != std::string_view::npos && message.place.rfind(':', nColumn - 1) < nColumn;
        if (nColumn != 0 && bHasLine)
            message.place = message.place.substr(0, nColumn);
        return true;
    }
    return false;
}

/// Sorts what cpp said. True when nothing in it is an error to a shader compiler.
bool SortMessages(std::string_view said, SPreprocessed& result)
{
    size_t nErrors = 0;
    for (size_t nStart = 0; nStart < said.size();)
    {
        const size_t nEnd = std::min(said.find('\n', nStart), said.size());
        SMessage message;
        if (ReadMessage(said.substr(nStart, nEnd - nStart), message) && message.kind != "note")
        {
            const std::string sLine = std::string(message.place) + ": " + std::string(message.text);
            const bool bPasting = message.text.find("does not give a valid preprocessing token") != std::string::npos;
            if (message.kind != "warning" && !bPasting)
            {
                if (nErrors++ == 0)
                    result.error = sLine;
            }
            else if (result.warnings.size() < MOST_MESSAGES)
                result.warnings.push_back(sLine);
        }
        nStart = nEnd + 1;
    }
    return nErrors == 0;
}

std::string ReadAll(const std::string& sPath)
{
    std::ifstream file(sPath, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string DescribeFailure(const SProcessEnd& end)
{
    switch (end.eKind)
    {
    case SProcessEnd::eNotStarted:
        return std::string("the preprocessor can't be started: ") + std::strerror(end.nCode);
    case SProcessEnd::eTimedOut:
        return "the preprocessor took too long";
    case SProcessEnd::eKilled:
        return std::string("the preprocessor ended by a signal, or beyond its limits: ") + ::strsignal(end.nCode);
    case SProcessEnd::eExited:
        break;
    }
    return "the preprocessor failed without a word; it may have met its limits";
}

} // namespace

std::string PrepareFlatSource(std::string_view flat)
{
    std::string text = std::string("#line 1 \"") + FXCompilerUtil::SOURCE_FILE + "\"\n";
    bool bOnlyBlanks = true; // so far in this line
    for (size_t n = 0; n < flat.size();)
    {
        FXCompilerUtil::SLineDirective directive;
        if (FXCompilerUtil::FindLineDirective(flat.data(), n, flat.size(), directive))
        {
            if (!bOnlyBlanks)
                text += '\n';
            text += "#line " + std::to_string(directive.nNumber) + " \"";
            for (const char c : directive.name)
                text.append(c == '\\' ? 2 : 1, c);
            text += '"';
            n = directive.nEnd;
            bOnlyBlanks = false;
            continue;
        }
        if (flat.substr(n, BYTE_ORDER_MARK.size()) == BYTE_ORDER_MARK)
        {
            n += BYTE_ORDER_MARK.size();
            continue;
        }
        bOnlyBlanks = flat[n] == '\n' || (bOnlyBlanks && FXCompilerUtil::IsWhiteSpace(flat[n]));
        text += flat[n++];
    }
    return text;
}

std::string ConvertLineMarks(std::string_view output)
{
    std::string text;
    std::string sCurrent = FXCompilerUtil::SOURCE_FILE;
    uint32_t nCurrent = 1;
    bool bInside = false; // cpp's own preamble stands in front of the first line
    for (size_t nStart = 0; nStart < output.size();)
    {
        const size_t nEnd = std::min(output.find('\n', nStart), output.size());
        const std::string_view line = output.substr(nStart, nEnd - nStart);
        nStart = nEnd + 1;
        uint32_t nNumber = 0;
        std::string sName;
        if (!ReadLineMark(line, nNumber, sName))
        {
            if (bInside)
                (text += line) += '\n';
            ++nCurrent;
            continue;
        }
        if (!bInside && (sName != FXCompilerUtil::SOURCE_FILE || nNumber != 1))
            continue;
        if (!bInside)
            nCurrent = 1;
        bInside = true;
        if (sName == sCurrent && nNumber >= nCurrent && nNumber - nCurrent <= LONGEST_GAP)
            text.append(nNumber - nCurrent, '\n');
        else
            text += "#line " + std::to_string(nNumber) + " \"" + sName + "\"\n";
        sCurrent = sName;
        nCurrent = nNumber;
    }
    return text;
}

SPreprocessed PreprocessEffect(std::string_view flat, const std::vector<std::string>& includeFolders,
                               const std::vector<std::pair<std::string, std::string>>& defines,
                               const std::string& sTempFolder)
{
    SPreprocessed result;
    const std::string sSource = FXCompilerUtil::SOURCE_FILE;
    const std::string sProgram = FindProgram(PREPROCESSOR);
    if (sProgram.empty())
    {
        result.error = sSource + ":1: the program '" + PREPROCESSOR +
                       "' is not installed; it comes with the Debian package of that name";
        return result;
    }
    try
    {
        const ZScratchFolder folder(sTempFolder);
        const std::string sInput = folder.Path("source.fx");
        const std::string sOutput = folder.Path("output");
        const std::string sMessages = folder.Path("messages");
        {
            const std::string prepared = PrepareFlatSource(flat);
            std::ofstream file(sInput, std::ios::binary);
            file.write(prepared.data(), static_cast<std::streamsize>(prepared.size())).flush();
            if (!file)
                throw std::system_error(errno, std::generic_category(), "a temporary file can't be written");
        }
        std::vector<std::string> arguments{
            "-x", "c", "-undef", "-nostdinc", "-fno-diagnostics-show-caret", "-fno-diagnostics-show-option"};
        for (const std::string& sFolder : includeFolders)
            if (!sFolder.empty())
                arguments.insert(arguments.end(), {"-I", sFolder});
        for (const auto& [sName, sValue] : defines)
            arguments.insert(arguments.end(), {"-D", sName + '=' + sValue});
        arguments.push_back(sInput);
        const SProcessEnd end = RunProcess(sProgram, arguments, sOutput, sMessages, SProcessLimits());
        const bool bNothingWrong = SortMessages(ReadAll(sMessages), result);
        const bool bOnlyPasting = bNothingWrong && !result.warnings.empty() && end.nCode == 1;
        result.bGood = end.eKind == SProcessEnd::eExited && bNothingWrong && (end.nCode == 0 || bOnlyPasting);
        if (result.bGood)
            result.text = ConvertLineMarks(ReadAll(sOutput));
        else if (result.error.empty())
            result.error = sSource + ":1: " + DescribeFailure(end);
    }
    catch (const std::system_error& e)
    {
        result.error = sSource + ":1: " + e.what();
    }
    return result;
}

} // namespace Samples
