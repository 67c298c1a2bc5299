#include "os/linechannel.h"

#include <algorithm>
#include <cerrno>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace Os
{

ZLineChannel::~ZLineChannel()
{
    Close();
}

void ZLineChannel::Close()
{
    if (m_nSocket >= 0)
        ::close(std::exchange(m_nSocket, -1));
}

bool ZLineChannel::Send(const std::string& sLine)
{
    Queue(sLine);
    const bool bSent = SendQueued();
    if (m_pBell != nullptr)
        m_pBell->Ring();
    return bSent;
}

bool ZLineChannel::SendQueued()
{
    size_t nSent = 0;
    while (nSent < m_sQueued.size())
    {
        const ssize_t n = ::send(m_nSocket, m_sQueued.data() + nSent, m_sQueued.size() - nSent, MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return false;
        nSent += static_cast<size_t>(n);
    }
    m_sQueued.clear();
    return true;
}

bool ZLineChannel::Next(std::string& sLine)
{
    const size_t nEnd = m_sReceived.find('\n', std::max(m_nSearched, m_nTaken));
    if (nEnd == std::string::npos)
    {
        m_sReceived.erase(0, m_nTaken);
        m_nTaken = 0;
        m_nSearched = m_sReceived.size();
        return false;
    }
    sLine.assign(m_sReceived, m_nTaken, nEnd - m_nTaken);
    m_nTaken = m_nSearched = nEnd + 1;
    return true;
}

bool ZLineChannel::Take(int nFlags)
{
    char buffer[65536];
    while (true)
    {
        const ssize_t n = ::recv(m_nSocket, buffer, sizeof buffer, nFlags);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK);
        m_sReceived.append(buffer, static_cast<size_t>(n));
        if (m_sReceived.size() - m_nTaken > LONGEST_LINE)
            return false;
        // Less than there was room for is all that there was.
        if (static_cast<size_t>(n) < sizeof buffer)
            return true;
        nFlags |= MSG_DONTWAIT;
    }
}

bool ZLineChannel::Collect()
{
    return Take(MSG_DONTWAIT);
}

bool ZLineChannel::Receive(std::string& sLine)
{
    while (!Next(sLine))
        if (!Take(0))
            return Next(sLine);
    return true;
}

bool WaitForLines(std::span<SLineWait> waits, const ZBell& bell, int nMilliseconds)
{
    std::vector<struct pollfd> sockets;
    // Whatever is asked for, the end of the other side is told.
    for (const SLineWait& wait : waits)
        sockets.push_back({wait.pChannel->m_nSocket, static_cast<short>(wait.bQuiet ? 0 : POLLIN), 0});
    // One that is not there is passed over.
    sockets.push_back({bell.Event(), POLLIN, 0});
    const int nReady = ::poll(sockets.data(), sockets.size(), nMilliseconds);
    const bool bRung = nReady > 0 && sockets.back().revents != 0;
    if (bRung)
        bell.Silence();
    for (size_t n = 0; n < waits.size(); ++n)
        waits[n].bReady = nReady > 0 && (sockets[n].revents != 0 || (bRung && waits[n].bQuiet));
    return nReady > 0;
}

} // namespace Os
