#include "host/outputfile.h"

#include "base/component/componentbase.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace Host
{

namespace fs = std::filesystem;

namespace
{

constexpr std::string_view PASSING_START = ".animpack-";
constexpr std::string_view PASSING_END = ".part";

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

} // namespace

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
    if (m_sError.empty() && ::fdatasync(m_nFile) != 0)
        Fail("cannot flush");
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
    if (::rename(m_sPassingPath.c_str(), m_sPath.c_str()) != 0)
        return Fail("cannot rename to");
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

void RemovePassingFiles(const std::string& sFolder)
{
    std::error_code error;
    for (fs::recursive_directory_iterator entry(sFolder, error), end; !error && entry != end; entry.increment(error))
    {
        const std::string sName = entry->path().filename().string();
        if (sName.starts_with(PASSING_START) && sName.ends_with(PASSING_END))
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
