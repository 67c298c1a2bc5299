#include "host/plan/depfile.h"

#include "host/files/outputfile.h"
#include "host/text/hosterror.h"

#include <algorithm>
#include <filesystem>

namespace Host
{

namespace
{

/// False for a name with signs that have no spelling there.
bool Append(std::string& sText, const std::string& sName)
{
    // What ninja 1.11 takes for a part of a name, tried sign by sign; later ones take some more, and make does.
    constexpr std::string_view PLAIN = "+,/_.~()}{%=@[]!-";
    std::string sWord;
    for (const char c : sName)
    {
        const auto n = static_cast<unsigned char>(c);
        const bool bLetter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || n >= 0x80;
        if (c == ' ' || c == '#' || c == ':')
            sWord += '\\';
        else if (c == '$')
            sWord += '$';
        else if (!bLetter && PLAIN.find(c) == std::string_view::npos)
            return false;
        sWord += c;
    }
    sText += sWord;
    return true;
}

} // namespace

bool FitsDepFile(const std::string& sName)
{
    std::string sText;
    return Append(sText, sName);
}

std::string DepFileText(const std::vector<std::string>& targets, const std::vector<std::string>& inputs,
                        std::vector<std::string>& leftOut)
{
    std::string sText;
    for (const std::string& sTarget : targets)
        if (sText += sText.empty() ? "" : " "; !Append(sText, sTarget))
            leftOut.push_back(sTarget);
    sText += ':';
    std::vector<std::string> sorted = inputs;
    std::sort(sorted.begin(), sorted.end());
    sorted.erase(std::unique(sorted.begin(), sorted.end()), sorted.end());
    for (const std::string& sInput : sorted)
    {
        const size_t nBefore = sText.size();
        sText += " \\\n  ";
        if (!Append(sText, sInput))
        {
            sText.resize(nBefore);
            leftOut.push_back(sInput);
        }
    }
    return sText + '\n';
}

std::string FolderToWatch(const std::string& sAbsent)
{
    std::error_code error;
    std::filesystem::path folder = std::filesystem::path(sAbsent).parent_path();
    while (!std::filesystem::is_directory(folder, error) && folder.has_relative_path())
        folder = folder.parent_path();
    return folder.string();
}

void WriteIfOther(const std::string& sPath, const std::string& sText)
{
    ZOutputFile file;
    if (file.Open(std::filesystem::absolute(sPath).string()) && file.Write(sText.data(), sText.size()) &&
        (file.LeaveSame() || file.Publish()))
        return;
    throw ZHostError(file.Error().empty() ? "'" + sPath + "' can't be written" : file.Error());
}

} // namespace Host
