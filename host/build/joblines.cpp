#include "host/build/joblines.h"

#include "host/text/jsonwriter.h"

#include <nlohmann/json.hpp>

namespace Host
{

using TJson = nlohmann::json;

namespace
{

void WriteStamp(ZJsonWriter& json, const SFileStamp& stamp, uint64_t nHash)
{
    json.BoolField("exists", stamp.bExists);
    json.UnsignedField("size", stamp.nSize);
    json.IntegerField("time", stamp.nTime);
    json.UnsignedField("hash", nHash);
}

void ReadStamp(const TJson& json, SFileStamp& stamp, uint64_t& nHash)
{
    stamp.bExists = json.at("exists").get<bool>();
    stamp.nSize = json.at("size").get<uint64_t>();
    stamp.nTime = json.at("time").get<int64_t>();
    nHash = json.at("hash").get<uint64_t>();
}

SPublication PublicationOf(const TJson& json)
{
    return {json.at("passing").get<std::string>(), json.at("path").get<std::string>()};
}

/// {"name": and the rest is the caller's, who closes it.
ZJsonWriter OpenLine(std::string_view name)
{
    ZJsonWriter json;
    json.Open('{');
    json.Key(name);
    return json;
}

} // namespace

std::string EncodeJob(const SJob& job, bool bPublishLater)
{
    ZJsonWriter json = OpenLine("job");
    json.Text(job.sId);
    json.BoolField("scan", job.eKind == SJob::eScan);
    json.BoolField("later", bPublishLater);
    json.Close('}');
    return json.Take();
}

std::string EncodeAnswer(std::string_view answer, std::string_view why)
{
    ZJsonWriter json = OpenLine("answer");
    json.Text(answer);
    json.TextField("why", why);
    json.Close('}');
    return json.Take();
}

std::string EncodeMessage(const SMessage& message)
{
    ZJsonWriter json = OpenLine("message");
    json.Text(message.sText);
    json.IntegerField("severity", static_cast<int>(message.eSeverity));
    json.Close('}');
    return json.Take();
}

std::string EncodeNeed(std::string_view id)
{
    ZJsonWriter json = OpenLine("need");
    json.Text(id);
    json.Close('}');
    return json.Take();
}

std::string EncodeResult(const SJobResult& result)
{
    ZJsonWriter json = OpenLine("result");
    json.Text(result.job.sId);
    json.BoolField("scan", result.job.eKind == SJob::eScan);
    json.BoolField("good", result.IsGood());
    json.TextField("file", result.sFile);
    json.UnsignedField("bytes", result.nBytes);
    json.NumberField("seconds", result.fSeconds);
    json.TextField("passing", result.publication.sPassingPath);
    json.TextField("path", result.publication.sPath);
    WriteStamp(json, result.stamp, result.nHash);
    json.Key("dependencies");
    json.Open('[');
    for (const SDependency& dependency : result.dependencies)
    {
        json.Open('{');
        json.TextField("id", dependency.sId);
        json.BoolField("derived", dependency.eKind == SDependency::eDerived);
        WriteStamp(json, dependency.stamp, dependency.nHash);
        json.Close('}');
    }
    json.Close(']');
    if (result.job.eKind == SJob::eScan)
    {
        json.Key("holds");
        json.Raw(ScanLine(result.scan));
    }
    json.Close('}');
    return json.Take();
}

std::string EncodePublish(const std::vector<SPublication>& files)
{
    ZJsonWriter json = OpenLine("publish");
    json.Open('[');
    for (const SPublication& file : files)
    {
        json.Open('{');
        json.TextField("passing", file.sPassingPath);
        json.TextField("path", file.sPath);
        json.Close('}');
    }
    json.Close(']');
    json.Close('}');
    return json.Take();
}

std::string EncodePublished(const std::vector<std::string>& errors)
{
    ZJsonWriter json = OpenLine("published");
    json.Open('[');
    for (const std::string& sError : errors)
        json.Text(sError);
    json.Close(']');
    json.Close('}');
    return json.Take();
}

bool DecodeLine(std::string_view text, SLine& line)
{
    try
    {
        const TJson json = TJson::parse(text);
        const auto kind = [&json] { return json.at("scan").get<bool>() ? SJob::eScan : SJob::ePack; };
        if (json.contains("job"))
        {
            line.eKind = SLine::eJob;
            line.job = {kind(), json.at("job").get<std::string>()};
            line.bPublishLater = json.at("later").get<bool>();
        }
        else if (json.contains("answer"))
        {
            line.eKind = SLine::eAnswer;
            line.sText = json.at("answer").get<std::string>();
            line.sWhy = json.at("why").get<std::string>();
        }
        else if (json.contains("message"))
        {
            line.eKind = SLine::eMessage;
            const int nSeverity = json.at("severity").get<int>();
            if (nSeverity < 0 || nSeverity > static_cast<int>(ESeverity::eError))
                return false;
            line.message = {static_cast<ESeverity>(nSeverity), json.at("message").get<std::string>()};
        }
        else if (json.contains("need"))
        {
            line.eKind = SLine::eNeed;
            line.sText = json.at("need").get<std::string>();
        }
        else if (json.contains("publish"))
        {
            line.eKind = SLine::ePublish;
            line.files.clear();
            for (const TJson& file : json.at("publish"))
                line.files.push_back(PublicationOf(file));
        }
        else if (json.contains("published"))
        {
            line.eKind = SLine::ePublished;
            line.errors = json.at("published").get<std::vector<std::string>>();
        }
        else
        {
            line.eKind = SLine::eResult;
            line.result = {};
            line.result.job = {kind(), json.at("result").get<std::string>()};
            line.result.eStatus = json.at("good").get<bool>() ? EJobStatus::ePacked : EJobStatus::eFailed;
            line.result.sFile = json.at("file").get<std::string>();
            line.result.nBytes = json.at("bytes").get<uint64_t>();
            line.result.fSeconds = json.at("seconds").get<double>();
            line.result.publication = PublicationOf(json);
            ReadStamp(json, line.result.stamp, line.result.nHash);
            for (const TJson& entry : json.at("dependencies"))
            {
                SDependency& dependency = line.result.dependencies.emplace_back();
                dependency.sId = entry.at("id").get<std::string>();
                dependency.eKind = entry.at("derived").get<bool>() ? SDependency::eDerived : SDependency::eSource;
                ReadStamp(entry, dependency.stamp, dependency.nHash);
            }
            if (line.result.job.eKind == SJob::eScan && !ReadSourceScan(json.at("holds"), line.result.scan))
                return false;
        }
        return true;
    }
    catch (const TJson::exception&)
    {
        return false;
    }
}

} // namespace Host
