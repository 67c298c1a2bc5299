#include "host/files/outputpath.h"

#include "host/files/contenthash.h"
#include "host/files/derivedkinds.h"
#include "host/files/resourceids.h"

#include <algorithm>
#include <vector>

namespace Host
{

namespace
{

constexpr size_t LONGEST_NAME = 120;
constexpr size_t LONGEST_PARAMETERS = 64;

constexpr char HEX[] = "0123456789abcdef";

void AppendEscaped(std::string& sOut, char c)
{
    const auto n = static_cast<unsigned char>(c);
    ((sOut += '%') += HEX[n >> 4]) += HEX[n & 15];
}

/// One name of a path, so that it can stand in any file system.
std::string EncodeName(std::string_view name)
{
    constexpr std::string_view forbidden = "<>:\"|?*\\/%()\x7f";
    std::string sOut;
    for (size_t i = 0; i < name.size(); ++i)
    {
        const char c = name[i];
        const bool bFirst = i == 0;
        const bool bLast = i + 1 == name.size();
        if (static_cast<unsigned char>(c) < ' ' || forbidden.find(c) != std::string_view::npos ||
            (bFirst && (c == '.' || c == '@' || c == ' ')) || (bLast && (c == '.' || c == ' ')))
            AppendEscaped(sOut, c);
        else
            sOut += c;
    }
    return sOut;
}

std::string HashText(const std::string& sName)
{
    uint64_t nHash = ZContentHash::Of(sName);
    std::string sText = "%~";
    for (int i = 0; i < 16; ++i, nHash <<= 4)
        sText += HEX[nHash >> 60];
    return sText;
}

std::string Shortened(std::string sName, size_t nLongest)
{
    if (sName.size() <= nLongest)
        return sName;
    const std::string sHash = HashText(sName);
    // Neither in the midst of an escape nor of a UTF-8 sequence.
    size_t nKept = nLongest / 2;
    while (nKept > 0 && ((sName[nKept] & 0xc0) == 0x80 || sName[nKept - 1] == '%'))
        --nKept;
    if (nKept > 1 && sName[nKept - 2] == '%')
        nKept -= 2;
    sName.resize(nKept);
    return sName + sHash;
}

/// Files end in a dot and the extension of a packed resource; nothing else may.
std::string KeptFromLookingPacked(std::string sName)
{
    const size_t nDot = sName.rfind('.');
    if (nDot != std::string::npos && FindDerivedKind(std::string_view(sName).substr(nDot + 1)) != nullptr)
        sName += '%';
    return sName;
}

std::string EncodePlainName(std::string_view name)
{
    return KeptFromLookingPacked(Shortened(EncodeName(name), LONGEST_NAME));
}

/// The part behind the "?".
std::string EncodeRootParameters(std::string_view text)
{
    std::string sMark;
    if (text.starts_with('/') && text.size() > 1)
        text.remove_prefix(1);
    else
        sMark = "%-";
    return sMark + EncodePlainName(text);
}

/// Place of a source that is not derived, without the platform.
std::string PathOfSource(std::string_view source)
{
    std::string sPath;
    const size_t nMark = source.find('?');
    std::string_view file = source.substr(0, nMark);
    const size_t nScheme = file.find(":/");
    if (nScheme == std::string_view::npos)
        return {};
    if (file.substr(0, nScheme) != "assembly")
        sPath = "%=" + EncodeName(file.substr(0, nScheme)) + '/';
    file.remove_prefix(nScheme + 2);
    while (true)
    {
        const size_t nSlash = file.find('/');
        const std::string_view name = file.substr(0, nSlash);
        // An empty name would vanish between two slashes.
        sPath += name.empty() ? "%." : EncodePlainName(name);
        sPath += '/';
        if (nSlash == std::string_view::npos)
            break;
        file.remove_prefix(nSlash + 1);
    }
    return sPath + (nMark == std::string_view::npos ? "@" : EncodeRootParameters(source.substr(nMark + 1)));
}

/// Whether the text is the one that making the identifier from its parts gives: "()" for no parameters is none.
bool IsSpelledAsMade(const ZResourceID& id)
{
    ZString joined;
    const TArray<ZString> parameters = id.GetParameters();
    for (uint32_t n = 0; n < parameters.Size(); ++n)
    {
        if (n != 0)
            joined.Append('|');
        joined.Append(parameters[n]);
    }
    return id.GetSourceResourceID().CreateDerivedResourceID(id.GetExtension(), joined, id.GetPlatformFromExtension()) ==
           id;
}

std::string EncodeParameters(const ZResourceID& id)
{
    std::string sText;
    const TArray<ZString> parameters = id.GetParameters();
    for (uint32_t n = 0; n < parameters.Size(); ++n)
    {
        if (n != 0)
            sText += '+';
        for (const char c : parameters[n].View())
            if (c == '/')
                sText += ',';
            else if ((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' || c == '-' || c == '.')
                sText += c;
            else
                AppendEscaped(sText, c);
    }
    if (sText.size() > LONGEST_PARAMETERS)
    {
        // The end tells more than the beginning: it is the name of a rig.
        std::string sTail = sText.substr(sText.size() - LONGEST_PARAMETERS / 2);
        sTail.erase(0, sTail.find(',') != std::string::npos ? sTail.find(',') : 0);
        sText = HashText(sText) + sTail;
    }
    return sText.empty() ? sText : '(' + sText + ')';
}

} // namespace

std::string OutputPathOf(const ZResourceID& anyCase)
{
    const ZResourceID id = ToId(CanonicalId(anyCase));
    if (!id.IsDerived() || !id.IsValid())
        return {};
    // The identifiers from the outside in; they nest as deep as the text says.
    std::vector<ZResourceID> levels{id};
    while (levels.back().IsDerived())
        levels.push_back(levels.back().GetSourceResourceID());
    std::string sPath = PathOfSource(levels.back().ToString().View());
    if (sPath.empty())
        return {};
    const std::string sPlatform = ToStd(id.GetPlatformFromExtension());
    for (size_t n = levels.size() - 1; n-- > 0;)
    {
        const ZResourceID& level = levels[n];
        const std::string sExtension = ToStd(level.GetExtension());
        if (FindDerivedKind(sExtension) == nullptr || !IsSpelledAsMade(level))
            return {};
        sPath += EncodeParameters(level) + '.' + sExtension;
        if (level.GetPlatformFromExtension().View() != sPlatform)
            sPath += "%=" + EncodeName(level.GetPlatformFromExtension().View());
    }
    const size_t nName = sPath.rfind('/') + 1;
    if (sPath.size() - nName > 240)
        sPath = sPath.substr(0, nName) + Shortened(sPath.substr(nName), LONGEST_NAME) + '.' + ToStd(id.GetExtension());
    return EncodeName(sPlatform) + '/' + sPath;
}

std::string ReportPathOf(const ZResourceID& id, std::string_view platform)
{
    if (!id.IsValid() || id.IsDerived() || id.ToString().View().find('?') != std::string_view::npos)
        return {};
    const std::string sPath = PathOfSource(CanonicalId(id));
    if (sPath.size() < 3 || sPath.ends_with("%./@"))
        return {};
    return EncodeName(platform) + '/' + sPath.substr(0, sPath.size() - 2);
}

namespace
{

/// The reverse of EncodeName and its marks; false where a hash stands for the text.
bool DecodeName(std::string_view name, std::string& sText)
{
    for (size_t i = 0; i < name.size(); ++i)
    {
        if (name[i] != '%')
        {
            sText += name[i];
            continue;
        }
        if (i + 1 == name.size())
            return true; // kept from looking packed
        const size_t nHigh = std::string_view(HEX).find(name[i + 1]);
        const size_t nLow = i + 2 < name.size() ? std::string_view(HEX).find(name[i + 2]) : std::string_view::npos;
        if (nHigh == std::string_view::npos || nLow == std::string_view::npos)
            return false;
        sText += static_cast<char>(nHigh * 16 + nLow);
        i += 2;
    }
    return true;
}

/// The reverse of EncodeParameters, without the parentheses.
bool DecodeParameters(std::string_view text, std::string& sParameters)
{
    std::string sPlain(text);
    std::replace(sPlain.begin(), sPlain.end(), '+', '|');
    std::replace(sPlain.begin(), sPlain.end(), ',', '/');
    return DecodeName(sPlain, sParameters);
}

} // namespace

std::string IdOfOutputPath(std::string_view path)
{
    const size_t nPlatform = path.find('/');
    const size_t nName = path.rfind('/');
    const size_t nDot = path.rfind('.');
    if (nPlatform == std::string_view::npos || nName == nPlatform || nDot == std::string_view::npos || nDot < nName)
        return {};
    std::string_view name = path.substr(nName + 1, nDot - nName - 1);
    std::string sParameters, sSource = "assembly:";
    if (const size_t nOpen = name.rfind('('); name.ends_with(')') && nOpen != std::string_view::npos)
    {
        if (!DecodeParameters(name.substr(nOpen + 1, name.size() - nOpen - 2), sParameters))
            return {};
        sParameters = '(' + sParameters + ')';
        name = name.substr(0, nOpen);
    }
    for (std::string_view rest = path.substr(nPlatform + 1, nName - nPlatform - 1); !rest.empty();)
    {
        const size_t nSlash = std::min(rest.find('/'), rest.size());
        sSource += '/';
        if (!DecodeName(rest.substr(0, nSlash), sSource))
            return {};
        rest.remove_prefix(std::min(nSlash + 1, rest.size()));
    }
    if (name != "@")
    {
        sSource += name.starts_with("%-") ? "?" : "?/";
        if (!DecodeName(name.starts_with("%-") ? name.substr(2) : name, sSource))
            return {};
    }
    const std::string sId = '<' + sSource + '>' + sParameters + '.' + std::string(path.substr(0, nPlatform)) +
                            std::string(path.substr(nDot));
    // Only the way there tells what a place stands for.
    return OutputPathOf(ToId(sId)) == path ? sId : std::string();
}

} // namespace Host
