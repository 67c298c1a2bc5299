#include "fbx/file/fbxtextlexer.h"
#include "fbx/file/fbxtextnumber.h"

#include <cstring>
#include <limits>
#include <vector>

namespace
{

class TextReader : FbxTextLexer
{
public:
    TextReader(const uint8_t* pData, size_t nSize, SFbxRecordTree& tree, std::string& sError)
        : FbxTextLexer(reinterpret_cast<const char*>(pData), nSize, sError), m_tree(tree)
    {
    }

    bool Read();

private:
    struct SLevel
    {
        SFbxRecord** ppTail;
        EFbxScope eScope;
    };

    bool TakePlainNumbers();
    bool ReadValues(SFbxRecord& record);
    bool ReadArray(SFbxValue& value);
    std::string_view Unescape(std::string_view text);

    SFbxRecordTree& m_tree;
    std::vector<SLevel> m_levels;
    std::vector<SFbxValue> m_values;
    std::vector<double> m_numbers;
    std::vector<int64_t> m_integers;
};

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
    if (Next() != EFbxToken::eWord || Next() != EFbxToken::eOpen)
        return Fail("an array is not well formed");
    m_numbers.clear();
    m_integers.clear();
    bool bIntegers = true;
    Next();
    if (m_eToken == EFbxToken::eName)
    {
        for (;;)
        {
            SkipSpace();
            SFbxValue number;
            if (const char* pAfter = FbxParsePlainNumber(m_p, m_pEnd, number))
                m_p = pAfter;
            else
            {
                const std::string_view word = TakeWord();
                if (word.empty())
                    break; // an empty list
                if (!FbxParseNumber(word, number))
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
    if (m_eToken != EFbxToken::eClose)
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
        if (m_eToken == EFbxToken::eText)
        {
            const std::string_view text = Unescape(m_text);
            if (text.size() > std::numeric_limits<uint32_t>::max())
                return Fail("a text is too long");
            value.type = 'S';
            value.p = text.data();
            value.n = static_cast<uint32_t>(text.size());
        }
        else if (m_eToken == EFbxToken::eWord)
        {
            if (!FbxLooksLikeNumber(m_text) || !FbxParseNumber(m_text, value))
            {
                value.type = 'W';
                value.p = m_text.data();
                value.n = static_cast<uint32_t>(m_text.size() < 1024 ? m_text.size() : 1024);
            }
        }
        else if (m_eToken == EFbxToken::eStar)
        {
            if (!ReadArray(value))
                return false;
        }
        else if (m_eToken == EFbxToken::eComma)
        {
            Next(); // a value that is left out
            continue;
        }
        else
            break;
        m_values.push_back(value);
        if (Next() != EFbxToken::eComma)
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
        case EFbxToken::eEnd:
            if (!bRecords && !m_tree.bWhole)
                return Fail("the file has no records");
            return m_levels.size() == 1 ? true : Fail("the file ends within a record");
        case EFbxToken::eClose:
            if (m_levels.size() == 1)
                return Fail("a record is closed that was not opened");
            m_levels.pop_back();
            Next();
            continue;
        case EFbxToken::eName:
            bRecords = true;
            break;
        case EFbxToken::eBad:
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
        if (m_eToken == EFbxToken::eOpen)
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
