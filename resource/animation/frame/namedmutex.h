#pragma once

#include "base/misc/zstring.h"

#include <memory>

namespace Os
{
class ZSharedMutex;
}

/// A mutex that processes share by name. The thread that holds it may lock it again. When its holder dies, the next one
/// to lock it gets it.
class ZNamedMutex
{
public:
    /// Makes the mutex or opens the one of that name; does not lock it. Assertion: "m_mutexHandle != NULL".
    explicit ZNamedMutex(const ZString& name);
    ZNamedMutex(const ZNamedMutex&) = delete;
    ZNamedMutex& operator=(const ZNamedMutex&) = delete;
    /// Releases the mutex, whether or not this object holds it (a release by another thread than the holder's does
    /// nothing), and closes it.
    ~ZNamedMutex();

    /// Waits without a time limit. A failed wait is traced and raises zhalt_exception.
    void Lock();

private:
    std::unique_ptr<Os::ZSharedMutex> m_mutexHandle;
    ZString m_name;
};
