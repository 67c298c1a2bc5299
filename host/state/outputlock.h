#pragma once

#include "os/filelock.h"

#include <functional>
#include <string>

namespace Host
{

/// Keeps other runs of this program out of an output folder.
class ZOutputLock
{
public:
    /// Makes the folder and waits for a run that is at work there, with a notice. ZHostError when the folder can't be
    /// made or written to.
    ZOutputLock(const std::string& sOut, const std::function<void(const std::string&)>& notice,
                Os::ZFileLock::EKind eKind = Os::ZFileLock::EKind::eAlone);
    /// Takes the lock if the folder is there and nobody is at work in it.
    explicit ZOutputLock(const std::string& sOut);
    ZOutputLock(const ZOutputLock&) = delete;
    ZOutputLock& operator=(const ZOutputLock&) = delete;

    bool IsHeld() const { return m_bHeld; }

private:
    Os::ZFileLock m_lock;
    bool m_bHeld = false;
};

} // namespace Host
