#include "samples/effectcompiler/preprocessor.h"

#include "resource/_shared/fxcompilerutil.h"
#include "samples/effectcompiler/childprocess.h"
#include "samples/effectcompiler/preprocessortext.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <system_error>

namespace Samples
{

namespace
{

constexpr size_t MOST_MESSAGES = 100;
/// Beyond the plain limit of the output, what macros may make of each byte of the source.
constexpr uint64_t GROWTH = 4;

/// Where ":NUMBER" at the text's end begins; npos when there is none.
size_t NumberAtEnd(std::string_view text)
{
    const size_t nLast = text.find_last_not_of("0123456789");
    return nLast != std::string_view::npos && text[nLast] == ':' && nLast + 1 < text.size() ? nLast
                                                                                            : std::string_view::npos;
}

/// "FILE:LINE:COLUMN: KIND: TEXT" as FILE:LINE and TEXT; kinds are "error", "fatal error", "warning" and "note". What
/// is found at the end of a file, as a condition that does not end, has no column.
struct SMessage
{
    std::string_view place, kind, text;
    bool bHasPlace = false; ///< else it is about the program itself
};
bool ReadMessage(std::string_view line, SMessage& message)
{
    size_t nFirst = std::string_view::npos; // what follows is text, whatever it looks like
    for (const std::string_view kind : {"fatal error", "error", "warning", "note"})
    {
        const std::string sMark = ": " + std::string(kind) + ": ";
        const size_t nMark = line.find(sMark);
        if (nMark >= nFirst)
            continue;
        nFirst = nMark;
        message = {line.substr(0, nMark), kind, line.substr(nMark + sMark.size()), false};
    }
    if (nFirst == std::string_view::npos)
        return false;
    const size_t nNumber = NumberAtEnd(message.place);
    message.bHasPlace = nNumber != std::string_view::npos && nNumber != 0;
    if (message.bHasPlace && NumberAtEnd(message.place.substr(0, nNumber)) != std::string_view::npos)
        message.place = message.place.substr(0, nNumber);
    return true;
}

/// As flattening tells it of the includes that it finds itself.
std::string DescribeError(std::string_view text, const std::vector<std::string>& includeFolders)
{
    constexpr std::string_view MISSING = ": No such file or directory";
    if (!text.ends_with(MISSING))
        return std::string(text);
    std::string sFolders;
    for (const std::string& sFolder : includeFolders)
        (sFolders += sFolders.empty() ? "" : ", ") += sFolder;
    return "Could not find file '" + std::string(text.substr(0, text.size() - MISSING.size())) +
           "' while looking into following directories: " + sFolders;
}

/// Sorts what cpp said. True when nothing in it is an error to a shader compiler.
bool SortMessages(std::string_view said, const std::vector<std::string>& includeFolders, SPreprocessed& result)
{
    size_t nErrors = 0;
    for (size_t nStart = 0; nStart < said.size();)
    {
        const size_t nEnd = std::min(said.find('\n', nStart), said.size());
        SMessage message;
        if (ReadMessage(said.substr(nStart, nEnd - nStart), message) && message.kind != "note")
        {
            const std::string sLine = std::string(message.place) + ": " + DescribeError(message.text, includeFolders);
            const bool bPasting = message.text.find("does not give a valid preprocessing token") != std::string::npos;
            // A flat source is nothing but a main file.
            const bool bOnce = message.text == "#pragma once in main file";
            if (message.kind != "warning" && !bPasting)
            {
                ++nErrors;
                if (message.bHasPlace && result.error.empty())
                    result.error = sLine;
            }
            else if (result.warnings.size() < MOST_MESSAGES && !bOnce)
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

/// An identifier; parameters may follow, as in "MAX(a,b)".
bool IsMacroName(std::string_view name)
{
    const std::string_view word = name.substr(0, name.find('('));
    return !word.empty() && (word[0] < '0' || word[0] > '9') &&
           std::all_of(word.begin(), word.end(), FXCompilerUtil::IsIdentifierCharacter);
}

/// Where a folder's name would mean something to cpp.
std::string PlainFolder(const std::string& sFolder)
{
    return sFolder[0] == '/' ? sFolder : "./" + sFolder;
}

std::string DescribeFailure(const SProcessEnd& end, std::string_view said, const SProcessLimits& limits)
{
    if (end.eKind == SProcessEnd::eNotStarted)
        return std::string("the preprocessor can't be started: ") + std::strerror(end.nCode);
    if (end.eKind == SProcessEnd::eTimedOut)
        return "the preprocessor took too long";
    const size_t nStart = std::min(said.find_first_not_of('\n'), said.size());
    const std::string_view line = said.substr(nStart, std::min(said.find('\n', nStart), said.size()) - nStart);
    return "the preprocessor fails, at its limits of " + std::to_string(limits.nProcessorSeconds) + " seconds, " +
           std::to_string(limits.nMemory >> 20) + " MB of memory and " + std::to_string(limits.nOutputBytes >> 20) +
           " MB of text: do macros multiply? " + std::string(line);
}

} // namespace

SPreprocessed PreprocessEffect(std::string_view flat, const std::vector<std::string>& includeFolders,
                               const std::vector<std::pair<std::string, std::string>>& defines,
                               const std::string& sTempFolder)
{
    SPreprocessed result;
    const auto fail = [&result](const std::string& sWhy)
    {
        result.error = std::string(FXCompilerUtil::SOURCE_FILE) + ":1: " + sWhy;
        return result;
    };
    const std::string sProgram = FindProgram(PREPROCESSOR);
    if (sProgram.empty())
        return fail(std::string("the program '") + PREPROCESSOR +
                    "' is not installed; it comes with the Debian package of that name");
    std::vector<std::string> arguments{
        "-x", "c", "-undef", "-nostdinc", "-fno-diagnostics-show-caret", "-fno-diagnostics-show-option"};
    for (const std::string& sFolder : includeFolders)
        if (!sFolder.empty())
            arguments.insert(arguments.end(), {"-I", PlainFolder(sFolder)});
    for (const auto& [sName, sValue] : defines)
    {
        if (!IsMacroName(sName))
            return fail("'" + sName + "' can't be the name of a macro");
        arguments.emplace_back("-D");
        arguments.push_back(sName);
        (arguments.back() += '=') += sValue;
    }
    try
    {
        const ZScratchFolder folder(sTempFolder);
        const std::string sInput = folder.Path("source.fx");
        const std::string sOutput = folder.Path("output");
        const std::string sMessages = folder.Path("messages");
        const std::string prepared = PrepareFlatSource(flat);
        {
            std::ofstream file(sInput, std::ios::binary);
            file.write(prepared.data(), static_cast<std::streamsize>(prepared.size())).flush();
            if (!file)
                throw std::system_error(errno, std::generic_category(), "a temporary file can't be written");
        }
        arguments.push_back(sInput);
        SProcessLimits limits;
        limits.nOutputBytes += GROWTH * prepared.size();
        const SProcessEnd end = RunProcess(sProgram, arguments, sOutput, sMessages, limits);
        const std::string said = ReadAll(sMessages);
        const bool bNothingWrong = SortMessages(said, includeFolders, result);
        const bool bOnlyPasting = bNothingWrong && !result.warnings.empty() && end.nCode == 1;
        result.bGood = end.eKind == SProcessEnd::eExited && bNothingWrong && (end.nCode == 0 || bOnlyPasting);
        if (result.bGood)
        {
            SConvertedOutput converted = ConvertLineMarks(ReadAll(sOutput));
            result.text = std::move(converted.text);
            result.files = std::move(converted.files);
        }
        else if (result.error.empty())
            fail(DescribeFailure(end, said, limits));
    }
    catch (const std::system_error& e)
    {
        fail(e.what());
    }
    return result;
}

} // namespace Samples
