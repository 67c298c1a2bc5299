#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

// The layout of a text file:
//   ; comment to the end of the line
//   Name: value, value {
//       Name: ...
//   }
// A value is a number, a "text" in which &quot; stands for a quote, a bare word, or an array: *N { a: v,v,v }.
// A list of values goes on over the end of a line behind or before a comma.
enum class EFbxToken : uint8_t
{
    eEnd,
    eName,
    eWord,
    eText,
    eComma,
    eStar,
    eOpen,
    eClose,
    eBad
};

/// Takes a text file apart into tokens, and steps over what nobody asks for. The text stays as long as what is given of
/// it.
class FbxTextLexer
{
protected:
    /// The error tells its line.
    FbxTextLexer(const char* pText, size_t nSize, std::string& sError)
        : m_p(pText), m_pEnd(pText + nSize), m_pBegin(pText), m_sError(sError)
    {
    }

    /// Notes the error, with the line, and returns false.
    bool Fail(const char* szWhat);
    /// Over blanks and comments.
    void SkipSpace()
    {
        while (m_p != m_pEnd)
        {
            if (IsSpace(*m_p))
                ++m_p;
            else if (*m_p == ';')
            {
                const void* pLine = std::memchr(m_p, '\n', static_cast<size_t>(m_pEnd - m_p));
                m_p = pLine ? static_cast<const char*>(pLine) : m_pEnd;
            }
            else
                return;
        }
    }
    /// Reads the next token.
    EFbxToken Next();
    /// The bare word that begins here; empty when none does.
    std::string_view TakeWord();
    /// Steps over the values and the block of a record whose name was read; the token behind them is read.
    bool SkipRecord();

    const char* m_p; ///< behind the last token
    const char* m_pEnd;
    std::string_view m_text; ///< of the last name, word or text
    EFbxToken m_eToken = EFbxToken::eEnd;

private:
    static constexpr bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

    bool SkipBlock();
    bool SkipTextOrComment();
    bool TakeName(const char* pFrom, const char* pColon);

    const char* m_pBegin;
    std::string& m_sError;
};
