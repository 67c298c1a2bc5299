#include "host/files/outputfile.h"

#include "base/component/componentbase.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <set>
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
constexpr size_t MOST_FLUSHES = 16;    ///< under way at the same time
constexpr size_t FLUSHED_TOGETHER = 8; ///< from so many files on
constexpr auto LONGEST_FLUSH = std::chrono::milliseconds(300);
constexpr auto ALONE = std::chrono::milliseconds(2);
constexpr size_t COLLECTED = size_t(1) << 20;
constexpr size_t READ_AHEAD = size_t(64) << 10;

/// Several machines may write to one disk, and their processes have the same numbers.
std::string PassingStartOf(Os::TProcessId nProcess)
{
    static const uint64_t s_nMachine = ZContentHash::Of(Os::MachineName()) & 0xffffffffu;
    return std::string(PASSING_START) + std::to_string(s_nMachine) + '-' + std::to_string(nProcess) + '-';
}

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
    ZFileInputStream(const std::string& sPath, std::error_code& error) { error = m_file.Open(sPath); }

    bool IsOpen() const override { return m_file.IsOpen(); }
    size_t GetSize() const override { return static_cast<size_t>(m_file.Size()); }
    /// Packed files are read in small pieces, scenes in large ones.
    size_t Read(void* pBuffer, size_t nSize) override
    {
        auto* p = static_cast<char*>(pBuffer);
        size_t nRead = 0;
        std::error_code error;
        while (nRead < nSize)
        {
            if (m_nTaken == m_ahead.size())
            {
                if (nSize - nRead >= READ_AHEAD)
                    return nRead + m_file.Read(p + nRead, nSize - nRead, error);
                m_ahead.resize(std::min<uint64_t>(READ_AHEAD, m_file.Size()));
                m_ahead.resize(m_file.Read(m_ahead.data(), m_ahead.size(), error));
                m_nTaken = 0;
                if (m_ahead.empty())
                    break;
            }
            const size_t n = std::min(nSize - nRead, m_ahead.size() - m_nTaken);
            std::memcpy(p + nRead, m_ahead.data() + m_nTaken, n);
            m_nTaken += n;
            nRead += n;
        }
        return nRead;
    }
    const SFileStamp& Stamp() const { return m_file.Stamp(); }

private:
    Os::ZInputFile m_file;
    std::vector<char> m_ahead;
    size_t m_nTaken = 0;
};

/// Flushes all files at once where that is quick: the disk writes small ones that stand side by side in one go. False
/// when each has to be flushed for itself.
bool FlushTogether(const std::vector<SPublication>& files)
{
    using TClock = std::chrono::steady_clock;
    // Others may write to the disk too, and far more than is worth waiting for; once is enough to learn that.
    static bool s_bQuick = true;
    if (!s_bQuick || files.size() < FLUSHED_TOGETHER)
        return false;
    std::set<std::string> folders;
    for (const SPublication& file : files)
        folders.insert(file.sPath.substr(0, file.sPath.rfind('/')));
    std::set<uint64_t> disks;
    const auto start = TClock::now();
    for (const std::string& sFolder : folders)
    {
        Os::SFileIdentity identity;
        if (!Os::IdentityOf(sFolder, identity))
            return false;
        if (disks.insert(identity.nDevice).second && Os::FlushDisk(sFolder))
            return false;
    }
    s_bQuick = TClock::now() - start < LONGEST_FLUSH;
    return true;
}

/// Flushed and renamed, or removed. False when that needs a file more than this process may have open now.
bool PublishFile(const SPublication& file, bool bFlushed, std::string& sError)
{
    std::string sWhat = "cannot flush";
    std::error_code error = bFlushed ? std::error_code() : Os::FlushFile(file.sPassingPath);
    if (Os::IsOutOfFiles(error))
        return false;
    if (!error)
    {
        sWhat = "cannot rename to";
        error = Os::RenameFile(file.sPassingPath, file.sPath);
    }
    if (!error)
        return true;
    Os::RemoveFile(file.sPassingPath);
    sError = sWhat + " '" + file.sPath + "': " + error.message();
    return true;
}

} // namespace

