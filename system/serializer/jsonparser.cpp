#include "system/serializer/jsonparser.h"

#include "base/misc/fromchars.h"

ZJsonValue ZJsonParser::Parse()
{
    if (m_text.starts_with("\xEF\xBB\xBF"))
        m_nPosition = 3;
    const ZJsonValue value = ParseValue(0);
    SkipWhiteSpace();
    if (m_nPosition != m_text.size())
        Fail("text stands behind the value");
    return value;
}

void ZJsonParser::Fail(const ZString& why) const
{
    uint32_t nLine = 1;
    uint32_t nColumn = 1;
    for (size_t i = 0; i < m_nPosition && i < m_text.size(); ++i)
    {
        ++nColumn;
        if (m_text[i] == '\n')
        {
            ++nLine;
            nColumn = 1;
        }
    }
    throw ZJsonException(ZString::Format("line {0}, column {1}: {2}", nLine, nColumn, why));
}

void ZJsonParser::FailAtCharacter() const
{
    if (m_nPosition >= m_text.size())
        Fail("the text ends here");
    const auto c = static_cast<unsigned char>(m_text[m_nPosition]);
    if (c > ' ' && c < 0x7f)
        Fail(ZString::Format("unexpected character '{0}'", ZString::FromView(m_text.substr(m_nPosition, 1))));
    Fail(ZString::Format("unexpected byte {0}", static_cast<uint32_t>(c)));
}

void ZJsonParser::SkipWhiteSpace()
{
    while (m_nPosition < m_text.size())
    {
        const char c = m_text[m_nPosition];
        if (c != ' ' && c != '\t' && c != '\n' && c != '\r')
            return;
        ++m_nPosition;
    }
}

bool ZJsonParser::TryTake(char c)
{
    SkipWhiteSpace();
    if (m_nPosition >= m_text.size() || m_text[m_nPosition] != c)
        return false;
    ++m_nPosition;
    return true;
}

void ZJsonParser::Take(char c)
{
    if (!TryTake(c))
        FailAtCharacter();
}

bool ZJsonParser::NextEntry(char cClose, bool bFirst)
{
    if (TryTake(cClose))
        return false;
    if (!bFirst)
        TryTake(',');
    SkipWhiteSpace();
    return true;
}

void ZJsonParser::TakeWord(std::string_view word)
{
    if (!m_text.substr(m_nPosition).starts_with(word))
        FailAtCharacter();
    m_nPosition += word.size();
}

ZJsonValue ZJsonParser::ParseValue(int nDepth)
{
    if (nDepth >= MAX_DEPTH)
        Fail("values are nested too deep");
    SkipWhiteSpace();
    if (m_nPosition >= m_text.size())
        FailAtCharacter();
    ZJsonValue value;
    switch (m_text[m_nPosition])
    {
    case '{':
        ++m_nPosition;
        value.m_eKind = ZJsonValue::EKind::eObject;
        value.m_pMembers = TSharedPtr<ZJsonValue::TObject>::Create();
        for (bool bFirst = true; NextEntry('}', bFirst); bFirst = false)
        {
            const ZString key = ParseString();
            Take(':');
            (*value.m_pMembers)[key] = ParseValue(nDepth + 1);
        }
        return value;
    case '[':
        ++m_nPosition;
        value.m_eKind = ZJsonValue::EKind::eArray;
        value.m_pElements = TSharedPtr<ZJsonValue::TElements>::Create();
        for (bool bFirst = true; NextEntry(']', bFirst); bFirst = false)
            value.m_pElements->Add(ParseValue(nDepth + 1));
        return value;
    case '"':
        value.m_eKind = ZJsonValue::EKind::eString;
        value.m_sText = ParseString();
        return value;
    case 't':
        TakeWord("true");
        value.m_eKind = ZJsonValue::EKind::eBool;
        value.m_bValue = true;
        return value;
    case 'f':
        TakeWord("false");
        value.m_eKind = ZJsonValue::EKind::eBool;
        return value;
    case 'n':
        TakeWord("null");
        value.m_eKind = ZJsonValue::EKind::eNull;
        return value;
    default:
        return ParseNumber();
    }
}

