#pragma once

#include "host/state/jobresult.h"

namespace Host
{

// The lines between host and worker: a letter, then fields.

/// Host to worker: a job to do. With bPublishLater its file, if it is no other job's need, is left to be published.
/// What is ready need not be asked for.
std::string EncodeJob(const SJob& job, bool bPublishLater, const std::vector<std::string>& ready);
/// Host to worker: the answer to "need".
std::string EncodeAnswer(std::string_view answer, std::string_view why);
/// Worker to host.
std::string EncodeMessage(const SMessage& message);
std::string EncodeNeed(std::string_view id);
std::string EncodeResult(const SJobResult& result);
/// Host to worker: files to publish, and the answer, an error or an empty text for each.
std::string EncodePublish(const std::vector<SPublication>& files);
std::string EncodePublished(const std::vector<std::string>& errors);

/// Any line that either side may get. False for what is none: the other side is not to be trusted any more.
struct SLine
{
    enum EKind
    {
        eJob,
        eAnswer,
        eMessage,
        eNeed,
        eResult,
        ePublish,
        ePublished
    };
    EKind eKind = eJob;
    SJob job;
    bool bPublishLater = false;
    std::vector<std::string> ready;
    std::vector<SPublication> files;
    std::vector<std::string> errors;
    std::string sText; ///< answer, or identifier needed
    std::string sWhy;
    SMessage message;
    SJobResult result;
};
bool DecodeLine(std::string_view text, SLine& line);

/// Answers to a worker that needs a packed resource.
constexpr std::string_view ANSWER_READY = "ready";     ///< its file stands in its place
constexpr std::string_view ANSWER_PACK = "pack";       ///< make it now, inside the job that needs it
constexpr std::string_view ANSWER_FAILED = "failed";   ///< its own job tells why
constexpr std::string_view ANSWER_REFUSED = "refused"; ///< there is no job that would tell why

} // namespace Host
