#include "host/outputpath.h"

#include "host/contenthash.h"
#include "host/derivedkinds.h"
#include "host/resourceids.h"

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

} // namespace Host
