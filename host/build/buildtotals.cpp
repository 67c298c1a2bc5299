#include "host/build/buildtotals.h"

#include <algorithm>

namespace Host
{

namespace
{

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

/// A text without what tells one asset's from another's: quoted names, and numbers.
std::string Alike(const std::string& sText)
{
    std::string sAlike;
    for (size_t n = 0; n < sText.size(); ++n)
    {
        sAlike += IsDigit(sText[n]) ? '0' : sText[n];
        if (const size_t nEnd = sText[n] == '\'' ? sText.find('\'', n + 1) : std::string::npos;
            nEnd != std::string::npos)
            n = nEnd;
        while (IsDigit(sText[n]) && n + 1 < sText.size() && IsDigit(sText[n + 1]))
            ++n;
    }
    return sAlike;
}

} // namespace

void ZBuildTotals::Add(const SJobResult& result)
{
    ++m_counts[static_cast<size_t>(result.eStatus)];
    if (result.eStatus == EJobStatus::ePacked)
    {
        m_nBytes += result.nBytes;
        const auto place = std::find_if(m_slowest.begin(), m_slowest.end(),
                                        [&result](const SSlow& slow) { return slow.fSeconds < result.fSeconds; });
        if (place != m_slowest.end() || m_slowest.size() < MOST_SLOW)
            m_slowest.insert(place, {result.job.sId, result.fSeconds});
        m_slowest.resize(std::min(m_slowest.size(), MOST_SLOW));
    }
    if (result.eStatus != EJobStatus::eFailed && result.eStatus != EJobStatus::eCrashed)
        return;
    const std::string* pError = result.FirstError();
    const std::string sText = pError != nullptr ? *pError : "failed without giving a reason";
    const auto [it, bNew] = m_byText.try_emplace(Alike(sText), m_causes.size());
    if (bNew)
        m_causes.push_back({sText, 0, result.job.Source()});
    ++m_causes[it->second].nJobs;
}

std::vector<ZBuildTotals::SCause> ZBuildTotals::Causes() const
{
    std::vector<SCause> causes = m_causes;
    std::stable_sort(causes.begin(), causes.end(), [](const SCause& a, const SCause& b) { return a.nJobs > b.nJobs; });
    return causes;
}

} // namespace Host
