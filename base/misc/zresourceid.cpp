#include "base/misc/zresourceid.h"

#include <algorithm>
#include <vector>

namespace
{

struct SDerivedParts
{
    std::string_view source, parameters, platform, extension;
};

/// Takes a derived text apart. The source ends where its angle brackets balance; the parameters end at the last round
/// bracket, since neither platform nor extension can hold one.
bool SplitDerived(std::string_view text, SDerivedParts& parts)
{
    if (text.empty() || text.front() != '<')
        return false;
    size_t nDepth = 0;
    size_t nClose = 0;
    for (; nClose < text.size(); ++nClose)
    {
        if (text[nClose] == '<')
            ++nDepth;
        else if (text[nClose] == '>' && --nDepth == 0)
            break;
    }
    if (nClose >= text.size())
        return false;
    parts.source = text.substr(1, nClose - 1);
    std::string_view rest = text.substr(nClose + 1);
    parts.parameters = {};
    if (!rest.empty() && rest.front() == '(')
    {
        const size_t nEnd = rest.rfind(')');
        if (nEnd == std::string_view::npos)
            return false;
        parts.parameters = rest.substr(1, nEnd - 1);
        rest = rest.substr(nEnd + 1);
    }
    if (rest.empty() || rest.front() != '.')
        return false;
    rest = rest.substr(1);
    const size_t nDot = rest.find('.');
    if (nDot == std::string_view::npos)
        return false;
    parts.platform = rest.substr(0, nDot);
    parts.extension = rest.substr(nDot + 1);
    return true;
}

ZString JoinDerived(const SDerivedParts& parts)
{
    ZString text;
    text.Append('<');
    text.Append(parts.source);
    text.Append('>');
    if (!parts.parameters.empty())
    {
        text.Append('(');
        text.Append(parts.parameters);
        text.Append(')');
    }
    text.Append('.');
    text.Append(parts.platform);
    text.Append('.');
    text.Append(parts.extension);
    return text;
}

/// Where the extension begins behind its dot, within the last name of the text; the text's end when there is none.
size_t ExtensionStart(std::string_view text)
{
    const size_t nName = text.find_last_of("/?");
    const size_t nDot = text.rfind('.');
    if (nDot == std::string_view::npos || (nName != std::string_view::npos && nDot < nName))
        return text.size();
    return nDot + 1;
}

/// The root, with its parameters, that a derived text was made from in the end.
std::string_view InnermostSource(std::string_view text)
{
    SDerivedParts parts;
    while (SplitDerived(text, parts))
        text = parts.source;
    return text;
}

bool IsPlainWord(std::string_view text)
{
    for (const char c : text)
        if (static_cast<unsigned char>(c) <= ' ' || c == '/' || c == '.' || c == '(' || c == ')' || c == '<' ||
            c == '>')
            return false;
    return !text.empty();
}

/// Whether a round bracket ends the parameters of a derived parameter: its platform and extension follow. Names may
/// hold round brackets as well.
bool EndsParameters(std::string_view text, size_t nBracket)
{
    size_t n = nBracket + 1;
    for (int nWord = 0; nWord < 2; ++nWord)
    {
        if (n >= text.size() || text[n] != '.')
            return false;
        const size_t nEnd = std::min(text.find_first_of(".|)", n + 1), text.size());
        if (!IsPlainWord(text.substr(n + 1, nEnd - n - 1)))
            return false;
        n = nEnd;
    }
    return n == text.size() || text[n] != '.';
}

bool IsValidRoot(std::string_view text)
{
    const size_t nScheme = text.find(":/");
    if (nScheme == 0 || nScheme == std::string_view::npos || nScheme + 2 >= text.size() || text[nScheme + 2] == '?')
        return false;
    for (size_t i = 0; i < text.size(); ++i)
    {
        const char c = text[i];
        if (static_cast<unsigned char>(c) < ' ' || c == '<' || c == '>' || (i < nScheme && (c == '/' || c == '.')))
            return false;
    }
    return true;
}

} // namespace

