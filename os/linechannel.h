#pragma once

#include <cstddef>
#include <span>
#include <string>

namespace Os
{

/// Lines of text over a connected socket, in both directions. A line holds no line feed.
class ZLineChannel
{
public:
    explicit ZLineChannel(int nSocket) : m_nSocket(nSocket) {}
    ZLineChannel(const ZLineChannel&) = delete;
    ZLineChannel& operator=(const ZLineChannel&) = delete;
    ~ZLineChannel();

    /// Ends this side; the other one sees it gone.
    void Close();

    /// False when the other side is gone.
    bool Send(const std::string& sLine);
    /// Goes with the next line that is sent.
    void Queue(const std::string& sLine) { (m_sQueued += sLine) += '\n'; }
    bool HasQueued() const { return !m_sQueued.empty(); }
    bool SendQueued();
    /// The next line; waits for it. False when the other side is gone.
    bool Receive(std::string& sLine);

    /// Takes what has arrived, without waiting. False when the other side is gone, or sends a line without end.
    bool Collect();
    /// A line that was collected.
    bool Next(std::string& sLine);

    static constexpr size_t LONGEST_LINE = size_t(256) << 20;

private:
    friend bool WaitForLines(std::span<ZLineChannel* const> channels, int nMilliseconds, std::span<bool> isReady);

    bool Take(int nFlags);

    int m_nSocket;
    std::string m_sQueued;
    std::string m_sReceived;
    size_t m_nTaken = 0;    ///< of m_sReceived
    size_t m_nSearched = 0; ///< without a line feed found
};

/// Waits until something has arrived on one of the channels, or its other side is gone, and tells on which. False when
/// the time has passed without that.
bool WaitForLines(std::span<ZLineChannel* const> channels, int nMilliseconds, std::span<bool> isReady);

} // namespace Os
