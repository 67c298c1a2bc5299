#include "host/text/fieldline.h"

#include <algorithm>

namespace Host
{

namespace
{

bool IsEscaped(char c)
{
    return c == '\t' || c == '\n' || c == '\\';
}

} // namespace

ZFieldWriter& ZFieldWriter::Text(std::string_view text)
{
    m_sLine += '\t';
    const auto end = text.end();
    for (auto it = text.begin();;)
    {
        const auto plain = std::find_if(it, end, &IsEscaped);
        m_sLine.append(it, plain);
        if (plain == end)
            return *this;
        m_sLine += '\\';
        m_sLine += *plain == '\t' ? 't' : *plain == '\n' ? 'n' : '\\';
        it = plain + 1;
    }
}

std::string_view ZFieldReader::Field()
{
    m_bGood &= m_rest.starts_with('\t');
    if (!m_bGood)
        return {};
    const size_t nEnd = std::min(m_rest.find('\t', 1), m_rest.size());
    const std::string_view field = m_rest.substr(1, nEnd - 1);
    m_rest.remove_prefix(nEnd);
    return field;
}

std::string ZFieldReader::Text()
{
    std::string_view field = Field();
    std::string sText;
    for (size_t nPlain = field.find('\\'); nPlain != field.npos; nPlain = field.find('\\'))
    {
        const char c = nPlain + 1 < field.size() ? field[nPlain + 1] : '\0';
        m_bGood &= c == 't' || c == 'n' || c == '\\';
        sText.append(field, 0, nPlain);
        sText += c == 't' ? '\t' : c == 'n' ? '\n' : '\\';
        field.remove_prefix(std::min(nPlain + 2, field.size()));
    }
    sText += field;
    return sText;
}

} // namespace Host
