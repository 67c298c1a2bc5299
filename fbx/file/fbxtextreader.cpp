#include "fbx/file/fbxtextnumber.h"
#include "fbx/file/fbxtextscan.h"

#include <cstring>
#include <limits>
#include <vector>

// The layout of a text file:
//   ; comment to the end of the line
//   Name: value, value {
//       Name: ...
//   }
// A value is a number, a "text" in which &quot; stands for a quote, a bare word, or an array: *N { a: v,v,v }.
// A list of values goes on over the end of a line behind or before a comma.
namespace
{

enum class EToken : uint8_t
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

constexpr bool IsSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

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

class TextReader
{
public:
    TextReader(const uint8_t* pData, size_t nSize, SFbxRecordTree& tree, std::string& sError)
        : m_p(reinterpret_cast<const char*>(pData)), m_pBegin(m_p), m_pEnd(m_p + nSize), m_tree(tree), m_sError(sError)
    {
    }

    bool Read();

private:
    struct SLevel
    {
        SFbxRecord** ppTail;
        EFbxScope eScope;
    };

    bool Fail(const char* szWhat);
    void SkipSpace();
    EToken Next();
    bool SkipRecord();
    bool SkipBlock();
    bool SkipTextOrComment();
    bool TakeName(const char* pFrom, const char* pColon);
    bool TakePlainNumbers();
    bool ReadValues(SFbxRecord& record);
    bool ReadArray(SFbxValue& value);
    std::string_view Unescape(std::string_view text);

    const char* m_p;
    const char* m_pBegin;
    const char* m_pEnd;
    SFbxRecordTree& m_tree;
    std::string& m_sError;
    std::string_view m_text; ///< of the last name, word or text
    EToken m_eToken = EToken::eEnd;
    std::vector<SLevel> m_levels;
    std::vector<SFbxValue> m_values;
    std::vector<double> m_numbers;
    std::vector<int64_t> m_integers;
};

bool TextReader::Fail(const char* szWhat)
{
    size_t nLine = 1;
    for (const char* p = m_pBegin; p < m_p && p < m_pEnd; ++p)
        nLine += *p == '\n';
    m_sError = std::string(szWhat) + " (in line " + std::to_string(nLine) + ")";
    return false;
}

void TextReader::SkipSpace()
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

EToken TextReader::Next()
{
    SkipSpace();
    if (m_p == m_pEnd)
        return m_eToken = EToken::eEnd;
    switch (*m_p)
    {
    case ',':
        ++m_p;
        return m_eToken = EToken::eComma;
    case '*':
        ++m_p;
        return m_eToken = EToken::eStar;
    case '{':
        ++m_p;
        return m_eToken = EToken::eOpen;
    case '}':
        ++m_p;
        return m_eToken = EToken::eClose;
    case '"':
    {
        const void* pClose = std::memchr(m_p + 1, '"', static_cast<size_t>(m_pEnd - m_p - 1));
        if (!pClose)
            return m_eToken = EToken::eBad;
        m_text = {m_p + 1, static_cast<size_t>(static_cast<const char*>(pClose) - m_p - 1)};
        m_p = static_cast<const char*>(pClose) + 1;
        return m_eToken = EToken::eText;
    }
    default:
        break;
    }
    const char* pWord = m_p;
    while (m_p != m_pEnd && !IsBreak(*m_p))
        ++m_p;
    if (m_p == pWord)
        return m_eToken = EToken::eBad;
    m_text = {pWord, static_cast<size_t>(m_p - pWord)};
    const char* p = m_p;
    while (p != m_pEnd && (*p == ' ' || *p == '\t'))
        ++p;
    if (p != m_pEnd && *p == ':')
    {
        m_p = p + 1;
        return m_eToken = EToken::eName;
    }
    return m_eToken = EToken::eWord;
}

/// The name in front of a colon: the word that ends there, but for blanks. Where there is none the file is damaged.
bool TextReader::TakeName(const char* pFrom, const char* pColon)
{
    const char* pEnd = pColon;
    while (pEnd != pFrom && (pEnd[-1] == ' ' || pEnd[-1] == '\t'))
        --pEnd;
    const char* pWord = pEnd;
    while (pWord != pFrom && !IsBreak(pWord[-1]))
        --pWord;
    m_p = pColon + 1;
    m_text = {pWord, static_cast<size_t>(pEnd - pWord)};
    m_eToken = EToken::eName;
    return pWord != pEnd || Fail("this can't be read");
}

/// Steps over the values and the block of a record whose name was read; the token behind them is read. What is stepped
/// over can be nearly all of a file, so nothing but the letters that end it is looked for.
bool TextReader::SkipRecord()
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
            if (Next() == EToken::eComma)
                continue; // it was an array, and more values follow
            return m_eToken != EToken::eBad || Fail("this can't be read");
        }
        if (!SkipTextOrComment())
            return false;
    }
}

