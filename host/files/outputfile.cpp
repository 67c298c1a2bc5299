#include "host/files/outputfile.h"

#include "base/component/componentbase.h"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <system_error>
#include <thread>
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
    explicit ZFileInputStream(const std::string& sPath) { m_file.Open(sPath); }

    bool IsOpen() const override { return m_file.IsOpen(); }
    size_t GetSize() const override { return static_cast<size_t>(m_file.Size()); }
    size_t Read(void* pBuffer, size_t nSize) override
    {
        std::error_code error;
        return m_file.Read(pBuffer, nSize, error);
    }

private:
    Os::ZInputFile m_file;
};

/// Flushed and renamed, or removed.
std::string PublishFile(const SPublication& file)
{
    std::string sWhat = "cannot flush";
    std::error_code error = Os::FlushFile(file.sPassingPath);
    if (!error)
    {
        sWhat = "cannot rename to";
        error = Os::RenameFile(file.sPassingPath, file.sPath);
    }
    if (!error)
        return {};
    Os::RemoveFile(file.sPassingPath);
    return sWhat + " '" + file.sPath + "': " + error.message();
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

bool ZOutputFile::Fail(const std::string& sWhat, const std::error_code& error)
{
    if (m_sError.empty())
        m_sError = sWhat + " '" + m_sPath + "': " + error.message();
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
    m_sPassingPath = folder.string() + '/' + std::string(PASSING_START) + std::to_string(Os::OwnProcess()) + '-' +
                     std::to_string(s_nNext++) + std::string(PASSING_END);
    error = m_file.Open(m_sPassingPath);
    return !error || Fail("cannot write", error);
}

bool ZOutputFile::Write(const void* pBytes, size_t nCount)
{
    if (!m_file.IsOpen() || !m_sError.empty())
        return false;
    m_hash.Add(pBytes, nCount);
    const std::error_code error = m_file.Write(pBytes, nCount);
    return !error || Fail("cannot write", error);
}

void ZOutputFile::Close()
{
    if (!m_file.IsOpen())
        return;
    if (const std::error_code error = m_file.Close())
        Fail("cannot close", error);
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

bool ZOutputFile::Release(Os::TProcessId nProcess, SPublication& publication)
{
    Close();
    if (!IsComplete())
        return false;
    publication.sPath = m_sPath;
    publication.sPassingPath = m_sPassingPath;
    const std::string sStart = std::string(PASSING_START) + std::to_string(nProcess) + '-';
    publication.sPassingPath.replace(m_sPassingPath.rfind(PASSING_START), PASSING_START.size(), sStart);
    if (const std::error_code error = Os::RenameFile(m_sPassingPath, publication.sPassingPath))
        return Fail("cannot write", error);
    m_sPassingPath.clear();
    return true;
}

void ZOutputFile::Discard()
{
    m_file.Close();
    if (!m_sPassingPath.empty())
        Os::RemoveFile(m_sPassingPath);
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
            Os::RemoveFile(entry->path().string());
    }
}

void RemovePassingFilesBeside(const std::string& sPath, Os::TProcessId nProcess)
{
    const std::string sStart = std::string(PASSING_START) + std::to_string(nProcess) + '-';
    std::error_code error;
    for (fs::directory_iterator entry(fs::path(sPath).parent_path(), error), end; !error && entry != end;
         entry.increment(error))
        if (entry->path().filename().string().starts_with(sStart))
            Os::RemoveFile(entry->path().string());
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
