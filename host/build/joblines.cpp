#include "host/build/joblines.h"

#include "host/index/scantext.h"
#include "host/state/dependencyfields.h"
#include "host/text/fieldline.h"

#include <algorithm>

namespace Host
{

namespace
{

constexpr char KINDS[] = {'j', 'a', 'm', 'n', 'r', 'p', 'd'}; // in the order of SLine::EKind

char Letter(SLine::EKind eKind)
{
    return KINDS[eKind];
}

void WriteTexts(ZFieldWriter& fields, const std::vector<std::string>& texts)
{
    fields.Number(texts.size());
    for (const std::string& sText : texts)
        fields.Text(sText);
}

void ReadTexts(ZFieldReader& fields, std::vector<std::string>& texts)
{
    texts.clear();
    for (size_t n = fields.Count(); n > 0 && fields.Sound(); --n)
        texts.push_back(fields.Text());
}

SJob::EKind ReadKind(ZFieldReader& fields)
{
    return fields.Flag() ? SJob::eScan : SJob::ePack;
}

void ReadResult(ZFieldReader& fields, SJobResult& result)
{
    result = {};
    result.job.eKind = ReadKind(fields);
    result.job.sId = fields.Text();
    result.eStatus = fields.Flag() ? EJobStatus::ePacked : EJobStatus::eFailed;
    result.sFile = fields.Text();
    result.nBytes = fields.Number<uint64_t>();
    result.fSeconds = fields.Number<double>();
    result.publication.sPassingPath = fields.Text();
    result.publication.sPath = fields.Text();
    ReadStamp(fields, result.stamp, result.nHash);
    ReadDependencies(fields, result.dependencies);
    if (result.job.eKind == SJob::eScan)
        result.sScan = fields.Rest();
}

} // namespace

std::string EncodeJob(const SJob& job, bool bPublishLater, const std::vector<std::string>& ready)
{
    ZFieldWriter fields(Letter(SLine::eJob));
    fields.Number(int{job.eKind == SJob::eScan}).Text(job.sId).Number(int{bPublishLater});
    WriteTexts(fields, ready);
    return fields.Take();
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
    const std::string sScan = bScan ? EncodeScan(result.scan) : std::string();
    fields.Number(int{bScan}).Text(result.job.sId).Number(int{result.IsGood()}).Text(result.sFile);
    fields.Number(result.nBytes).Number(result.fSeconds);
    fields.Text(result.publication.sPassingPath).Text(result.publication.sPath);
    WriteStamp(fields, result.stamp, bScan ? HashOfScan(sScan) : result.nHash);
    WriteDependencies(fields, result.dependencies);
    return fields.Fields(sScan).Take();
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
    WriteTexts(fields, errors);
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
    switch (line.eKind)
    {
    case SLine::eJob:
        line.job.eKind = ReadKind(fields);
        line.job.sId = fields.Text();
        line.bPublishLater = fields.Flag();
        ReadTexts(fields, line.ready);
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
        break;
    case SLine::ePublish:
        for (size_t n = fields.Count(); n > 0 && fields.Sound(); --n)
        {
            SPublication& file = line.files.emplace_back();
            file.sPassingPath = fields.Text();
            file.sPath = fields.Text();
        }
        break;
    case SLine::ePublished:
        ReadTexts(fields, line.errors);
        break;
    }
    return fields.Good();
}

} // namespace Host
