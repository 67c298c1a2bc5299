#include "samples/effectcompiler/preprocessortext.h"

#include "resource/_shared/fxcompilerutil.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <system_error>

namespace Samples
{

namespace
{

constexpr std::string_view BYTE_ORDER_MARK = "\xef\xbb\xbf";
/// The longest jump forward in a file, in lines, that becomes empty lines.
constexpr uint32_t LONGEST_GAP = 10000;
/// Long names that are told again and again must not make a source a hundred times as long: what is added may be as
/// long as the source, and this much more. Behind that, lines may be told wrong.
constexpr size_t MAY_ALWAYS_ADD = size_t(1) << 20;
constexpr size_t MOST_OF_A_DIRECTIVE = 20;

/// Walks the source as cpp does: comments, strings, lines that a backslash joins.
class ZSourcePreparer
{
public:
    explicit ZSourcePreparer(std::string_view flat) : m_flat(flat), m_nMayAdd(MAY_ALWAYS_ADD + flat.size()) {}

    std::string Prepare()
    {
        WritePlace();
        m_text += '\n';
        while (m_nPosition < m_flat.size())
        {
            FXCompilerUtil::SLineDirective directive;
            if (FXCompilerUtil::FindLineDirective(m_flat.data(), m_nPosition, m_flat.size(), directive))
                TakeLineDirective(directive);
            else if (m_flat.substr(m_nPosition, BYTE_ORDER_MARK.size()) == BYTE_ORDER_MARK)
                m_nPosition += BYTE_ORDER_MARK.size();
            else if (m_flat[m_nPosition] == '#' && m_bOnlyBlanks && !m_bContinued && m_eState == eCode)
                TakeDirective();
            else
                TakeCharacter();
        }
        return std::move(m_text);
    }

private:
    enum EState
    {
        eCode,
        eString,
        eLineComment,
        eBlockComment
    };

    void WritePlace()
    {
        m_text += "#line " + std::to_string(m_nLine) + " \"";
        for (const char c : m_sFile)
            m_text.append(c == '\\' ? 2 : 1, c);
        m_text += '"';
    }

    bool MayAdd(size_t nSize)
    {
        const bool bMay = nSize <= m_nMayAdd;
        m_nMayAdd -= bMay ? nSize : 0;
        return bMay;
    }

    void TakeLineDirective(const FXCompilerUtil::SLineDirective& directive)
    {
        // A backslash at the end of a file must not join the directive to it either.
        const bool bJoined = m_bContinued || (!m_bOnlyBlanks && m_text.back() == '\\');
        m_text.append((m_bOnlyBlanks ? 0 : 1) + (bJoined ? 1 : 0), '\n');
        m_sFile = directive.name;
        m_nLine = directive.nNumber;
        WritePlace();
        --m_nLine; // the number is that of the line behind
        m_nPosition = directive.nEnd;
        m_bOnlyBlanks = false;
        m_bContinued = false;
        m_bMaySkip = true;
        if (m_eState == eBlockComment)
            m_bPlaceIsDue = true;
        else
            m_eState = eCode;
    }

    void TakeDirective()
    {
        const auto blank = [](char c) { return c == ' ' || c == '\t'; };
        size_t n = m_nPosition + 1;
        while (n < m_flat.size() && blank(m_flat[n]))
            ++n;
        const size_t nWord = n;
        while (n < m_flat.size() && FXCompilerUtil::IsIdentifierCharacter(m_flat[n]))
            ++n;
        const std::string_view word = m_flat.substr(nWord, n - nWord);
        const bool bEnds = word == "endif";
        if (word.starts_with("if"))
            ++m_nConditions;
        if (bEnds && m_nConditions > 0)
            --m_nConditions;
        if ((bEnds || word.starts_with("el")) && m_bMaySkip) // else and all kinds of elif
            m_bPlaceIsDue = true;
        while (n < m_flat.size() && blank(m_flat[n]))
            ++n;
        const char cOpen = word == "include" && n < m_flat.size() ? m_flat[n] : '\0';
        const size_t nEnd =
            cOpen == '"' || cOpen == '<' ? m_flat.find_first_of("\">\n", n + 1) : std::string_view::npos;
        m_bOnlyBlanks = false;
        if (nEnd == std::string_view::npos || m_flat[nEnd] == '\n')
        {
            m_text += '#';
            ++m_nPosition;
            return;
        }
        std::string sName(m_flat.substr(n + 1, nEnd - n - 1));
        std::replace(sName.begin(), sName.end(), '\\', '/');
        std::string sBeside = m_sFile;
        std::replace(sBeside.begin(), sBeside.end(), '\\', '/');
        sBeside = sBeside.substr(0, sBeside.find_last_of('/') + 1) + sName;
        std::error_code error;
        if (sBeside != sName && std::filesystem::is_regular_file(sBeside, error) && MayAdd(sBeside.size()))
            m_text += "#include \"" + sBeside + '"';
        else
            ((m_text += "#include ") += cOpen) += sName + m_flat[nEnd];
        m_nPosition = nEnd + 1;
    }

