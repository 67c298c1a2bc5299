#include "host/text/texttable.h"

#include "host/text/words.h"

#include <algorithm>

namespace Host
{

namespace
{

/// Characters, not bytes.
size_t WidthOf(const std::string& sText)
{
    return static_cast<size_t>(std::count_if(sText.begin(), sText.end(),
                                             [](char c) { return (static_cast<unsigned char>(c) & 0xc0) != 0x80; }));
}

bool IsNumeric(std::string sText)
{
    if (sText.ends_with('%'))
        sText.pop_back();
    double fValue = 0.0;
    return sText == "-" || IsNumber(sText, fValue);
}

} // namespace

void ZTextTable::Add(std::vector<std::string> row)
{
    std::replace(row.begin(), row.end(), std::string(), std::string("-"));
    // A cell that holds line breaks would tear the table.
    for (std::string& sText : row)
        std::replace_if(
            sText.begin(), sText.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; }, ' ');
    m_rows.push_back(std::move(row));
}

std::string ZTextTable::Text(const char* szIndent) const
{
    const size_t nColumns = m_rows.front().size();
    std::vector<size_t> widths(nColumns, 0);
    std::vector<bool> isNumeric(nColumns, m_rows.size() > 1);
    for (size_t n = 0; n < m_rows.size(); ++n)
        for (size_t i = 0; i < nColumns; ++i)
        {
            widths[i] = std::max(widths[i], WidthOf(m_rows[n][i]));
            isNumeric[i] = isNumeric[i] && (n == 0 || IsNumeric(m_rows[n][i]));
        }
    std::string sAll;
    for (const std::vector<std::string>& row : m_rows)
    {
        std::string sLine = szIndent;
        for (size_t i = 0; i < nColumns; ++i)
        {
            const std::string sBlanks(widths[i] - WidthOf(row[i]), ' ');
            sLine += (i == 0 ? "" : "  ") + (isNumeric[i] ? sBlanks + row[i] : row[i] + sBlanks);
        }
        sLine.erase(sLine.find_last_not_of(' ') + 1);
        sAll += sLine + '\n';
    }
    return sAll;
}

} // namespace Host
