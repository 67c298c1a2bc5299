#include "host/build/joblines.h"

#include "host/text/jsonwriter.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <unordered_map>

namespace Host
{

namespace
{

/// Fields with tabs between them. Texts may hold any bytes, as names of files do.
class ZFieldWriter
{
public:
    explicit ZFieldWriter(char cKind) : m_sLine(1, cKind) {}

    ZFieldWriter& Text(std::string_view text)
    {
        m_sLine += '\t';
        for (const char c : text)
            if (c == '\t')
                m_sLine += "\\t";
            else if (c == '\n')
                m_sLine += "\\n";
            else if (c == '\\')
                m_sLine += "\\\\";
            else
                m_sLine += c;
        return *this;
    }
    template <class T>
    ZFieldWriter& Number(T value)
    {
        char buffer[40];
        m_sLine += '\t';
        m_sLine.append(buffer, std::to_chars(buffer, buffer + sizeof buffer, value).ptr);
        return *this;
    }
    ZFieldWriter& Stamp(const SFileStamp& stamp, uint64_t nHash)
    {
        return Number(int{stamp.bExists}).Number(stamp.nSize).Number(stamp.nTime).Number(nHash);
    }
    std::string Take() { return std::move(m_sLine); }

private:
    std::string m_sLine;
};

/// Every call is good on any line; Good() tells whether it was what was asked for.
class ZFieldReader
{
public:
    explicit ZFieldReader(std::string_view rest) : m_rest(rest) {}

    std::string Text()
    {
        const std::string_view field = Field();
        std::string sText;
        sText.reserve(field.size());
        for (size_t n = 0; n < field.size(); ++n)
        {
            if (field[n] != '\\')
            {
                sText += field[n];
                continue;
            }
            const char c = ++n < field.size() ? field[n] : '\0';
            m_bGood &= c == 't' || c == 'n' || c == '\\';
            sText += c == 't' ? '\t' : c == 'n' ? '\n' : '\\';
        }
        return sText;
    }
    template <class T>
    T Number(T least, T most)
    {
        const std::string_view field = Field();
        T value{};
        const auto [pEnd, error] = std::from_chars(field.data(), field.data() + field.size(), value);
        m_bGood &= error == std::errc() && pEnd == field.data() + field.size() && value >= least && value <= most;
        return m_bGood ? value : least;
    }
    template <class T>
    T Number()
    {
        return Number(std::numeric_limits<T>::lowest(), std::numeric_limits<T>::max());
    }
    bool Flag() { return Number<int>(0, 1) != 0; }
    SJob::EKind Kind() { return Flag() ? SJob::eScan : SJob::ePack; }
    /// Of fields that follow, at least one for each.
    size_t Count() { return Number<size_t>(0, m_rest.size()); }
    void Stamp(SFileStamp& stamp, uint64_t& nHash)
    {
        stamp.bExists = Flag();
        stamp.nSize = Number<uint64_t>();
        stamp.nTime = Number<int64_t>();
        nHash = Number<uint64_t>();
    }
    bool Good() const { return m_bGood && m_rest.empty(); }

private:
    std::string_view Field()
    {
        m_bGood &= m_rest.starts_with('\t');
        if (!m_bGood)
            return {};
        const size_t nEnd = std::min(m_rest.find('\t', 1), m_rest.size());
        const std::string_view field = m_rest.substr(1, nEnd - 1);
        m_rest.remove_prefix(nEnd);
        return field;
    }

    std::string_view m_rest;
    bool m_bGood = true;
};

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

/// What a scan said. Characters refer to the same resources over and over, so each text stands once.
class ZScanWriter
{
public:
    explicit ZScanWriter(ZFieldWriter& fields) : m_fields(fields) {}

    void Write(const SSourceScan& scan)
    {
        m_fields.Text(Utf8Of(scan.sSource)).Text(Utf8Of(scan.sError));
        References(scan.references);
        Properties(scan.properties);
        m_fields.Number(scan.subResources.size());
        for (const SSourceScan::SSubResource& entry : scan.subResources)
        {
            m_fields.Text(Utf8Of(entry.sId)).Text(Utf8Of(entry.sSource));
            References(entry.references);
            Properties(entry.properties);
        }
    }

private:
    void References(const std::vector<std::string>& references)
    {
        m_fields.Number(references.size());
        for (const std::string& sId : references)
        {
            const auto [it, bNew] = m_known.try_emplace(sId, m_known.size());
            m_fields.Number(it->second);
            if (bNew)
                m_fields.Text(Utf8Of(sId));
        }
    }
    void Properties(const SSourceScan::TProperties& properties)
    {
        m_fields.Number(properties.size());
        for (const auto& [sKey, sValue] : properties)
            m_fields.Text(Utf8Of(sKey)).Text(Utf8Of(sValue));
    }

    ZFieldWriter& m_fields;
    std::unordered_map<std::string_view, size_t> m_known;
};

class ZScanReader
{
public:
    explicit ZScanReader(ZFieldReader& fields) : m_fields(fields) {}

    void Read(SSourceScan& scan)
    {
        scan = {};
        scan.sSource = m_fields.Text();
        scan.sError = m_fields.Text();
        References(scan.references);
        Properties(scan.properties);
        for (size_t n = m_fields.Count(); n-- > 0;)
        {
            SSourceScan::SSubResource& entry = scan.subResources.emplace_back();
            entry.sId = m_fields.Text();
            entry.sSource = m_fields.Text();
            References(entry.references);
            Properties(entry.properties);
        }
    }

private:
    void References(std::vector<std::string>& references)
    {
        const size_t nCount = m_fields.Count();
        references.reserve(nCount);
        for (size_t n = 0; n < nCount; ++n)
        {
            const size_t nText = m_fields.Number<size_t>(0, m_known.size());
            if (nText == m_known.size())
                m_known.push_back(m_fields.Text());
            references.push_back(m_known[nText]);
        }
    }
    void Properties(SSourceScan::TProperties& properties)
    {
        for (size_t n = m_fields.Count(); n-- > 0;)
        {
            std::string sKey = m_fields.Text();
            properties.insert_or_assign(std::move(sKey), m_fields.Text());
        }
    }

