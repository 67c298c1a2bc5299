#pragma once

#include <string>
#include <system_error>

namespace Os
{

/// A lock that processes share by the name of a file, which is made and stays. Ends with the object, and with the
/// process however that ends.
class ZFileLock
{
public:
    ZFileLock() = default;
    ~ZFileLock();
    ZFileLock(const ZFileLock&) = delete;
    ZFileLock& operator=(const ZFileLock&) = delete;

    std::error_code Open(const std::string& sPath);
    /// Shared among those that ask for it so, and nobody else's.
    enum class EKind
    {
        eAlone,
        eShared
    };
    /// False when another has it, or the file is not open.
    bool TryLock(EKind eKind = EKind::eAlone);
    /// Waits.
    std::error_code Lock(EKind eKind = EKind::eAlone);

private:
    int m_nFile = -1;
};

} // namespace Os
