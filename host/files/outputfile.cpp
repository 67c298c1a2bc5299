#include "host/files/outputfile.h"

#include "base/component/componentbase.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

namespace Host
{

namespace fs = std::filesystem;

namespace
{

constexpr std::string_view PASSING_START = ".animpack-";
constexpr std::string_view PASSING_END = ".part";
constexpr size_t MOST_FLUSHES = 16; ///< under way at the same time

class ZFileOutputStream final : public TCountedComponent<ZFileOutputStream, IOutputStream>
{
public:
    explicit ZFileOutputStream(ZOutputFile& file) : m_file(file) {}
    ~ZFileOutputStream() override { m_file.Close(); }

    bool IsOpen() const override { return m_file.IsOpen(); }
    size_t Write(const void* pBuffer, size_t nSize) override { return m_file.Write(pBuffer, nSize) ? nSize : 0; }

private:
    ZOutputFile& m_file;
};

class ZFileInputStream final : public TCountedComponent<ZFileInputStream, IInputStream>
{
public:
    explicit ZFileInputStream(const std::string& sPath) : m_pFile(std::fopen(sPath.c_str(), "rbe"))
    {
        struct stat status
        {
        };
        if (m_pFile != nullptr && (::fstat(fileno(m_pFile), &status) != 0 || !S_ISREG(status.st_mode)))
        {
            std::fclose(m_pFile);
            m_pFile = nullptr;
        }
        m_nSize = m_pFile != nullptr ? static_cast<size_t>(status.st_size) : 0;
    }
    ~ZFileInputStream() override
    {
        if (m_pFile != nullptr)
            std::fclose(m_pFile);
    }

    bool IsOpen() const override { return m_pFile != nullptr; }
    size_t GetSize() const override { return m_nSize; }
    size_t Read(void* pBuffer, size_t nSize) override
    {
        return m_pFile != nullptr ? std::fread(pBuffer, 1, nSize, m_pFile) : 0;
    }

private:
    std::FILE* m_pFile;
    size_t m_nSize;
};

/// Flushed and renamed, or removed.
std::string PublishFile(const SPublication& file)
{
    std::string sError;
    const auto fail = [&](const char* szWhat)
    { sError = std::string(szWhat) + " '" + file.sPath + "': " + std::strerror(errno); };
    const int nFile = ::open(file.sPassingPath.c_str(), O_RDONLY | O_CLOEXEC);
    if (nFile < 0 || ::fdatasync(nFile) != 0)
        fail("cannot flush");
    if (nFile >= 0)
        ::close(nFile);
    if (sError.empty() && ::rename(file.sPassingPath.c_str(), file.sPath.c_str()) != 0)
        fail("cannot rename to");
    if (!sError.empty())
        ::unlink(file.sPassingPath.c_str());
    return sError;
}

} // namespace

std::vector<std::string> PublishFiles(const std::vector<SPublication>& files)
{
    std::vector<std::string> errors(files.size());
    std::atomic<size_t> nNext{0};
    const auto work = [&]
    {
        for (size_t n = nNext++; n < files.size(); n = nNext++)
            errors[n] = PublishFile(files[n]);
    };
    std::vector<std::thread> threads;
    try
    {
        for (size_t n = 1; n < std::min(files.size(), MOST_FLUSHES); ++n)
            threads.emplace_back(work);
    }
    catch (const std::system_error&)
    {
        // Fewer will do.
    }
    work();
    for (std::thread& thread : threads)
        thread.join();
    return errors;
}

bool ZOutputFile::Fail(const std::string& sWhat)
{
    if (m_sError.empty())
        m_sError = sWhat + " '" + m_sPath + "': " + std::strerror(errno);
    return false;
}

bool ZOutputFile::Open(const std::string& sPath)
{
    static std::atomic<unsigned int> s_nNext{0};
    Discard();
    m_sPath = sPath;
    m_sError.clear();
    m_bClosed = false;
    m_hash = {};
    const fs::path folder = fs::path(sPath).parent_path();
    std::error_code error;
    fs::create_directories(folder, error);
    if (error)
    {
        m_sError = "cannot make the folder '" + folder.string() + "': " + error.message();
        return false;
    }
    m_sPassingPath = folder.string() + '/' + std::string(PASSING_START) + std::to_string(::getpid()) + '-' +
                     std::to_string(s_nNext++) + std::string(PASSING_END);
    m_nFile = ::open(m_sPassingPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    return m_nFile >= 0 || Fail("cannot write");
}

bool ZOutputFile::Write(const void* pBytes, size_t nCount)
{
    const auto* p = static_cast<const char*>(pBytes);
    if (m_nFile < 0 || !m_sError.empty())
        return false;
    m_hash.Add(pBytes, nCount);
    while (nCount != 0)
    {
        const ssize_t nWritten = ::write(m_nFile, p, nCount);
        if (nWritten < 0 && errno == EINTR)
            continue;
        if (nWritten < 0)
            return Fail("cannot write");
        p += nWritten;
        nCount -= static_cast<size_t>(nWritten);
    }
    return true;
}

void ZOutputFile::Close()
{
    if (m_nFile < 0)
        return;
    if (::close(m_nFile) != 0)
        Fail("cannot close");
    m_nFile = -1;
    m_bClosed = true;
}

bool ZOutputFile::Publish()
{
    Close();
    if (!IsComplete())
        return false;
    m_sError = PublishFiles({{std::exchange(m_sPassingPath, {}), m_sPath}}).front();
    return m_sError.empty();
}

bool ZOutputFile::Release(pid_t nProcess, SPublication& publication)
{
    Close();
    if (!IsComplete())
        return false;
    publication.sPath = m_sPath;
    publication.sPassingPath = m_sPassingPath;
    const std::string sStart = std::string(PASSING_START) + std::to_string(nProcess) + '-';
    publication.sPassingPath.replace(m_sPassingPath.rfind(PASSING_START), PASSING_START.size(), sStart);
    if (::rename(m_sPassingPath.c_str(), publication.sPassingPath.c_str()) != 0)
        return Fail("cannot write");
    m_sPassingPath.clear();
    return true;
}

void ZOutputFile::Discard()
{
    if (m_nFile >= 0)
        ::close(m_nFile);
    m_nFile = -1;
    if (!m_sPassingPath.empty())
        ::unlink(m_sPassingPath.c_str());
    m_sPassingPath.clear();
}

bool IsPassingName(std::string_view name)
{
    return name.starts_with(PASSING_START) && name.ends_with(PASSING_END);
}

void RemovePassingFiles(const std::string& sFolder)
{
    std::error_code error;
    for (fs::recursive_directory_iterator entry(sFolder, error), end; !error && entry != end; entry.increment(error))
    {
        if (IsPassingName(entry->path().filename().string()))
            ::unlink(entry->path().c_str());
    }
}

void RemovePassingFilesBeside(const std::string& sPath, pid_t nProcess)
{
    const std::string sStart = std::string(PASSING_START) + std::to_string(nProcess) + '-';
    std::error_code error;
    for (fs::directory_iterator entry(fs::path(sPath).parent_path(), error), end; !error && entry != end;
         entry.increment(error))
        if (entry->path().filename().string().starts_with(sStart))
            ::unlink(entry->path().c_str());
}

IOutputStream* CreateFileOutputStream(ZOutputFile& file)
{
    return new ZFileOutputStream(file);
}

IInputStream* OpenFileInputStream(const std::string& sPath)
{
    auto* pStream = new ZFileInputStream(sPath);
    if (pStream->IsOpen())
        return pStream;
    pStream->Release();
    return nullptr;
}

} // namespace Host
