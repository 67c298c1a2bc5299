#include "os/folderwatch.h"

#include "os/errors.h"

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace Os
{

namespace
{

constexpr uint32_t CHANGES = IN_CLOSE_WRITE | IN_MODIFY | IN_ATTRIB | IN_CREATE | IN_DELETE | IN_MOVED_FROM |
                             IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF;

} // namespace

ZFolderWatch::ZFolderWatch() : m_nQueue(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {}

ZFolderWatch::~ZFolderWatch()
{
    if (m_nQueue >= 0)
        ::close(m_nQueue);
}

void ZFolderWatch::BeginFolders()
{
    m_named.clear();
}

std::error_code ZFolderWatch::Add(const std::string& sFolder)
{
    const int nWatch = ::inotify_add_watch(m_nQueue, sFolder.c_str(), CHANGES | IN_ONLYDIR);
    if (nWatch < 0)
        return LastError();
    m_paths[nWatch] = sFolder;
    m_named.insert(nWatch);
    return {};
}

void ZFolderWatch::EndFolders()
{
    for (auto it = m_paths.begin(); it != m_paths.end();)
        if (m_named.contains(it->first))
            ++it;
        else
        {
            ::inotify_rm_watch(m_nQueue, it->first);
            it = m_paths.erase(it);
        }
}

void ZFolderWatch::Note(int nWatch, unsigned int nMask, const char* szName, SChanges& changes)
{
    changes.bLost |= (nMask & IN_Q_OVERFLOW) != 0;
    // The watch itself has ended, because its folder has or because it was let go.
    if ((nMask & IN_IGNORED) != 0)
        m_paths.erase(nWatch);
    const auto it = m_paths.find(nWatch);
    if (it == m_paths.end() || (nMask & CHANGES) == 0)
        return;
    const bool bSelf = (nMask & (IN_DELETE_SELF | IN_MOVE_SELF)) != 0;
    changes.bFolders |=
        bSelf || ((nMask & IN_ISDIR) != 0 && (nMask & (IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO)) != 0);
    std::string sPath = it->second;
    if (szName[0] != '\0')
        (sPath += '/') += szName;
    if ((nMask & IN_MODIFY) != 0)
        changes.open.insert(sPath);
    if ((nMask & (IN_CLOSE_WRITE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO)) != 0)
        changes.open.erase(sPath);
    if (changes.paths.empty() || changes.paths.back() != sPath)
        changes.paths.push_back(std::move(sPath));
}

bool ZFolderWatch::Wait(int nMilliseconds, SChanges& changes)
{
    struct pollfd queue
    {
        m_nQueue, POLLIN, 0
    };
    if (::poll(&queue, 1, nMilliseconds) <= 0)
        return false;
    alignas(struct inotify_event) char buffer[65536];
    const ssize_t nRead = ::read(m_nQueue, buffer, sizeof buffer);
    for (ssize_t n = 0; n < nRead;)
    {
        const auto* pEvent = reinterpret_cast<const struct inotify_event*>(buffer + n);
        Note(pEvent->wd, pEvent->mask, pEvent->len != 0 ? pEvent->name : "", changes);
        n += static_cast<ssize_t>(sizeof *pEvent + pEvent->len);
    }
    return nRead > 0;
}

} // namespace Os
