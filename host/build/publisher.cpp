#include "host/build/publisher.h"

#include "host/build/joblines.h"

#include <utility>

namespace Host
{

void ZPublisher::Add(const std::string& sId, const SPublication& file)
{
    if (m_waiting.ids.empty())
        m_waitingSince = TClock::now();
    m_waiting.ids.push_back(sId);
    m_waiting.files.push_back(file);
}

void ZPublisher::Continue(bool bHurry)
{
    if (HasWaiting() && (bHurry || m_waiting.ids.size() >= BATCH || TClock::now() - m_waitingSince > PATIENCE))
        Start();
}

bool ZPublisher::Has(const std::string& sPassingPath) const
{
    for (const SBatch* pBatch : {&m_waiting, &m_atWork})
        for (const SPublication& file : pBatch->files)
            if (file.sPassingPath == sPassingPath)
                return true;
    return false;
}

void ZPublisher::Start()
{
    m_atWork = std::exchange(m_waiting, {});
    m_pool.Send(m_nWorker, EncodePublish(m_atWork.files));
    m_pool.StopClock(m_nWorker); // a disk takes the time that it takes
}

std::vector<ZPublisher::SOutcome> ZPublisher::OnPublished(const std::vector<std::string>& errors)
{
    const SBatch done = std::exchange(m_atWork, {});
    std::vector<SOutcome> outcomes;
    for (size_t n = 0; n < done.ids.size(); ++n)
        outcomes.push_back({done.ids[n], n < errors.size() ? errors[n] : "its file was not published"});
    return outcomes;
}

std::vector<ZPublisher::SOutcome> ZPublisher::OnEnd(const std::string& sWhy)
{
    const SBatch lost = std::exchange(m_atWork, {});
    std::vector<SOutcome> outcomes;
    for (size_t n = 0; n < lost.ids.size(); ++n)
    {
        Os::RemoveFile(lost.files[n].sPassingPath);
        outcomes.push_back({lost.ids[n], "its file was not published: the process that does it " + sWhy});
    }
    return outcomes;
}

} // namespace Host