/// Behind a brace, to behind the one that closes it.
bool TextReader::SkipBlock()
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

bool TextReader::SkipTextOrComment()
{
    if (*m_p == ';')
        SkipSpace();
    else if (Next() == EToken::eBad)
        return Fail("a text is not closed");
    return true;
}

std::string_view TextReader::Unescape(std::string_view text)
{
    if (text.find('&') == std::string_view::npos)
        return text;
    struct SEscape
    {
        std::string_view code;
        char c;
    };
    static constexpr SEscape escapes[] = {{"&quot;", '"'}, {"&lf;", '\n'}, {"&cr;", '\r'}};
    char* pOut = m_tree.arena.AllocateArray<char>(text.size());
    size_t nOut = 0;
    for (size_t n = 0; n < text.size();)
    {
        const SEscape* pFound = nullptr;
        for (const SEscape& escape : escapes)
            if (text.substr(n, escape.code.size()) == escape.code)
                pFound = &escape;
        pOut[nOut++] = pFound ? pFound->c : text[n];
        n += pFound ? pFound->code.size() : 1;
    }
    return {pOut, nOut};
}

/// Behind the star: N { a: v,v,v }. The count is not needed and not believed.
bool TextReader::ReadArray(SFbxValue& value)
{
    if (Next() != EToken::eWord || Next() != EToken::eOpen)
        return Fail("an array is not well formed");
    m_numbers.clear();
    m_integers.clear();
    bool bIntegers = true;
    Next();
    if (m_eToken == EToken::eName)
    {
        for (;;)
        {
            SkipSpace();
            SFbxValue number;
            if (const char* pAfter = FbxParsePlainNumber(m_p, m_pEnd, number))
                m_p = pAfter;
            else
            {
                const char* pWord = m_p;
                while (m_p != m_pEnd && !IsBreak(*m_p))
                    ++m_p;
                if (m_p == pWord)
                    break; // an empty list
                if (!FbxParseNumber({pWord, static_cast<size_t>(m_p - pWord)}, number))
                    return Fail("an array holds what is no number");
            }
            if (bIntegers && number.type == 'D')
            {
                for (const int64_t n : m_integers)
                    m_numbers.push_back(static_cast<double>(n));
                m_integers.clear();
                bIntegers = false;
            }
            if (bIntegers)
                m_integers.push_back(number.i);
            else
                m_numbers.push_back(number.AsDouble());
            SkipSpace();
            if (m_p == m_pEnd || *m_p != ',')
                break;
            ++m_p;
        }
        Next();
    }
    if (m_eToken != EToken::eClose)
        return Fail("an array is not closed");
    const size_t nCount = bIntegers ? m_integers.size() : m_numbers.size();
    if (nCount > std::numeric_limits<uint32_t>::max())
        return Fail("an array is too long");
    value.type = bIntegers ? 'l' : 'd';
    value.bNative = true;
    value.n = static_cast<uint32_t>(nCount);
    char* p = static_cast<char*>(m_tree.arena.Allocate(nCount * 8, 8));
    if (nCount > 0)
        std::memcpy(p, bIntegers ? static_cast<const void*>(m_integers.data()) : m_numbers.data(), nCount * 8);
    value.p = p;
    return true;
}

/// Plain numbers and the commas behind them. True when the last had none: the values end, and the token behind them is
/// read.
bool TextReader::TakePlainNumbers()
{
    for (;;)
    {
        SkipSpace();
        SFbxValue value{};
        const char* pAfter = FbxParsePlainNumber(m_p, m_pEnd, value);
        if (!pAfter)
            return false;
        m_values.push_back(value);
        m_p = pAfter;
        SkipSpace();
        if (m_p == m_pEnd || *m_p != ',')
        {
            Next();
            return true;
        }
        ++m_p;
    }
}

