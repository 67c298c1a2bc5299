#include "host/verify/verification.h"

#include "host/files/resourceids.h"
#include "host/module/hostdatabase.h"
#include "host/text/jsonwriter.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <limits>
#include <nlohmann/json.hpp>

namespace Host
{

namespace
{

/// Takes of one file that a worker is given at once: it reads the file once for them.
constexpr size_t BATCH = 24;

std::string EncodeVerified(const SVerified& result)
{
    ZJsonWriter json;
    json.Open('[');
    json.Text(result.sError);
    json.Unsigned(result.nBones);
    json.Unsigned(result.nFrames);
    json.Unsigned(result.nBytes);
    json.Number(result.fMaxDegrees);
    json.Number(result.fMaxMillimetres);
    json.Number(result.fMeanMillimetres);
    json.Text(result.sWorstBone);
    json.Unsigned(result.nWorstFrame);
    json.Text(result.sWorstTurned);
    json.Unsigned(result.nWorstTurnedFrame);
    const auto list = [&json](const std::vector<std::string>& names)
    {
        json.Open('[');
        for (const std::string& sName : names)
            json.Text(sName);
        json.Close(']');
    };
    list(result.lostBones);
    json.Number(result.fLostMillimetres);
    list(result.droppedScale);
    json.Text(result.sShown);
    json.Close(']');
    return json.Take();
}

bool DecodeVerified(const std::string& sLine, SVerified& result)
{
    try
    {
        const nlohmann::json json = nlohmann::json::parse(sLine);
        const auto number = [&json](size_t n)
        { return json.at(n).is_null() ? std::numeric_limits<double>::infinity() : json.at(n).get<double>(); };
        result = {json.at(0).get<std::string>(),
                  json.at(1).get<uint32_t>(),
                  json.at(2).get<uint32_t>(),
                  json.at(3).get<uint64_t>(),
                  number(4),
                  number(5),
                  number(6),
                  json.at(7).get<std::string>(),
                  json.at(8).get<uint32_t>(),
                  json.at(9).get<std::string>(),
                  json.at(10).get<uint32_t>(),
                  json.at(11).get<std::vector<std::string>>(),
                  number(12),
                  json.at(13).get<std::vector<std::string>>(),
                  json.at(14).get<std::string>()};
        return true;
    }
    catch (const nlohmann::json::exception&)
    {
        return false;
    }
}

bool IsBelow(const std::string& sPath, const std::string& sFolder)
{
    std::error_code error;
    if (!std::filesystem::is_directory(sFolder, error))
        return false;
    const auto relative = std::filesystem::proximate(sPath, sFolder, error);
    return !error && !relative.empty() && relative.is_relative() && relative.begin()->string() != "..";
}

} // namespace

bool IsNamed(const SPackedAnimation& packed, const std::string& sId, const std::string& sPath)
{
    const std::string sTake = ToLower(TakeOf(packed));
    const std::string sFile = sTake.substr(0, sTake.find('?'));
    std::error_code error;
    return sId == packed.sId || sId == sTake || sId == sFile ||
           (!sId.empty() && sFile.starts_with(sId.ends_with('/') ? sId : sId + '/')) ||
           std::filesystem::equivalent(sPath, packed.sPath, error) || IsBelow(packed.sPath, sPath);
}

void ZVerification::PlanRanges()
{
    m_order.resize(m_packed.size());
    for (size_t n = 0; n < m_order.size(); ++n)
        m_order[n] = n;
    std::vector<std::string> takes;
    std::transform(m_packed.begin(), m_packed.end(), std::back_inserter(takes), &TakeOf);
    std::stable_sort(m_order.begin(), m_order.end(), [&](size_t a, size_t b) { return takes[a] < takes[b]; });
    const auto fileOf = [&](size_t n)
    {
        const std::string& sTake = takes[m_order[n]];
        return std::string_view(sTake).substr(0, sTake.find('?'));
    };
    for (size_t n = 0; n < m_order.size();)
    {
        SRange range{n, 0};
        while (n < m_order.size() && fileOf(n) == fileOf(range.nFirst) &&
               (range.nCount < BATCH || takes[m_order[n]] == takes[m_order[n - 1]]))
            ++n, ++range.nCount;
        m_ranges.push_back(range);
    }
}

void ZVerification::WorkerMain(ZLineChannel& channel) const
{
    ZHostDatabase database(m_settings.tree, m_settings.sOut, [](const std::string&) { return false; });
    SetResourceDatabase(&database);
    ZTakeVerifier verifier(m_settings.sOut, m_settings.showClip);
    std::string sLine;
    while (channel.Receive(sLine))
    {
        SRange range;
        const char* pEnd = sLine.data() + sLine.size();
        const char* pNext = std::from_chars(sLine.data(), pEnd, range.nFirst).ptr;
        std::from_chars(std::min(pNext + 1, pEnd), pEnd, range.nCount);
        std::vector<SPackedAnimation> batch;
        for (size_t n = 0; n < range.nCount; ++n)
            batch.push_back(m_packed[m_order[range.nFirst + n]]);
        for (size_t n = 0; n < batch.size();)
        {
            size_t nEnd = n + 1;
            while (nEnd < batch.size() && TakeOf(batch[nEnd]) == TakeOf(batch[n]))
                ++nEnd;
            for (const SVerified& result : verifier.Verify(std::span(batch).subspan(n, nEnd - n)))
                channel.Send(EncodeVerified(result));
            n = nEnd;
        }
    }
}

void ZVerification::Run(const FReport& report, const FProgress& progress)
{
    PlanRanges();
    std::deque<SRange> waiting(m_ranges.begin(), m_ranges.end());
    std::vector<SVerified> results(m_packed.size());
    std::vector<bool> isDone(m_packed.size(), false);
    size_t nTold = 0;
    ZWorkerPool pool(m_settings.nWorkers, m_settings.limits, [this](ZLineChannel& channel) { WorkerMain(channel); });
    std::vector<SRange> running(pool.Size());
    size_t nLeft = m_packed.size();
    while (nLeft != 0)
    {
        for (size_t n = 0; n < pool.Size() && !waiting.empty(); ++n)
            if (running[n].nCount == 0)
            {
                running[n] = waiting.front();
                waiting.pop_front();
                pool.Send(n, std::to_string(running[n].nFirst) + ' ' + std::to_string(running[n].nCount));
            }
        ZWorkerPool::SEvent event;
        if (!pool.Wait(event, 0.5))
            continue;
        SRange& range = running[event.nWorker];
        if (range.nCount == 0)
            continue;
        SVerified result;
        if (event.bEnded)
            result.sError = "the process that compared it crashed: " + event.sText;
        else if (!DecodeVerified(event.sText, result))
        {
            pool.Kill(event.nWorker, "its process talked nonsense");
            continue;
        }
        results[m_order[range.nFirst]] = std::move(result);
        isDone[m_order[range.nFirst]] = true;
        ++range.nFirst;
        --range.nCount;
        --nLeft;
        progress(m_packed.size() - nLeft, m_packed[m_order[range.nFirst - 1]]);
        if (event.bEnded)
        {
            // Those behind the one that it crashed on have not been looked at.
            if (range.nCount != 0)
                waiting.push_front(range);
            range = {};
        }
        else if (range.nCount == 0)
            pool.StopClock(event.nWorker);
        for (; nTold < m_packed.size() && isDone[nTold]; ++nTold)
            report(nTold, results[nTold]);
    }
}

} // namespace Host
