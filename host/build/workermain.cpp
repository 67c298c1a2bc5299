#include "host/build/workermain.h"

#include "host/build/joblines.h"
#include "host/files/outputfile.h"

#include <algorithm>
#include <chrono>
#include <deque>

namespace Host
{

namespace
{

/// The worker's end: jobs come in, and what happens goes out.
class ZWorkerHost final : public IJobHost
{
public:
    explicit ZWorkerHost(ZLineChannel& channel) : m_channel(channel) {}

    /// Notes can wait for the next line, but not for long: they are a sign of life, and what a crash leaves behind.
    void OnMessage(const SMessage& message) override
    {
        m_channel.Queue(EncodeMessage(message));
        if (message.eSeverity != ESeverity::eInfo || TClock::now() - m_lastSent > PATIENCE)
            Flush();
    }
    /// Nobody waits for a result while there is more to do.
    void OnResult(const SJobResult& result) override
    {
        std::string sLine = EncodeResult(result);
        if (sLine.size() >= ZLineChannel::LONGEST_LINE)
        {
            const std::string sWhy = "what it holds takes " + std::to_string(sLine.size() >> 20) +
                                     " MB to tell, and no more than " +
                                     std::to_string(ZLineChannel::LONGEST_LINE >> 20) + " MB are handled";
            m_channel.Queue(EncodeMessage({ESeverity::eError, sWhy}));
            SJobResult failed;
            failed.job = result.job;
            failed.scan.sSource = result.scan.sSource;
            failed.scan.sError = sWhy;
            sLine = EncodeResult(failed);
        }
        if (!m_ahead.empty() || m_channel.HasNext() || (m_channel.Collect() && m_channel.HasNext()))
        {
            m_channel.Queue(sLine);
            Flush();
        }
        else
            m_channel.Send(sLine);
    }
    SAnswer OnNeed(const std::string& sId) override
    {
        if (std::find(m_ready.begin(), m_ready.end(), sId) != m_ready.end())
            return {std::string(ANSWER_READY), {}};
        std::string sText;
        SLine line;
        bool bTalks = m_channel.Send(EncodeNeed(sId));
        while (bTalks && m_channel.Receive(sText) && DecodeLine(sText, line) && line.eKind == SLine::eJob)
            m_ahead.push_back(line);
        // Without a host there is nobody to work for.
        if (line.eKind != SLine::eAnswer)
            Os::ExitNow(0);
        return {line.sText, line.sWhy};
    }
    /// What to do next. False when there is nobody to work for.
    bool Next(SLine& line)
    {
        std::string sText;
        if (!m_ahead.empty())
        {
            line = std::move(m_ahead.front());
            m_ahead.pop_front();
        }
        else if (!m_channel.Receive(sText) || !DecodeLine(sText, line))
            return false;
        // Told once for all jobs of a file.
        if (line.eKind == SLine::eJob && !line.ready.empty())
            m_ready = std::move(line.ready);
        return true;
    }

private:
    using TClock = std::chrono::steady_clock;
    static constexpr auto PATIENCE = std::chrono::milliseconds(20);

    void Flush()
    {
        m_channel.SendQueued();
        m_lastSent = TClock::now();
    }

    ZLineChannel& m_channel;
    TClock::time_point m_lastSent;
    std::vector<std::string> m_ready;
    std::deque<SLine> m_ahead; ///< jobs that came while one waited for its answer
};

} // namespace

void RunJobsOf(ZLineChannel& channel, const SJobPlace& place)
{
    ZWorkerHost host(channel);
    ZJobRunner runner(place, host);
    SLine line;
    while (host.Next(line))
    {
        if (line.eKind == SLine::eJob)
            runner.Run(SJob(line.job), line.bPublishLater);
        else if (line.eKind != SLine::ePublish || !channel.Send(EncodePublished(PublishFiles(line.files))))
            break;
    }
}

} // namespace Host
