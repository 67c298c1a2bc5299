#include "os/files.h"

#include "os/errors.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace Os
{

std::error_code ZInputFile::Open(const std::string& sPath)
{
    Close();
    m_nFile = ::open(sPath.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (m_nFile < 0)
        return LastError();
    m_stamp = StampOfOpen(m_nFile);
    if (m_stamp.bExists)
        return {};
    struct stat status
    {
    };
    const bool bFolder = ::fstat(m_nFile, &status) == 0 && S_ISDIR(status.st_mode);
    Close();
    return bFolder ? std::make_error_code(std::errc::is_a_directory) : std::error_code();
}

size_t ZInputFile::Read(void* pBuffer, size_t nCount, std::error_code& error)
{
    size_t nRead = 0;
    error.clear();
    while (nRead < nCount)
    {
        const ssize_t n = ::read(m_nFile, static_cast<char*>(pBuffer) + nRead, nCount - nRead);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            error = LastError();
        if (n <= 0)
            break;
        nRead += static_cast<size_t>(n);
    }
    return nRead;
}

void ZInputFile::Close()
{
    if (m_nFile >= 0)
        ::close(std::exchange(m_nFile, -1));
    m_stamp = {};
}

std::error_code ZNewFile::Open(const std::string& sPath)
{
    Close();
    m_nFile = ::open(sPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    return m_nFile < 0 ? LastError() : std::error_code();
}

std::error_code ZNewFile::Write(const void* pBytes, size_t nCount)
{
    const auto* p = static_cast<const char*>(pBytes);
    while (nCount != 0)
    {
        const ssize_t nWritten = ::write(m_nFile, p, nCount);
        if (nWritten < 0 && errno == EINTR)
            continue;
        if (nWritten < 0)
            return LastError();
        p += nWritten;
        nCount -= static_cast<size_t>(nWritten);
    }
    return {};
}

std::error_code ZNewFile::Close()
{
    if (m_nFile < 0 || ::close(std::exchange(m_nFile, -1)) == 0)
        return {};
    return LastError();
}

std::error_code FlushFile(const std::string& sPath)
{
    const int nFile = ::open(sPath.c_str(), O_RDONLY | O_CLOEXEC);
    if (nFile < 0)
        return LastError();
    const std::error_code error = ::fdatasync(nFile) != 0 ? LastError() : std::error_code();
    ::close(nFile);
    return error;
}

std::error_code FlushDisk(const std::string& sFolder)
{
    const int nFolder = ::open(sFolder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (nFolder < 0)
        return LastError();
    const std::error_code error = ::syncfs(nFolder) != 0 ? LastError() : std::error_code();
    ::close(nFolder);
    return error;
}

std::error_code RenameFile(const std::string& sFrom, const std::string& sTo)
{
    return std::rename(sFrom.c_str(), sTo.c_str()) != 0 ? LastError() : std::error_code();
}

std::error_code RemoveFile(const std::string& sPath)
{
    return ::unlink(sPath.c_str()) != 0 && errno != ENOENT ? LastError() : std::error_code();
}

std::error_code MakeTemporaryFolder(std::string& sPath)
{
    std::error_code error;
    const std::filesystem::path place = std::filesystem::temp_directory_path(error);
    if (error)
        return error;
    sPath = (place / "animpack-XXXXXX").string();
    return ::mkdtemp(sPath.data()) != nullptr ? std::error_code() : LastError();
}

bool RemoveEmptyFolder(const std::string& sPath)
{
    return ::rmdir(sPath.c_str()) == 0;
}

uint64_t MostOpenFiles()
{
    struct rlimit limit
    {
    };
    return ::getrlimit(RLIMIT_NOFILE, &limit) == 0 ? limit.rlim_cur : 1024;
}

bool IsOutOfFiles(const std::error_code& error)
{
    return error == std::errc::too_many_files_open || error == std::errc::too_many_files_open_in_system;
}

} // namespace Os
