#include "fbx/file/fbxtextlexer.h"

#include "fbx/file/fbxtextscan.h"

namespace
{

/// Letters that end a bare word.
struct SBreaks
{
    constexpr SBreaks()
    {
        for (const char c : std::string_view(" \t\n\r,:{}\";*\0", 12))
            is[static_cast<uint8_t>(c)] = true;
    }
    bool is[256] = {};
};
constexpr SBreaks kBreaks;

inline bool IsBreak(char c)
{
    return kBreaks.is[static_cast<uint8_t>(c)];
}

} // namespace

bool FbxTextLexer::Fail(const char* szWhat)
{
    size_t nLine = 1;
    for (const char* p = m_pBegin; p < m_p && p < m_pEnd; ++p)
        nLine += *p == '\n';
    m_sError = std::string(szWhat) + " (in line " + std::to_string(nLine) + ")";
    return false;
}

EFbxToken FbxTextLexer::Next()
{
    SkipSpace();
    if (m_p == m_pEnd)
        return m_eToken = EFbxToken::eEnd;
    switch (*m_p)
    {
    case ',':
        ++m_p;
        return m_eToken = EFbxToken::eComma;
    case '*':
        ++m_p;
        return m_eToken = EFbxToken::eStar;
    case '{':
        ++m_p;
        return m_eToken = EFbxToken::eOpen;
    case '}':
        ++m_p;
        return m_eToken = EFbxToken::eClose;
    case '"':
    {
        const void* pClose = std::memchr(m_p + 1, '"', static_cast<size_t>(m_pEnd - m_p - 1));
        if (!pClose)
            return m_eToken = EFbxToken::eBad;
        m_text = {m_p + 1, static_cast<size_t>(static_cast<const char*>(pClose) - m_p - 1)};
        m_p = static_cast<const char*>(pClose) + 1;
        return m_eToken = EFbxToken::eText;
    }
    default:
        break;
    }
    m_text = TakeWord();
    if (m_text.empty())
        return m_eToken = EFbxToken::eBad;
    const char* p = m_p;
    while (p != m_pEnd && (*p == ' ' || *p == '\t'))
        ++p;
    if (p != m_pEnd && *p == ':')
    {
        m_p = p + 1;
        return m_eToken = EFbxToken::eName;
    }
    return m_eToken = EFbxToken::eWord;
}

std::string_view FbxTextLexer::TakeWord()
{
    const char* pWord = m_p;
    while (m_p != m_pEnd && !IsBreak(*m_p))
        ++m_p;
    return {pWord, static_cast<size_t>(m_p - pWord)};
}

/// The name in front of a colon: the word that ends there, but for blanks. Where there is none the file is damaged.
bool FbxTextLexer::TakeName(const char* pFrom, const char* pColon)
{
    const char* pEnd = pColon;
    while (pEnd != pFrom && (pEnd[-1] == ' ' || pEnd[-1] == '\t'))
        --pEnd;
    const char* pWord = pEnd;
    while (pWord != pFrom && !IsBreak(pWord[-1]))
        --pWord;
    m_p = pColon + 1;
    m_text = {pWord, static_cast<size_t>(pEnd - pWord)};
    m_eToken = EFbxToken::eName;
    return pWord != pEnd || Fail("this can't be read");
}

/// What is stepped over can be nearly all of a file, so nothing but the letters that end it is looked for.
bool FbxTextLexer::SkipRecord()
{
    for (;;)
    {
        const char* pFrom = m_p;
        m_p = FbxFindFirst<':', '{', '}', '"', ';'>(m_p, m_pEnd);
        if (m_p == m_pEnd || *m_p == '}')
        {
            Next();
            return true;
        }
        if (*m_p == ':')
            return TakeName(pFrom, m_p);
        if (*m_p == '{')
        {
            ++m_p;
            if (!SkipBlock())
                return false;
            if (Next() == EFbxToken::eComma)
                continue; // it was an array, and more values follow
            return m_eToken != EFbxToken::eBad || Fail("this can't be read");
        }
        if (!SkipTextOrComment())
            return false;
    }
}

/// Behind a brace, to behind the one that closes it.
bool FbxTextLexer::SkipBlock()
{
    for (size_t nDepth = 1; nDepth > 0;)
    {
        m_p = FbxFindFirst<'{', '}', '"', ';'>(m_p, m_pEnd);
        if (m_p == m_pEnd)
            return Fail("the file ends within a record");
        if (*m_p == '"' || *m_p == ';')
        {
            if (!SkipTextOrComment())
                return false;
            continue;
        }
        nDepth = *m_p == '{' ? nDepth + 1 : nDepth - 1;
        ++m_p;
    }
    return true;
}

bool FbxTextLexer::SkipTextOrComment()
{
    if (*m_p == ';')
        SkipSpace();
    else if (Next() == EFbxToken::eBad)
        return Fail("a text is not closed");
    return true;
}