    ZFieldReader& m_fields;
    std::vector<std::string> m_known;
};

constexpr char KINDS[] = {'j', 'a', 'm', 'n', 'r', 'p', 'd'}; // in the order of SLine::EKind

char Letter(SLine::EKind eKind)
{
    return KINDS[eKind];
}

void ReadResult(ZFieldReader& fields, SJobResult& result)
{
    result = {};
    result.job = {fields.Kind(), fields.Text()};
    result.eStatus = fields.Flag() ? EJobStatus::ePacked : EJobStatus::eFailed;
    result.sFile = fields.Text();
    result.nBytes = fields.Number<uint64_t>();
    result.fSeconds = fields.Number<double>();
    result.publication.sPassingPath = fields.Text();
    result.publication.sPath = fields.Text();
    fields.Stamp(result.stamp, result.nHash);
    for (size_t n = fields.Count(); n-- > 0;)
    {
        SDependency& dependency = result.dependencies.emplace_back();
        dependency.eKind = fields.Flag() ? SDependency::eDerived : SDependency::eSource;
        dependency.sId = fields.Text();
        fields.Stamp(dependency.stamp, dependency.nHash);
    }
}

} // namespace

std::string EncodeJob(const SJob& job, bool bPublishLater)
{
    return ZFieldWriter(Letter(SLine::eJob))
        .Number(int{job.eKind == SJob::eScan})
        .Text(job.sId)
        .Number(int{bPublishLater})
        .Take();
}

std::string EncodeAnswer(std::string_view answer, std::string_view why)
{
    return ZFieldWriter(Letter(SLine::eAnswer)).Text(answer).Text(why).Take();
}

std::string EncodeMessage(const SMessage& message)
{
    return ZFieldWriter(Letter(SLine::eMessage)).Number(static_cast<int>(message.eSeverity)).Text(message.sText).Take();
}

std::string EncodeNeed(std::string_view id)
{
    return ZFieldWriter(Letter(SLine::eNeed)).Text(id).Take();
}

std::string EncodeResult(const SJobResult& result)
{
    ZFieldWriter fields(Letter(SLine::eResult));
    const bool bScan = result.job.eKind == SJob::eScan;
    fields.Number(int{bScan}).Text(result.job.sId).Number(int{result.IsGood()}).Text(result.sFile);
    fields.Number(result.nBytes).Number(result.fSeconds);
    fields.Text(result.publication.sPassingPath).Text(result.publication.sPath).Stamp(result.stamp, result.nHash);
    fields.Number(result.dependencies.size());
    for (const SDependency& dependency : result.dependencies)
        fields.Number(int{dependency.eKind == SDependency::eDerived})
            .Text(dependency.sId)
            .Stamp(dependency.stamp, dependency.nHash);
    if (bScan)
        ZScanWriter(fields).Write(result.scan);
    return fields.Take();
}

std::string EncodePublish(const std::vector<SPublication>& files)
{
    ZFieldWriter fields(Letter(SLine::ePublish));
    fields.Number(files.size());
    for (const SPublication& file : files)
        fields.Text(file.sPassingPath).Text(file.sPath);
    return fields.Take();
}

std::string EncodePublished(const std::vector<std::string>& errors)
{
    ZFieldWriter fields(Letter(SLine::ePublished));
    fields.Number(errors.size());
    for (const std::string& sError : errors)
        fields.Text(sError);
    return fields.Take();
}

bool DecodeLine(std::string_view text, SLine& line)
{
    const auto* pKind = text.empty() ? std::end(KINDS) : std::find(std::begin(KINDS), std::end(KINDS), text.front());
    if (pKind == std::end(KINDS))
        return false;
    line.eKind = static_cast<SLine::EKind>(pKind - KINDS);
    ZFieldReader fields(text.substr(1));
    line.files.clear();
    line.errors.clear();
    switch (line.eKind)
    {
    case SLine::eJob:
        line.job.eKind = fields.Kind();
        line.job.sId = fields.Text();
        line.bPublishLater = fields.Flag();
        break;
    case SLine::eAnswer:
        line.sText = fields.Text();
        line.sWhy = fields.Text();
        break;
    case SLine::eMessage:
        line.message.eSeverity = static_cast<ESeverity>(fields.Number<int>(0, static_cast<int>(ESeverity::eError)));
        line.message.sText = fields.Text();
        break;
    case SLine::eNeed:
        line.sText = fields.Text();
        break;
    case SLine::eResult:
        ReadResult(fields, line.result);
        if (line.result.job.eKind == SJob::eScan)
            ZScanReader(fields).Read(line.result.scan);
        break;
    case SLine::ePublish:
        for (size_t n = fields.Count(); n-- > 0;)
        {
            SPublication& file = line.files.emplace_back();
            file.sPassingPath = fields.Text();
            file.sPath = fields.Text();
        }
        break;
    case SLine::ePublished:
        for (size_t n = fields.Count(); n-- > 0;)
            line.errors.push_back(fields.Text());
        break;
    }
    return fields.Good();
}

} // namespace Host
