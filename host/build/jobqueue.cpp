#include "host/build/jobqueue.h"

#include <algorithm>
#include <functional>

namespace Host
{

ZJobQueue::TFile ZJobQueue::FileOf(std::string_view id)
{
    id.remove_prefix(std::min(id.find_first_not_of('<'), id.size()));
    const auto end = std::find_if(id.begin(), id.end(), [](char c) { return c == '?' || c == '>'; });
    return std::hash<std::string_view>()(std::string_view(id.begin(), end)) | 1u;
}

void ZJobQueue::Clear()
{
    m_waiting.clear();
    m_postponed.clear();
}

SJob ZJobQueue::Take(TFile own, std::span<const TFile> ofAll)
{
    const auto end = m_waiting.begin() + static_cast<ptrdiff_t>(std::min(m_waiting.size(), MOST_OUT_OF_TURN));
    auto it =
        own == 0 ? end
                 : std::find_if(m_waiting.begin(), end, [own](const SWaiting& waiting) { return waiting.file == own; });
    if (it == end)
        it = std::find_if(m_waiting.begin(), end,
                          [ofAll](const SWaiting& waiting)
                          { return std::find(ofAll.begin(), ofAll.end(), waiting.file) == ofAll.end(); });
    if (it == end)
        it = m_waiting.begin();
    SJob job = std::move(it->job);
    m_waiting.erase(it);
    return job;
}

void ZJobQueue::Resume()
{
    m_waiting.insert(m_waiting.begin(), m_postponed.begin(), m_postponed.end());
    m_postponed.clear();
}

} // namespace Host
