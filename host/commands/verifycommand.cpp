#include "host/commands/commands.h"
#include "host/files/assettree.h"
#include "host/files/resourceids.h"
#include "host/module/hostdatabase.h"
#include "host/module/hostmodule.h"
#include "host/text/hosterror.h"
#include "host/text/jsonwriter.h"
#include "host/text/textformat.h"
#include "host/text/texttable.h"
#include "host/verify/takeverifier.h"
#include "host/workers/workerpool.h"

#include <algorithm>
#include <charconv>
#include <deque>
#include <filesystem>
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
                  json.at(10).get<uint32_t>()};
        return true;
    }
    catch (const nlohmann::json::exception&)
    {
        return false;
    }
}

class ZVerification
{
public:
    ZVerification(const SOptions& options, ZConsole& console)
        : m_options(options), m_console(console), m_tree(options.sAssets)
    {
    }

    int Run()
    {
        ChooseAnimations();
        m_results.resize(m_packed.size());
        m_isDone.resize(m_packed.size(), false);
        CompareAll();
        if (!m_console.IsJson())
            PrintTable();
        const size_t nAll = m_packed.size();
        m_console.Summary(std::to_string(nAll) + (nAll == 1 ? " animation" : " animations") + WorstText() +
                              (m_nFailed != 0 ? ", " + std::to_string(m_nFailed) + " failed" : ""),
                          m_nFailed == 0);
        return m_nFailed == 0 ? eExit_Done : eExit_AssetsFailed;
    }

private:
    // Which animations.

    /// Lower-cased identifiers that a word of the command line stands for an animation under: itself, its take, its
    /// take's file, or a folder.
    bool IsNamed(const SPackedAnimation& packed, const std::string& sWord) const
    {
        const std::string sTake = ToLower(TakeOf(packed));
        const std::string sFile = sTake.substr(0, sTake.find('?'));
        return sWord == packed.sId || sWord == sTake || sWord == sFile ||
               (!sWord.empty() && sFile.starts_with(sWord.ends_with('/') ? sWord : sWord + '/'));
    }

    void ChooseAnimations()
    {
        const std::vector<SPackedAnimation> all = FindPackedAnimations(
            m_options.sOut, m_options.bPlatformGiven ? m_options.platforms : std::vector<std::string>());
        std::vector<bool> chosen(all.size(), m_options.sources.empty());
        for (const std::string& sWord : m_options.sources)
        {
            std::error_code error;
            const std::string sId = ToLower(m_tree.IdOf(sWord));
            bool bAny = false;
            for (size_t n = 0; n < all.size(); ++n)
                if (IsNamed(all[n], sId) || std::filesystem::equivalent(sWord, all[n].sPath, error))
                    bAny = chosen[n] = true;
            if (bAny)
                continue;
            Tell(sWord, "", "there is no packed animation of it in '" + m_options.sOut + "'", {});
        }
        for (size_t n = 0; n < all.size(); ++n)
            if (chosen[n])
                m_packed.push_back(all[n]);
        if (all.empty() && m_options.sources.empty())
            m_console.Notice("there are no packed animations in '" + m_options.sOut + "'");
    }

    // The comparing, in worker processes.

    /// Ranges of m_order whose animations are of one file; all of one take stay together.
    struct SRange
    {
        size_t nFirst = 0;
        size_t nCount = 0;
    };

    void PlanRanges()
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

