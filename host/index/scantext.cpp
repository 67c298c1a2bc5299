#include "host/index/scantext.h"

#include "base/misc/utf8.h"
#include "host/files/contenthash.h"

#include <algorithm>
#include <unordered_map>

namespace Host
{

namespace
{

/// Identifiers and property texts as every reader takes them: names in files are any bytes.
std::string Utf8Of(const std::string& sText)
{
    if (IsUtf8(sText))
        return sText;
    std::string sClean;
    for (std::string_view rest = sText; !rest.empty();)
    {
        const size_t nLength = Utf8SequenceLength(rest);
        sClean += nLength != 0 ? rest.substr(0, nLength) : std::string_view("\xef\xbf\xbd");
        rest.remove_prefix(std::max<size_t>(nLength, 1));
    }
    return sClean;
}

/// Characters refer to the same resources over and over, so each text stands once.
class ZContentWriter
{
public:
    void Write(const std::vector<std::string>& references, const SSourceScan::TProperties& properties)
    {
        m_fields.Number(references.size());
        for (const std::string& sId : references)
        {
            const auto [it, bNew] = m_known.try_emplace(sId, m_known.size());
            m_fields.Number(it->second);
            if (bNew)
                m_fields.Text(Utf8Of(sId));
        }
        m_fields.Number(properties.size());
        for (const auto& [sKey, sValue] : properties)
            m_fields.Text(Utf8Of(sKey)).Text(Utf8Of(sValue));
    }
    std::string Take() { return m_fields.Take(); }

private:
    ZFieldWriter m_fields;
    std::unordered_map<std::string_view, size_t> m_known;
};

/// The two parts of the line: the first field is the length of the names.
std::pair<std::string_view, std::string_view> PartsOf(std::string_view text)
{
    ZFieldReader length(text);
    const size_t nNames = length.Number<size_t>(0, text.size());
    const std::string_view parts = length.Rest();
    return {parts.substr(0, nNames), parts.substr(std::min(nNames, parts.size()))};
}

void ReadNames(ZFieldReader& names, SSourceScan& scan, size_t& nCount)
{
    scan = {};
    scan.sSource = names.Text();
    scan.sError = names.Text();
    nCount = names.Count();
}

} // namespace

std::string EncodeScan(const SSourceScan& scan)
{
    ZFieldWriter names;
    names.Text(Utf8Of(scan.sSource)).Text(Utf8Of(scan.sError)).Number(scan.subResources.size());
    ZContentWriter content;
    content.Write(scan.references, scan.properties);
    for (const SSourceScan::SSubResource& entry : scan.subResources)
    {
        names.Text(Utf8Of(entry.sId)).Text(Utf8Of(entry.sSource));
        content.Write(entry.references, entry.properties);
    }
    ZFieldWriter line;
    line.Number(names.Size()).Fields(names.Take()).Fields(content.Take());
    return line.Take();
}

bool DecodeScan(std::string_view text, SSourceScan& scan)
{
    ZScanTextReader reader(text);
    if (!reader.Head(scan))
        return false;
    while (reader.CountLeft() != 0)
        if (!reader.Next(scan.subResources.emplace_back()))
            return false;
    return reader.Good();
}

bool DecodeScanNames(std::string_view text, SSourceScan& scan)
{
    ZFieldReader names(PartsOf(text).first);
    size_t nCount = 0;
    ReadNames(names, scan, nCount);
    while (nCount-- > 0 && names.Sound())
    {
        SSourceScan::SSubResource& entry = scan.subResources.emplace_back();
        entry.sId = names.Text();
        entry.sSource = names.Text();
    }
    return names.Good();
}

uint64_t HashOfScan(std::string_view text)
{
    return std::max<uint64_t>(1, ZContentHash::Of(text));
}

ZScanTextReader::ZScanTextReader(std::string_view text) : m_names(PartsOf(text).first), m_content(PartsOf(text).second)
{
}

bool ZScanTextReader::Head(SSourceScan& scan)
{
    ReadNames(m_names, scan, m_nLeft);
    References(scan.references);
    Properties(scan.properties);
    return m_names.Sound() && m_content.Sound();
}

bool ZScanTextReader::Next(SSourceScan::SSubResource& entry)
{
    if (m_nLeft == 0)
        return false;
    --m_nLeft;
    entry = {};
    entry.sId = m_names.Text();
    entry.sSource = m_names.Text();
    References(entry.references);
    Properties(entry.properties);
    return m_names.Sound() && m_content.Sound();
}

void ZScanTextReader::References(std::vector<std::string>& references)
{
    const size_t nCount = m_content.Count();
    for (size_t n = 0; n < nCount && m_content.Sound(); ++n)
    {
        const size_t nText = m_content.Number<size_t>(0, m_known.size());
        if (nText == m_known.size())
            m_known.push_back(m_content.Text());
        references.push_back(m_known[nText]);
    }
}

void ZScanTextReader::Properties(SSourceScan::TProperties& properties)
{
    for (size_t n = m_content.Count(); n > 0 && m_content.Sound(); --n)
    {
        std::string sKey = m_content.Text();
        properties.insert_or_assign(properties.end(), std::move(sKey), m_content.Text());
    }
}

} // namespace Host
