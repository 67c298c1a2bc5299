#pragma once

#include <cstdint>
#include <string>

namespace Os
{

/// A mutex that processes of one user share by a name of at most 200 plain characters. The thread that holds it may
/// lock it again. When its holder dies, the next one to lock it gets it.
class ZSharedMutex
{
public:
    /// Makes the mutex or opens the one of that name; does not lock it.
    explicit ZSharedMutex(const std::string& sName);
    ~ZSharedMutex();
    ZSharedMutex(const ZSharedMutex&) = delete;
    ZSharedMutex& operator=(const ZSharedMutex&) = delete;

    bool IsOpen() const { return m_pShared != nullptr; }
    /// Waits without a time limit; 0, or the system's number of the error.
    int Lock();
    /// By another thread than the holder's: does nothing.
    void Unlock();

private:
    void* m_pShared;
};

/// Keeps the users of a machine apart in names that all of them see.
uint32_t UserNumber();

} // namespace Os