bool ZResourceID::IsValid() const
{
    // Sources nest as deep as the text says, so they are peeled in a loop.
    std::string_view text = m_text.View();
    SDerivedParts parts;
    while (!text.empty() && text.front() == '<')
    {
        if (!SplitDerived(text, parts) || !IsPlainWord(parts.platform) || !IsPlainWord(parts.extension))
            return false;
        text = parts.source;
    }
    return IsValidRoot(text);
}

ZResourceID ZResourceID::GetRoot() const
{
    const std::string_view text = InnermostSource(m_text.View());
    return ZString::FromView(text.substr(0, text.find('?')));
}

ZString ZResourceID::GetRootParameters() const
{
    const std::string_view text = InnermostSource(m_text.View());
    const size_t nMark = text.find('?');
    return nMark == std::string_view::npos ? ZString() : ZString::FromView(text.substr(nMark + 1));
}

ZResourceID ZResourceID::ReplaceRootParameters(const ZString& text) const
{
    const std::string_view all = m_text.View();
    const std::string_view root = InnermostSource(all);
    const auto nRoot = static_cast<size_t>(root.data() - all.data());
    ZString result = ZString::FromView(all.substr(0, nRoot + std::min(root.find('?'), root.size())));
    if (!text.IsEmpty())
    {
        result.Append('?');
        result.Append(text);
    }
    result.Append(all.substr(nRoot + root.size()));
    return result;
}

ZString ZResourceID::GetExtension() const
{
    SDerivedParts parts;
    if (SplitDerived(m_text.View(), parts))
        return ZString::FromView(parts.extension);
    return ZString::FromView(m_text.View().substr(ExtensionStart(m_text.View())));
}

ZResourceID ZResourceID::ReplaceExtension(const ZString& extension) const
{
    SDerivedParts parts;
    if (SplitDerived(m_text.View(), parts))
    {
        parts.extension = extension.View();
        return JoinDerived(parts);
    }
    const std::string_view text = m_text.View();
    const size_t nStart = ExtensionStart(text);
    ZString result = ZString::FromView(text.substr(0, nStart));
    if (nStart == text.size() && !text.ends_with('.'))
        result.Append('.');
    result.Append(extension);
    return result;
}

TArray<ZString> ZResourceID::GetParameters() const
{
    TArray<ZString> result;
    SDerivedParts parts;
    if (!SplitDerived(m_text.View(), parts) || parts.parameters.empty())
        return result;
    // A bar inside a derived parameter's source, or inside the round brackets behind it, belongs to that parameter.
    size_t nAngles = 0;
    std::vector<bool> rounds; // open ones: true for a parameter's own, false for one in a name
    size_t nStart = 0;
    const std::string_view text = parts.parameters;
    for (size_t i = 0; i < text.size(); ++i)
    {
        const char c = text[i];
        if (c == '<')
            ++nAngles;
        else if (c == '>' && nAngles > 0)
            --nAngles;
        else if (nAngles > 0)
            continue;
        else if (c == '(' && (!rounds.empty() || (i > 0 && text[i - 1] == '>')))
            rounds.push_back(text[i - 1] == '>');
        else if (c == ')' && !rounds.empty() && (!rounds.back() || EndsParameters(text, i)))
            rounds.pop_back();
        else if (c == '|' && rounds.empty())
        {
            result.Add(ZString::FromView(text.substr(nStart, i - nStart)));
            nStart = i + 1;
        }
    }
    result.Add(ZString::FromView(text.substr(nStart)));
    return result;
}

ZResourceID ZResourceID::GetSourceResourceID() const
{
    SDerivedParts parts;
    return SplitDerived(m_text.View(), parts) ? ZResourceID(ZString::FromView(parts.source)) : ZResourceID();
}

ZString ZResourceID::GetPlatformFromExtension() const
{
    SDerivedParts parts;
    return SplitDerived(m_text.View(), parts) ? ZString::FromView(parts.platform) : ZString();
}

ZResourceID ZResourceID::ReplacePlatform(const ZString& platform) const
{
    SDerivedParts parts;
    if (!SplitDerived(m_text.View(), parts))
        return *this;
    parts.platform = platform.View();
    return JoinDerived(parts);
}

ZResourceID ZResourceID::CreateDerivedResourceID(const ZString& extension, const ZString& parameters,
                                                 const ZString& platform) const
{
    return JoinDerived({m_text.View(), parameters.View(), platform.View(), extension.View()});
}
