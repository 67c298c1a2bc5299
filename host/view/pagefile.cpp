#include "host/view/pagefile.h"

#include "host/text/jsonwriter.h"
#include "host/view/pagetext.h"

#include <algorithm>

namespace Host
{

namespace
{

/// JSON that may stand in a script element: no name in it can end the element, or begin a comment.
std::string ForScript(const std::string& sJson)
{
    std::string sText;
    sText.reserve(sJson.size());
    for (const char c : sJson)
        c == '<' ? sText += "\\u003c" : sText += c;
    return sText;
}

} // namespace

void ZPageFile::AddRow(const std::string& sRow, int64_t nRig)
{
    m_sRows += m_nTakes == 0 ? "" : ",\n";
    m_sRows += '[' + std::to_string(nRig) + ',' + ForScript(sRow) + ']';
    ++m_nTakes;
}

void ZPageFile::Add(const SPageClip& clip)
{
    const auto it = std::find(m_rigs.begin(), m_rigs.end(), clip.sRig);
    const auto nRig = static_cast<int64_t>(it - m_rigs.begin());
    if (it == m_rigs.end())
        m_rigs.push_back(clip.sRig);
    const std::string sNumber = std::to_string(m_nTakes);
    m_sTakes += "<script type=\"application/json\" id=\"details" + sNumber + "\">" + ForScript(clip.sDetails) +
                "</script>\n<script type=\"text/plain\" id=\"poses" + sNumber + "\">" + clip.sPoses + "</script>\n";
    AddRow(clip.sRow, nRig);
}

std::string ZPageFile::Take(const std::string& sTitle) const
{
    ZJsonWriter title;
    title.Text(sTitle);
    std::string sData =
        "<script type=\"application/json\" id=\"index\">{\"title\":" + ForScript(title.Get()) + ",\"rigs\":[";
    for (const std::string& sRig : m_rigs)
        sData += (sData.ends_with('[') ? "" : ",\n") + ForScript(sRig);
    sData += "],\n\"takes\":[" + m_sRows + "]}</script>\n" + m_sTakes;
    std::string sPage(PageText());
    return sPage.replace(sPage.find(PAGE_DATA), PAGE_DATA.size(), sData);
}

} // namespace Host
