#include "host/state/outputlock.h"

#include "host/text/hosterror.h"

#include <filesystem>

namespace Host
{

namespace
{

constexpr const char LOCK_FILE[] = "/animpack.lock";

} // namespace

ZOutputLock::ZOutputLock(const std::string& sOut, const std::function<void(const std::string&)>& notice,
                         Os::ZFileLock::EKind eKind)
{
    const std::string sHint = "choose a folder that can be written to with --out";
    std::error_code error;
    std::filesystem::create_directories(sOut, error);
    if (error)
        throw ZHostError("the output folder '" + sOut + "' can't be made: " + error.message(), sHint);
    error = m_lock.Open(sOut + LOCK_FILE);
    if (error)
        throw ZHostError("the output folder '" + sOut + "' can't be written to: " + error.message(), sHint);
    if (!m_lock.TryLock(eKind))
    {
        notice("waiting for another run that writes to '" + sOut + "'");
        if (const std::error_code failure = m_lock.Lock(eKind))
            throw ZHostError("the output folder '" + sOut + "' can't be locked: " + failure.message());
    }
    m_bHeld = true;
}

ZOutputLock::ZOutputLock(const std::string& sOut)
{
    m_bHeld = !m_lock.Open(sOut + LOCK_FILE) && m_lock.TryLock();
}

} // namespace Host
