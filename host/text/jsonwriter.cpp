#include "host/text/jsonwriter.h"
#include "base/misc/utf8.h"

#include <charconv>
#include <cmath>

namespace Host
{

namespace
{

template <class T>
void AppendNumber(std::string& sText, T value)
{
    char buffer[40];
    sText.append(buffer, std::to_chars(buffer, buffer + sizeof buffer, value).ptr);
}

} // namespace

void ZJsonWriter::Separate()
{
    if (!m_bFirst)
        m_sText += ',';
    m_bFirst = false;
}

void ZJsonWriter::Open(char c)
{
    Separate();
    m_sText += c;
    m_bFirst = true;
}

void ZJsonWriter::Close(char c)
{
    m_sText += c;
    m_bFirst = false;
}

void ZJsonWriter::Key(std::string_view key)
{
    Text(key);
    m_sText += ':';
    m_bFirst = true;
}

void ZJsonWriter::Text(std::string_view text)
{
    static constexpr char digits[] = "0123456789abcdef";
    Separate();
    m_sText += '"';
    while (!text.empty())
    {
        const auto c = static_cast<unsigned char>(text.front());
        size_t nLength = Utf8SequenceLength(text);
        if (nLength == 0)
        {
            m_sText += "\xef\xbf\xbd";
            nLength = 1;
        }
        else if (c == '"' || c == '\\')
            (m_sText += '\\') += static_cast<char>(c);
        else if (c == '\n')
            m_sText += "\\n";
        else if (c == '\t')
            m_sText += "\\t";
        else if (c < 0x20 || c == 0x7f)
            ((m_sText += "\\u00") += digits[c >> 4]) += digits[c & 15];
        else
            m_sText.append(text.substr(0, nLength));
        text.remove_prefix(nLength);
    }
    m_sText += '"';
}

void ZJsonWriter::Number(double fValue)
{
    if (!std::isfinite(fValue))
        return Null();
    Separate();
    AppendNumber(m_sText, fValue);
}

void ZJsonWriter::Number(float fValue)
{
    if (!std::isfinite(fValue))
        return Null();
    Separate();
    AppendNumber(m_sText, fValue);
}

void ZJsonWriter::Integer(int64_t nValue)
{
    Separate();
    AppendNumber(m_sText, nValue);
}

void ZJsonWriter::Unsigned(uint64_t nValue)
{
    Separate();
    AppendNumber(m_sText, nValue);
}

void ZJsonWriter::Bool(bool bValue)
{
    Raw(bValue ? "true" : "false");
}

void ZJsonWriter::Null()
{
    Raw("null");
}

void ZJsonWriter::Raw(std::string_view json)
{
    Separate();
    m_sText.append(json);
}

void ZJsonWriter::Numbers(std::initializer_list<double> values)
{
    Open('[');
    for (const double fValue : values)
        Number(fValue);
    Close(']');
}

void ZJsonWriter::Numbers(std::initializer_list<float> values)
{
    Open('[');
    for (const float fValue : values)
        Number(fValue);
    Close(']');
}

} // namespace Host