std::vector<std::string> PublishFiles(const std::vector<SPublication>& files)
{
    std::vector<std::string> errors(files.size());
    std::vector<char> isDone(files.size(), 0);
    const bool bFlushed = FlushTogether(files);
    std::atomic<size_t> nNext{0};
    const auto work = [&](std::chrono::milliseconds most)
    {
        const auto start = std::chrono::steady_clock::now();
        for (size_t n = nNext++; n < files.size(); n = nNext++)
        {
            isDone[n] = PublishFile(files[n], bFlushed, errors[n]);
            if (std::chrono::steady_clock::now() - start > most)
                break;
        }
    };
    // Names are changed quickly, but where a disk takes its time over each file that one replaces.
    if (bFlushed)
        work(ALONE);
    std::vector<std::thread> threads;
    const auto toEnd = [&work] { work(std::chrono::hours(1000)); };
    try
    {
        const size_t nLeft = files.size() - std::min<size_t>(nNext, files.size());
        for (size_t n = 1; n < std::min(nLeft, MOST_FLUSHES); ++n)
            threads.emplace_back(toEnd);
    }
    catch (const std::system_error&)
    {
        // Fewer will do.
    }
    toEnd();
    for (std::thread& thread : threads)
        thread.join();
    for (size_t n = 0; n < files.size(); ++n)
        if (isDone[n] == 0 && !PublishFile(files[n], false, errors[n]))
        {
            Os::RemoveFile(files[n].sPassingPath);
            errors[n] = "cannot flush '" + files[n].sPath + "': too many files are open";
        }
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
    m_stamp = {};
    const std::string sFolder = fs::path(sPath).parent_path().string();
    m_sPassingPath =
        sFolder + '/' + PassingStartOf(Os::OwnProcess()) + std::to_string(s_nNext++) + std::string(PASSING_END);
    m_interrupt.Remember(m_sPassingPath);
    std::error_code error = m_file.Open(m_sPassingPath);
    if (error == std::errc::no_such_file_or_directory)
    {
        // The first file of a folder finds that there is none yet.
        fs::create_directories(sFolder, error);
        if (error)
        {
            m_sError = "cannot make the folder '" + sFolder + "': " + error.message();
            return false;
        }
        error = m_file.Open(m_sPassingPath);
    }
    return !error || Fail("cannot write", error);
}

bool ZOutputFile::Write(const void* pBytes, size_t nCount)
{
    if (!m_file.IsOpen() || !m_sError.empty())
        return false;
    m_hash.Add(pBytes, nCount);
    m_collected.append(static_cast<const char*>(pBytes), nCount);
    return m_collected.size() < COLLECTED || WriteCollected();
}

bool ZOutputFile::WriteCollected()
{
    const std::error_code error = m_file.Write(m_collected.data(), m_collected.size());
    m_collected.clear();
    return !error || Fail("cannot write", error);
}

void ZOutputFile::Close()
{
    if (!m_file.IsOpen())
        return;
    if (m_sError.empty())
        WriteCollected();
    m_stamp = m_file.Stamp();
    if (const std::error_code error = m_file.Close())
        Fail("cannot close", error);
    m_bClosed = true;
}

bool ZOutputFile::Publish()
{
    SPublication publication;
    if (!Release(publication))
        return false;
    m_interrupt.Remember(publication.sPassingPath);
    m_sError = PublishFiles({publication}).front();
    m_interrupt.Forget();
    return m_sError.empty();
}

bool ZOutputFile::Release(SPublication& publication)
{
    Close();
    if (!IsComplete())
        return false;
    publication = {std::exchange(m_sPassingPath, {}), m_sPath};
    m_interrupt.Forget();
    return true;
}

bool ZOutputFile::LeaveSame()
{
    Close();
    const SFileStamp there = StampOf(m_sPath);
    if (!IsComplete() || there.nSize != m_stamp.nSize || !there.bExists || ZFileHashes().Of(m_sPath, there) != Hash())
        return false;
    Discard();
    m_stamp = there;
    return true;
}

void ZOutputFile::Discard()
{
    m_collected.clear();
    m_file.Close();
    if (!m_sPassingPath.empty())
        Os::RemoveFile(m_sPassingPath);
    m_sPassingPath.clear();
    m_interrupt.Forget();
}

bool IsPassingName(std::string_view name)
{
    if (!name.starts_with(PASSING_START) || !name.ends_with(PASSING_END))
        return false;
    // Nothing but numbers, or it is somebody's own.
    name.remove_prefix(PASSING_START.size());
    name.remove_suffix(PASSING_END.size());
    return !name.empty() && name.find_first_not_of("0123456789-") == std::string_view::npos;
}

void RemovePassingFiles(const std::string& sFolder)
{
    // One folder open at a time: this may be the end of a run that had too many files open.
    std::vector<fs::path> pending{sFolder};
    while (!pending.empty())
    {
        std::error_code error, ignored;
        const fs::path folder = std::move(pending.back());
        pending.pop_back();
        for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
            if (entry->is_directory(ignored) && !entry->is_symlink(ignored))
                pending.push_back(entry->path());
            else if (IsPassingName(entry->path().filename().string()))
                Os::RemoveFile(entry->path().string());
    }
}

void RemovePassingFilesBeside(const std::string& sPath, Os::TProcessId nProcess,
                              const std::function<bool(const std::string& sPassingPath)>& isHandedOver)
{
    const std::string sStart = PassingStartOf(nProcess);
    std::error_code error;
    for (fs::directory_iterator entry(fs::path(sPath).parent_path(), error), end; !error && entry != end;
         entry.increment(error))
        if (entry->path().filename().string().starts_with(sStart) && !isHandedOver(entry->path().string()))
            Os::RemoveFile(entry->path().string());
}

IOutputStream* CreateFileOutputStream(ZOutputFile& file)
{
    return new ZFileOutputStream(file);
}

IInputStream* OpenFileInputStream(const std::string& sPath, SFileStamp* pStamp, std::error_code* pError)
{
    std::error_code error;
    auto* pStream = new ZFileInputStream(sPath, pError != nullptr ? *pError : error);
    if (pStamp != nullptr)
        *pStamp = pStream->Stamp();
    if (pStream->IsOpen())
        return pStream;
    pStream->Release();
    return nullptr;
}

} // namespace Host