ZJsonValue ZJsonParser::ParseNumber()
{
    const char* pStart = m_text.data() + m_nPosition;
    const char* pEnd = m_text.data() + m_text.size();
    const bool bMinus = *pStart == '-';
    const char* pDigits = pStart + (bMinus ? 1 : 0);
    if (pDigits == pEnd || *pDigits < '0' || *pDigits > '9') // no infinity and no bare point
        FailAtCharacter();
    ZJsonValue value;
    value.m_eKind = ZJsonValue::EKind::eNumber;
    const auto result = FromChars(pStart, pEnd, value.m_fValue);
    if (result.ec != std::errc())
        Fail("the number does not fit");
    m_nPosition += static_cast<size_t>(result.ptr - pStart);
    return value;
}

ZString ZJsonParser::ParseString()
{
    Take('"');
    ZString text;
    for (;;)
    {
        const size_t nStop = m_text.find_first_of("\"\\", m_nPosition);
        if (nStop == std::string_view::npos)
        {
            m_nPosition = m_text.size();
            Fail("a string has no end");
        }
        text.Append(m_text.substr(m_nPosition, nStop - m_nPosition));
        m_nPosition = nStop + 1;
        if (m_text[nStop] == '"')
            return text;
        if (m_nPosition >= m_text.size())
            FailAtCharacter();
        const char c = m_text[m_nPosition++];
        constexpr std::string_view letters = "\"\\/bfnrt";
        constexpr std::string_view meanings = "\"\\/\b\f\n\r\t";
        if (const size_t nLetter = letters.find(c); nLetter != std::string_view::npos)
            text.Append(meanings[nLetter]);
        else if (c == 'u')
            AppendCodePoint(text, ParseHexDigits());
        else
        {
            --m_nPosition;
            FailAtCharacter();
        }
    }
}

uint32_t ZJsonParser::ParseHexDigits()
{
    const auto readFour = [this]
    {
        uint32_t nCode = 0;
        const char* pStart = m_text.data() + m_nPosition;
        const char* pEnd = m_text.data() + std::min(m_text.size(), m_nPosition + 4);
        const auto result = std::from_chars(pStart, pEnd, nCode, 16);
        if (result.ptr != pStart + 4)
            FailAtCharacter();
        m_nPosition += 4;
        return nCode;
    };
    const uint32_t nFirst = readFour();
    if (nFirst < 0xD800 || nFirst > 0xDBFF)
        return nFirst;
    if (!m_text.substr(m_nPosition).starts_with("\\u"))
        Fail("half of a surrogate pair");
    m_nPosition += 2;
    const uint32_t nSecond = readFour();
    if (nSecond < 0xDC00 || nSecond > 0xDFFF)
        Fail("half of a surrogate pair");
    return 0x10000 + ((nFirst - 0xD800) << 10) + (nSecond - 0xDC00);
}

void ZJsonParser::AppendCodePoint(ZString& text, uint32_t nCode) const
{
    if (nCode >= 0xDC00 && nCode <= 0xDFFF)
        Fail("half of a surrogate pair");
    // A zero byte would end the text for every reader of C strings.
    if (nCode == 0)
        Fail("a string holds a zero character");
    const auto append = [&text](uint32_t n) { text.Append(static_cast<char>(n)); };
    if (nCode < 0x80)
        return append(nCode);
    if (nCode < 0x800)
        append(0xC0 | (nCode >> 6));
    else if (nCode < 0x10000)
    {
        append(0xE0 | (nCode >> 12));
        append(0x80 | ((nCode >> 6) & 0x3F));
    }
    else
    {
        append(0xF0 | (nCode >> 18));
        append(0x80 | ((nCode >> 12) & 0x3F));
        append(0x80 | ((nCode >> 6) & 0x3F));
    }
    append(0x80 | (nCode & 0x3F));
}