/// The token behind the values is read when this returns.
bool TextReader::ReadValues(SFbxRecord& record)
{
    m_values.clear();
    bool bEnd = TakePlainNumbers();
    if (!bEnd)
        Next();
    while (!bEnd)
    {
        SFbxValue value{};
        if (m_eToken == EToken::eText)
        {
            const std::string_view text = Unescape(m_text);
            if (text.size() > std::numeric_limits<uint32_t>::max())
                return Fail("a text is too long");
            value.type = 'S';
            value.p = text.data();
            value.n = static_cast<uint32_t>(text.size());
        }
        else if (m_eToken == EToken::eWord)
        {
            if (!FbxLooksLikeNumber(m_text) || !FbxParseNumber(m_text, value))
            {
                value.type = 'W';
                value.p = m_text.data();
                value.n = static_cast<uint32_t>(m_text.size() < 1024 ? m_text.size() : 1024);
            }
        }
        else if (m_eToken == EToken::eStar)
        {
            if (!ReadArray(value))
                return false;
        }
        else if (m_eToken == EToken::eComma)
        {
            Next(); // a value that is left out
            continue;
        }
        else
            break;
        m_values.push_back(value);
        if (Next() != EToken::eComma)
            break;
        bEnd = TakePlainNumbers();
        if (!bEnd)
            Next();
    }
    if (m_values.size() > std::numeric_limits<uint32_t>::max())
        return Fail("a record has too many values");
    SFbxValue* pValues = m_tree.arena.AllocateArray<SFbxValue>(m_values.size());
    if (!m_values.empty())
        std::memcpy(static_cast<void*>(pValues), m_values.data(), m_values.size() * sizeof(SFbxValue));
    record.pValues = pValues;
    record.nValues = static_cast<uint32_t>(m_values.size());
    return true;
}

bool TextReader::Read()
{
    if (m_pEnd - m_p >= 3 && std::memcmp(m_p, "\xEF\xBB\xBF", 3) == 0)
        m_p += 3;
    m_levels.push_back({&m_tree.root.pChild, m_tree.bWhole ? EFbxScope::eAll : EFbxScope::eRoot});
    bool bRecords = false;
    Next();
    for (;;)
    {
        switch (m_eToken)
        {
        case EToken::eEnd:
            if (!bRecords && !m_tree.bWhole)
                return Fail("the file has no records");
            return m_levels.size() == 1 ? true : Fail("the file ends within a record");
        case EToken::eClose:
            if (m_levels.size() == 1)
                return Fail("a record is closed that was not opened");
            m_levels.pop_back();
            Next();
            continue;
        case EToken::eName:
            bRecords = true;
            break;
        case EToken::eBad:
            return Fail("this can't be read");
        default:
            return Fail("a record's name was expected");
        }
        SLevel& level = m_levels.back();
        const EFbxScope eScope = FbxScopeOfChild(level.eScope, m_text);
        if (eScope == EFbxScope::eSkip)
        {
            if (!SkipRecord())
                return false;
            continue;
        }
        SFbxRecord* pRecord = m_tree.arena.New<SFbxRecord>();
        if (m_text.size() > 1024)
            return Fail("a record's name is too long");
        pRecord->pName = m_text.data();
        pRecord->nName = static_cast<uint16_t>(m_text.size());
        *level.ppTail = pRecord;
        level.ppTail = &pRecord->pNext;
        if (!ReadValues(*pRecord))
            return false;
        if (m_eToken == EToken::eOpen)
        {
            if (m_levels.size() >= kFbxMaxDepth)
                return Fail("records are nested too deep");
            pRecord->bBlock = true;
            m_levels.push_back({&pRecord->pChild, eScope});
            Next();
        }
    }
}

} // namespace

bool FbxReadText(const uint8_t* pData, size_t nSize, const SFbxHead& head, SFbxRecordTree& tree, std::string& sError)
{
    tree.nVersion = head.nVersion;
    return TextReader(pData, nSize, tree, sError).Read();
}
