#include "os/filelock.h"

#include "os/errors.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace Os
{

ZFileLock::~ZFileLock()
{
    if (m_nFile >= 0)
        ::close(m_nFile);
}

std::error_code ZFileLock::Open(const std::string& sPath)
{
    m_nFile = ::open(sPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    return m_nFile < 0 ? LastError() : std::error_code();
}

bool ZFileLock::TryLock(EKind eKind)
{
    return m_nFile >= 0 && ::flock(m_nFile, (eKind == EKind::eAlone ? LOCK_EX : LOCK_SH) | LOCK_NB) == 0;
}

std::error_code ZFileLock::Lock(EKind eKind)
{
    while (::flock(m_nFile, eKind == EKind::eAlone ? LOCK_EX : LOCK_SH) != 0)
        if (errno != EINTR)
            return LastError();
    return {};
}

} // namespace Os
