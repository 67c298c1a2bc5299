#include "os/filestamp.h"

#include "os/errors.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Os
{

namespace
{

int64_t Nanoseconds(const timespec& time)
{
    return int64_t{time.tv_sec} * 1000000000 + time.tv_nsec;
}

SFileStamp StampOf(const struct stat& status)
{
    if (!S_ISREG(status.st_mode))
        return {};
    return {true, static_cast<uint64_t>(status.st_size), Nanoseconds(status.st_mtim)};
}

} // namespace

SFileStamp StampOf(const std::string& sPath)
{
    struct stat status
    {
    };
    return ::stat(sPath.c_str(), &status) == 0 ? StampOf(status) : SFileStamp();
}

SFileStamp StampOfOpen(int nFile)
{
    struct stat status
    {
    };
    return ::fstat(nFile, &status) == 0 ? StampOf(status) : SFileStamp();
}

bool IdentityOf(const std::string& sPath, SFileIdentity& identity)
{
    struct stat status
    {
    };
    if (::stat(sPath.c_str(), &status) != 0)
        return false;
    identity = {status.st_dev, status.st_ino, static_cast<uint64_t>(status.st_size), Nanoseconds(status.st_mtim),
                Nanoseconds(status.st_ctim)};
    return true;
}

bool IsStandardStream(const std::string& sPath)
{
    struct stat file
    {
    };
    if (::stat(sPath.c_str(), &file) != 0)
        return false;
    for (const int nStream : {STDOUT_FILENO, STDERR_FILENO})
    {
        struct stat stream
        {
        };
        if (::fstat(nStream, &stream) == 0 && stream.st_dev == file.st_dev && stream.st_ino == file.st_ino)
            return true;
    }
    return false;
}

std::error_code WhyNotEntered(const std::string& sFolder)
{
    return ::faccessat(AT_FDCWD, sFolder.c_str(), X_OK, AT_EACCESS) != 0 ? LastError() : std::error_code();
}

bool IsWritable(const std::string& sPath)
{
    return ::access(sPath.c_str(), W_OK) == 0;
}

} // namespace Os
