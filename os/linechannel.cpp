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
    const std::string sText = sLine + '\n';
    size_t nSent = 0;
    while (nSent < sText.size())
    {
        const ssize_t n = ::send(m_nSocket, sText.data() + nSent, sText.size() - nSent, MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return false;
        nSent += static_cast<size_t>(n);
    }
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

bool ZLineChannel::Collect()
{
    char buffer[65536];
    while (true)
    {
        const ssize_t n = ::recv(m_nSocket, buffer, sizeof buffer, MSG_DONTWAIT);
        if (n > 0)
            m_sReceived.append(buffer, static_cast<size_t>(n));
        if (m_sReceived.size() - m_nTaken > LONGEST_LINE)
            return false;
        if (n > 0 || (n < 0 && errno == EINTR))
            continue;
        return n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK);
    }
}

bool ZLineChannel::Receive(std::string& sLine)
{
    while (!Next(sLine))
    {
        struct pollfd ready = {m_nSocket, POLLIN, 0};
        if (::poll(&ready, 1, -1) < 0 && errno != EINTR)
            return false;
        if (ready.revents != 0 && !Collect())
            return Next(sLine);
    }
    return true;
}

bool WaitForLines(std::span<ZLineChannel* const> channels, int nMilliseconds, std::span<bool> isReady)
{
    std::vector<struct pollfd> sockets;
    for (const ZLineChannel* pChannel : channels)
        sockets.push_back({pChannel->m_nSocket, POLLIN, 0});
    const int nReady = ::poll(sockets.data(), sockets.size(), nMilliseconds);
    for (size_t n = 0; n < sockets.size(); ++n)
        isReady[n] = nReady > 0 && sockets[n].revents != 0;
    return nReady > 0;
}

} // namespace Os
