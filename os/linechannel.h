#pragma once

#include "os/bell.h"

#include <cstddef>
#include <span>
#include <string>

namespace Os
{

struct SLineWait;

/// Lines of text over a connected socket, in both directions. A line holds no line feed.
class ZLineChannel
{
public:
    /// The bell, if there is one, stays as long as the channel.
    explicit ZLineChannel(int nSocket, const ZBell* pBell = nullptr) : m_nSocket(nSocket), m_pBell(pBell) {}
    ZLineChannel(const ZLineChannel&) = delete;
    ZLineChannel& operator=(const ZLineChannel&) = delete;
    ~ZLineChannel();

    /// Ends this side; the other one sees it gone.
    void Close();

    /// Rings the bell, for a side that does not wait for every line. False when the other side is gone.
    bool Send(const std::string& sLine);
    /// Goes with the next line that is sent.
    void Queue(const std::string& sLine) { (m_sQueued += sLine) += '\n'; }
    bool HasQueued() const { return !m_sQueued.empty(); }
    /// Rings no bell: a side that does not wait for it finds it when it looks.
    bool SendQueued();
    /// The next line; waits for it. False when the other side is gone.
    bool Receive(std::string& sLine);

    /// Takes what has arrived, without waiting. False when the other side is gone, or sends a line without end.
    bool Collect();
    /// A line that was collected.
    bool Next(std::string& sLine);
    bool HasNext() const { return m_sReceived.find('\n', m_nTaken) != std::string::npos; }

    static constexpr size_t LONGEST_LINE = size_t(256) << 20;

private:
    friend bool WaitForLines(std::span<SLineWait> waits, const ZBell& bell, int nMilliseconds);

    bool Take(int nFlags);

    int m_nSocket;
    const ZBell* m_pBell;
    std::string m_sQueued;
    std::string m_sReceived;
    size_t m_nTaken = 0;    ///< of m_sReceived
    size_t m_nSearched = 0; ///< without a line feed found
};

struct SLineWait
{
    ZLineChannel* pChannel = nullptr;
    bool bQuiet = false; ///< its lines wake nobody, unless the bell is rung
    bool bReady = false; ///< something has arrived, or its other side is gone; of a quiet one it may be so
};

/// Waits until there is something on one of the channels, and tells on which. False when the time has passed without
/// that.
bool WaitForLines(std::span<SLineWait> waits, const ZBell& bell, int nMilliseconds);

} // namespace Os