    void TakeCharacter()
    {
        const char c = m_flat[m_nPosition++];
        const char cNext = m_nPosition < m_flat.size() ? m_flat[m_nPosition] : '\0';
        m_text += c;
        if (c == '\n')
            return EndLine();
        m_bOnlyBlanks = m_bOnlyBlanks && FXCompilerUtil::IsWhiteSpace(c);
        const auto pair = [&](char cFirst, char cSecond) { return c == cFirst && cNext == cSecond; };
        const auto both = [&](EState eState)
        {
            m_text += cNext;
            ++m_nPosition;
            m_eState = eState;
        };
        if (m_eState == eCode && pair('/', '*'))
            both(eBlockComment);
        else if (m_eState == eCode && pair('/', '/'))
            both(eLineComment);
        else if (m_eState == eBlockComment && pair('*', '/'))
            both(eCode);
        else if (m_eState == eString && (pair('\\', '"') || pair('\\', '\\')))
            both(eString);
        else if (c == '"' && (m_eState == eCode || m_eState == eString))
            m_eState = m_eState == eCode ? eString : eCode;
    }

    void EndLine()
    {
        ++m_nLine;
        size_t nLast = m_text.size() - 1;
        while (nLast > 0 && m_text[nLast - 1] == '\r')
            --nLast;
        m_bContinued = nLast > 0 && m_text[nLast - 1] == '\\';
        m_bOnlyBlanks = true;
        if (m_bContinued)
            return;
        if (m_eState != eBlockComment)
            m_eState = eCode;
        if (m_bPlaceIsDue && m_eState == eCode && MayAdd(m_sFile.size() + MOST_OF_A_DIRECTIVE))
        {
            WritePlace();
            m_text += '\n';
            m_bPlaceIsDue = false;
            m_bMaySkip = m_nConditions > 0; // this one, too
        }
    }

    std::string_view m_flat;
    size_t m_nMayAdd;
    size_t m_nPosition = 0;
    std::string m_text;
    EState m_eState = eCode;
    bool m_bOnlyBlanks = true; ///< so far in this line
    bool m_bContinued = false; ///< this line goes on with the one before
    std::string m_sFile = FXCompilerUtil::SOURCE_FILE;
    uint32_t m_nLine = 1;
    size_t m_nConditions = 0;   ///< that the position is inside of
    bool m_bMaySkip = false;    ///< since the place was told, directives have come that cpp may pass over
    bool m_bPlaceIsDue = false; ///< at the next line of code
};

struct SLineMark
{
    uint32_t nLine = 0;
    std::string sName;
    bool bEnters = false; ///< a file that cpp included begins
};

/// "# 12 "name" flags".
bool ReadLineMark(std::string_view line, SLineMark& mark)
{
    if (!line.starts_with("# "))
        return false;
    line.remove_prefix(2);
    const auto number = std::from_chars(line.data(), line.data() + line.size(), mark.nLine);
    line.remove_prefix(static_cast<size_t>(number.ptr - line.data()));
    if (number.ec != std::errc() || !line.starts_with(" \""))
        return false;
    size_t n = 2;
    for (; n < line.size() && line[n] != '"'; ++n)
    {
        if (line[n] == '\\' && n + 1 < line.size())
            ++n;
        mark.sName += line[n];
    }
    const std::string_view flags = line.substr(std::min(n + 1, line.size()));
    mark.bEnters = flags == " 1" || flags.starts_with(" 1 ");
    return true;
}

} // namespace

std::string PrepareFlatSource(std::string_view flat)
{
    return ZSourcePreparer(flat).Prepare();
}

SConvertedOutput ConvertLineMarks(std::string_view output)
{
    SConvertedOutput result;
    std::string sCurrent = FXCompilerUtil::SOURCE_FILE;
    uint32_t nCurrent = 1;
    bool bInside = false; // cpp's own preamble stands in front of the first line
    size_t nGapsLeft = LONGEST_GAP + output.size();
    for (size_t nStart = 0; nStart < output.size();)
    {
        const size_t nEnd = std::min(output.find('\n', nStart), output.size());
        const std::string_view line = output.substr(nStart, nEnd - nStart);
        nStart = nEnd + 1;
        SLineMark mark;
        if (!ReadLineMark(line, mark))
        {
            if (bInside)
                (result.text += line) += '\n';
            ++nCurrent;
            continue;
        }
        if (!bInside && (mark.sName != FXCompilerUtil::SOURCE_FILE || mark.nLine != 1))
            continue;
        if (!bInside)
            nCurrent = 1;
        bInside = true;
        if (mark.bEnters)
            result.files.push_back(mark.sName);
        if (mark.sName == sCurrent && mark.nLine >= nCurrent &&
            mark.nLine - nCurrent <= std::min<size_t>(LONGEST_GAP, nGapsLeft))
        {
            result.text.append(mark.nLine - nCurrent, '\n');
            nGapsLeft -= mark.nLine - nCurrent;
        }
        else
            result.text += "#line " + std::to_string(mark.nLine) + " \"" + mark.sName + "\"\n";
        sCurrent = mark.sName;
        nCurrent = mark.nLine;
    }
    return result;
}

} // namespace Samples
