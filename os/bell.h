#pragma once

namespace Os
{

/// Shared by a process and its copies: rung in one of them, it wakes the one that waits. Where the system has none to
/// give, it is never there, and who waits has to be woken otherwise.
class ZBell
{
public:
    ZBell();
    ~ZBell();
    ZBell(const ZBell&) = delete;
    ZBell& operator=(const ZBell&) = delete;

    bool IsThere() const { return m_nEvent >= 0; }
    void Ring() const;
    /// As if it had not been rung.
    void Silence() const;

    /// For the calls of this library that wait.
    int Event() const { return m_nEvent; }

private:
    int m_nEvent;
};

} // namespace Os