    void WorkerMain(ZLineChannel& channel) const
    {
        ZHostDatabase database(m_tree, m_options.sOut, [](const std::string&) { return false; });
        SetResourceDatabase(&database);
        ZTakeVerifier verifier(m_options.sOut);
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

    void CompareAll()
    {
        PlanRanges();
        m_waiting.assign(m_ranges.begin(), m_ranges.end());
        const SWorkerLimits limits{m_options.nMemoryLimit, m_options.fJobTimeout};
        ZWorkerPool pool(m_options.nWorkers, limits, [this](ZLineChannel& channel) { WorkerMain(channel); });
        std::vector<SRange> running(pool.Size());
        size_t nLeft = m_packed.size();
        while (nLeft != 0)
        {
            for (size_t n = 0; n < pool.Size() && !m_waiting.empty(); ++n)
                if (running[n].nCount == 0)
                {
                    running[n] = m_waiting.front();
                    m_waiting.pop_front();
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
            m_results[m_order[range.nFirst]] = std::move(result);
            m_isDone[m_order[range.nFirst]] = true;
            ++range.nFirst;
            --range.nCount;
            --nLeft;
            m_console.Progress(m_packed.size() - nLeft, m_packed.size(), m_packed[m_order[range.nFirst - 1]].sId);
            if (event.bEnded)
            {
                // Those behind the one that it crashed on have not been looked at.
                if (range.nCount != 0)
                    m_waiting.push_front(range);
                range = {};
            }
            else if (range.nCount == 0)
                pool.StopClock(event.nWorker);
            TellWhatIsKnown();
        }
    }

    // What comes of it, in the order of the list.

    void TellWhatIsKnown()
    {
        for (; m_nTold < m_packed.size() && m_isDone[m_nTold]; ++m_nTold)
        {
            const SVerified& result = m_results[m_nTold];
            const SPackedAnimation& packed = m_packed[m_nTold];
            if (!result.sError.empty())
            {
                Tell(packed.sId, packed.sPlatform, result.sError, result);
                continue;
            }
            std::string sError;
            if (!(result.fMaxMillimetres <= m_options.fMaxMillimetres))
                sError =
                    Formatted("%.4f mm off at the bone '%s' in frame %u, more than --max-mm %g", result.fMaxMillimetres,
                              result.sWorstBone.c_str(), result.nWorstFrame, m_options.fMaxMillimetres);
            if (!(result.fMaxDegrees <= m_options.fMaxDegrees))
                sError += (sError.empty() ? "" : "; ") +
                          Formatted("%.4f degrees off at the bone '%s' in frame %u, more than --max-degrees %g",
                                    result.fMaxDegrees, result.sWorstTurned.c_str(), result.nWorstTurnedFrame,
                                    m_options.fMaxDegrees);
            Tell(packed.sId, packed.sPlatform, sError, result);
            if (m_nWorst == SIZE_MAX || result.fMaxMillimetres > m_results[m_nWorst].fMaxMillimetres)
                m_nWorst = m_nTold;
            if (m_nWorstTurned == SIZE_MAX || result.fMaxDegrees > m_results[m_nWorstTurned].fMaxDegrees)
                m_nWorstTurned = m_nTold;
        }
    }

    void Tell(const std::string& sId, const std::string& sPlatform, const std::string& sError, const SVerified& result)
    {
        m_nFailed += !sError.empty();
        if (!sError.empty())
            m_console.Diagnostic(ESeverity::eError, sId, sError);
        if (!m_console.IsJson())
            return;
        ZJsonWriter json;
        json.Open('{');
        json.TextField("id", sId);
        json.OptionalField("platform", sPlatform);
        json.OptionalField("error", sError);
        if (result.sError.empty() && result.nBones != 0)
        {
            json.UnsignedField("bones", result.nBones);
            json.UnsignedField("frames", result.nFrames);
            json.UnsignedField("bytes", result.nBytes);
            json.NumberField("maxRotationDegrees", result.fMaxDegrees);
            json.NumberField("maxMillimetres", result.fMaxMillimetres);
            json.NumberField("meanMillimetres", result.fMeanMillimetres);
            json.TextField("worstBone", result.sWorstBone);
            json.UnsignedField("worstFrame", result.nWorstFrame);
            json.TextField("worstRotationBone", result.sWorstTurned);
            json.UnsignedField("worstRotationFrame", result.nWorstTurnedFrame);
        }
        json.Close('}');
        m_console.Output(json.Get());
    }

    void PrintTable() const
    {
        ZTextTable table(
            {"max mm", "mean mm", "max degrees", "bones", "frames", "bytes", "worst bone", "frame", "animation"});
        size_t nRows = 0;
        for (size_t n = 0; n < m_packed.size(); ++n)
        {
            const SVerified& result = m_results[n];
            if (!result.sError.empty())
                continue;
            ++nRows;
            table.Add({Formatted("%.4f", result.fMaxMillimetres), Formatted("%.4f", result.fMeanMillimetres),
                       Formatted("%.4f", result.fMaxDegrees), std::to_string(result.nBones),
                       std::to_string(result.nFrames), std::to_string(result.nBytes), result.sWorstBone,
                       std::to_string(result.nWorstFrame), m_packed[n].sId});
        }
        if (nRows != 0)
            m_console.Output(table.Text());
    }

    std::string WorstText() const
    {
        if (m_nWorst == SIZE_MAX)
            return {};
        const SVerified& far = m_results[m_nWorst];
        const SVerified& turned = m_results[m_nWorstTurned];
        return Formatted(", at most %.4f mm (%s, frame %u of ", far.fMaxMillimetres, far.sWorstBone.c_str(),
                         far.nWorstFrame) +
               m_packed[m_nWorst].sId +
               Formatted(") and %.4f degrees (%s, frame %u of ", turned.fMaxDegrees, turned.sWorstTurned.c_str(),
                         turned.nWorstTurnedFrame) +
               m_packed[m_nWorstTurned].sId + ')';
    }

    const SOptions& m_options;
    ZConsole& m_console;
    ZAssetTree m_tree;
    std::vector<SPackedAnimation> m_packed;
    std::vector<size_t> m_order; ///< by take; of m_packed
    std::vector<SRange> m_ranges;
    std::deque<SRange> m_waiting;
    std::vector<SVerified> m_results;
    std::vector<bool> m_isDone;
    size_t m_nTold = 0;
    size_t m_nFailed = 0;
    size_t m_nWorst = SIZE_MAX;
    size_t m_nWorstTurned = SIZE_MAX;
};

} // namespace

int RunVerify(const SOptions& options, ZConsole& console)
{
    RegisterHostModules();
    return ZVerification(options, console).Run();
}

} // namespace Host
