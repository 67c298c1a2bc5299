#pragma once

#include "base/misc/assert.h"
#include "base/misc/hash.h"
#include "base/misc/trace.h"
#include "base/misc/zstring.h"

#include <algorithm>
#include <cstring>
#include <string_view>

/// Low-level reading of effect text, for the compiler base and for what derives from it. Inline, so that a compiler
/// module of another library needs nothing but this header.
///
/// All take the text, a position in it by reference, the text's size, and a line counter by reference. The counter is
/// raised by each newline that they step over, and nowhere else. The text needs no terminator: nothing at or behind
/// pText[nSize] is read, whatever the text; at its end there is simply no character. White space is tab, line feed,
/// carriage return and blank.
///
/// What does not fit is a failure: see Fail().
namespace FXCompilerUtil
{

/// Bytes of a token buffer, the terminator included.
constexpr size_t TOKEN_SIZE = 512;
/// What stands for the effect itself where a #line would name a file.
constexpr const char SOURCE_FILE[] = "sourcefile";

/// Leaves a scanning function that met what it can't read. The position stays at the place.
struct Z_EXPORT SFXScanFailure : zhalt_exception
{
    SFXScanFailure(const char* szFailed, const ZString& text) : szExpression(szFailed), detail(text) {}
    const char* szExpression; ///< as traced
    ZString detail;           ///< for people; without a place
};

/// Traces the expression on level 3, with the format in the channel's place, and throws SFXScanFailure.
[[noreturn]] inline void Fail(const char* szExpression, const ZString& detail)
{
    ZTRACE(ITraceListener::eTrace_EffectError, "Error: {0}\n", ZString::ReferenceCString(szExpression));
    throw SFXScanFailure(szExpression, detail);
}

/// What stands at a place, in quotes and cut short, for a failure's text.
inline ZString Seen(const char* pText, size_t nPosition, size_t nSize)
{
    size_t nLength = 0;
    while (nPosition + nLength < nSize && nLength < 24 && static_cast<unsigned char>(pText[nPosition + nLength]) > ' ')
        ++nLength;
    if (nLength == 0)
        return nPosition < nSize ? ZString("white space") : ZString("the end of the text");
    return ZString::Format("'{0}'", ZString::FromView({pText + nPosition, nLength}));
}

inline bool IsWhiteSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

/// ASCII letter, digit or underscore.
inline bool IsIdentifierCharacter(char c)
{
    const char cFolded = FoldCase(c);
    return (cFolded >= 'a' && cFolded <= 'z') || (c >= '0' && c <= '9') || c == '_';
}

/// What ends a token. A zero byte does, since tokens are C strings.
inline bool IsDelimiter(char c)
{
    switch (c)
    {
    case ' ':
    case ',':
    case '(':
    case ')':
    case '\r':
    case '\n':
    case '\t':
    case ';':
    case '{':
    case '}':
    case '[':
    case ']':
    case '=':
    case ':':
    case '\0':
        return true;
    default:
        return false;
    }
}

/// Whether this very character comes next.
inline bool StandsAt(const char* pText, size_t nPosition, size_t nSize, char c)
{
    return nPosition < nSize && pText[nPosition] == c;
}

/// False at the end of the text.
inline bool SkipWhiteSpace(const char* pText, size_t& nPosition, size_t nSize, uint32_t& nLine)
{
    for (; nPosition < nSize && IsWhiteSpace(pText[nPosition]); ++nPosition)
        nLine += pText[nPosition] == '\n' ? 1 : 0;
    return nPosition < nSize;
}

/// Copies what stands behind white space, up to a delimiter, into a buffer of TOKEN_SIZE, and steps over the white
/// space behind it. A lone minus sign is joined with the token that follows: "- 1" is one token. False, the buffer
/// empty and the position at the delimiter, when there is no token.
inline bool ReadToken(const char* pText, size_t& nPosition, size_t nSize, uint32_t& nLine, char* pToken)
{
    size_t nLength = 0;
    bool bMinus = false;
    do
    {
        SkipWhiteSpace(pText, nPosition, nSize, nLine);
        const size_t nStart = nLength;
        for (; nPosition < nSize && !IsDelimiter(pText[nPosition]); ++nPosition)
        {
            if (nLength + 1 == TOKEN_SIZE)
                Fail("nTokenLength<512", "a word is longer than 511 characters");
            pToken[nLength++] = pText[nPosition];
        }
        bMinus = nLength == nStart + 1 && pToken[nStart] == '-';
    } while (bMinus);
    pToken[nLength] = '\0';
    if (nLength == 0)
        return false;
    SkipWhiteSpace(pText, nPosition, nSize, nLine);
    return true;
}

/// Steps over white space; a name in double quotes or angle brackets must follow. Leaves the position on the closing
/// mark. The name points into the text and ends at a zero byte, as a C string does.
inline void ReadQuotedString(const char* pText, size_t& nPosition, size_t nSize, uint32_t& nLine,
                             std::string_view& name)
{
    SkipWhiteSpace(pText, nPosition, nSize, nLine);
    if (!StandsAt(pText, nPosition, nSize, '"') && !StandsAt(pText, nPosition, nSize, '<'))
        Fail("*c=='\\\"' || *c=='<'",
             ZString::Format("expected a name in quotes or angle brackets before {0}", Seen(pText, nPosition, nSize)));
    const size_t nStart = ++nPosition;
    for (; nPosition < nSize && pText[nPosition] != '"' && pText[nPosition] != '>'; ++nPosition)
        nLine += pText[nPosition] == '\n' ? 1 : 0;
    if (nPosition == nSize)
        Fail("*c=='\\\"' || *c=='>'", "a name in quotes or angle brackets does not end");
    name = {pText + nStart, strnlen(pText + nStart, nPosition - nStart)};
}

/// Steps over white space, reads digits (none give 0; the number is cut to 32 bits) and steps over white space. Returns
/// 1. The number may be the line counter itself.
inline uint32_t ReadDecimal(const char* pText, size_t& nPosition, size_t nSize, uint32_t& nLine, uint32_t& nNumber)
{
    SkipWhiteSpace(pText, nPosition, nSize, nLine);
    uint32_t nValue = 0;
    for (; nPosition < nSize && pText[nPosition] >= '0' && pText[nPosition] <= '9'; ++nPosition)
        nValue = nValue * 10 + static_cast<uint32_t>(pText[nPosition] - '0');
    nNumber = nValue;
    SkipWhiteSpace(pText, nPosition, nSize, nLine);
    return 1;
}

/// Length of the keyword when the text stands at it, in any case, and goes on with something that is no identifier
/// character; else 0. A keyword at the very end of the text does not match.
inline size_t MatchKeyword(const char* pText, size_t& nPosition, size_t nSize, uint32_t&, const char* szKeyword,
                           size_t& nLength)
{
    const size_t nReadCount = std::strlen(szKeyword);
    if (nReadCount == 0)
        Fail("nReadCount>0", "an empty keyword is looked for");
    nLength = 0;
    if (nPosition >= nSize || nSize - nPosition <= nReadCount)
        return 0;
    for (size_t n = 0; n < nReadCount; ++n)
        if (FoldCase(pText[nPosition + n]) != FoldCase(szKeyword[n]))
            return 0;
    if (!IsIdentifierCharacter(pText[nPosition + nReadCount]))
        nLength = nReadCount;
    return nLength;
}

/// Steps over white space; 1 when the character comes next, for the caller to add to the position.
inline size_t ExpectChar(const char* pText, size_t& nPosition, size_t nSize, uint32_t& nLine, char c)
{
    SkipWhiteSpace(pText, nPosition, nSize, nLine);
    if (!StandsAt(pText, nPosition, nSize, c))
    {
        ZString wanted;
        wanted.Append(c);
        Fail("!\"Unexpected token\"",
             ZString::Format("expected '{0}' before {1}", wanted, Seen(pText, nPosition, nSize)));
    }
    return 1;
}

/// Steps over white space; the keyword's length when it comes next, for the caller to add to the position.
inline size_t ExpectKeyword(const char* pText, size_t& nPosition, size_t nSize, uint32_t& nLine, const char* szKeyword)
{
    SkipWhiteSpace(pText, nPosition, nSize, nLine);
    size_t nLength = 0;
    if (MatchKeyword(pText, nPosition, nSize, nLine, szKeyword, nLength) == 0)
        Fail("!\"Unexpected token\"", ZString::Format("expected '{0}' before {1}", ZString::ReferenceCString(szKeyword),
                                                      Seen(pText, nPosition, nSize)));
    return nLength;
}

/// "[digits]" without white space; an empty bracket gives 0, no bracket the default.
inline uint32_t ReadArraySize(const char* pText, size_t& nPosition, size_t nSize, uint32_t&, uint32_t nDefault)
{
    if (!StandsAt(pText, nPosition, nSize, '['))
        return nDefault;
    uint32_t nCount = 0;
    for (++nPosition; !StandsAt(pText, nPosition, nSize, ']'); ++nPosition)
    {
        if (nPosition >= nSize || pText[nPosition] < '0' || pText[nPosition] > '9')
            Fail("!\"FX: Expecting arrays in form of [digits]\"",
                 ZString::Format("expected an array size as [digits] before {0}", Seen(pText, nPosition, nSize)));
        nCount = nCount * 10 + static_cast<uint32_t>(pText[nPosition] - '0');
    }
    ++nPosition;
    return nCount;
}

/// Steps over a #line directive with its number and its quoted name, when the text stands at one.
inline void SkipLineDirective(const char* pText, size_t& nPosition, size_t nSize, uint32_t& nLine)
{
    size_t nLength = 0;
    if (MatchKeyword(pText, nPosition, nSize, nLine, "#line", nLength) == 0)
        return;
    nPosition += nLength;
    uint32_t nNumber = 0;
    ReadDecimal(pText, nPosition, nSize, nLine, nNumber);
    std::string_view name;
    ReadQuotedString(pText, nPosition, nSize, nLine, name);
    ++nPosition;
}

/// A #line directive that is whole: number and name on one line.
struct SLineDirective
{
    uint32_t nNumber = 0;
    std::string_view name; ///< points into the text
    size_t nEnd = 0;       ///< position behind the closing mark
};
/// A text of directives whose names do not end must not be read to its end for each of them.
constexpr size_t LONGEST_NAME = 4096;

/// False when there is none at the position. Never fails.
inline bool FindLineDirective(const char* pText, size_t nPosition, size_t nSize, SLineDirective& directive)
{
    uint32_t nLine = 0;
    size_t nLength = 0;
    if (!StandsAt(pText, nPosition, nSize, '#') || MatchKeyword(pText, nPosition, nSize, nLine, "#line", nLength) == 0)
        return false;
    nPosition += nLength;
    SkipWhiteSpace(pText, nPosition, nSize, nLine);
    const size_t nDigits = nPosition;
    ReadDecimal(pText, nPosition, nSize, nLine, directive.nNumber);
    if (nPosition == nDigits || (!StandsAt(pText, nPosition, nSize, '"') && !StandsAt(pText, nPosition, nSize, '<')))
        return false;
    const size_t nStart = ++nPosition;
    const size_t nEnd = std::min(nSize, nStart + LONGEST_NAME);
    while (nPosition < nEnd && pText[nPosition] != '"' && pText[nPosition] != '>' && pText[nPosition] != '\n')
        ++nPosition;
    if (nLine != 0 || nPosition == nEnd || pText[nPosition] == '\n')
        return false;
    directive.name = {pText + nStart, nPosition - nStart};
    directive.nEnd = nPosition + 1;
    return true;
}

} // namespace FXCompilerUtil
