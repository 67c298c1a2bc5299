#pragma once

#include "os/filestamp.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <system_error>

namespace Os
{

/// A regular file that is read from its start; not handed on to programs that this one starts. Opening never waits,
/// as a named pipe would have it do.
class ZInputFile
{
public:
    ZInputFile() = default;
    ~ZInputFile() { Close(); }
    ZInputFile(const ZInputFile&) = delete;
    ZInputFile& operator=(const ZInputFile&) = delete;

    /// An error, "is a directory" among them, or none. Anything else that is no file: no error, and not IsOpen().
    std::error_code Open(const std::string& sPath);
    bool IsOpen() const { return m_nFile >= 0; }
    /// When it was opened.
    const SFileStamp& Stamp() const { return m_stamp; }
    uint64_t Size() const { return m_stamp.nSize; }
    /// As many bytes as there are, up to nCount; fewer at the end, and at an error, which is told.
    size_t Read(void* pBuffer, size_t nCount, std::error_code& error);
    void Close();

private:
    friend class ZMappedFile;

    int m_nFile = -1;
    SFileStamp m_stamp;
};

/// A file that is written from its start, instead of one that was there.
class ZNewFile
{
public:
    ZNewFile() = default;
    ~ZNewFile() { Close(); }
    ZNewFile(const ZNewFile&) = delete;
    ZNewFile& operator=(const ZNewFile&) = delete;

    std::error_code Open(const std::string& sPath);
    bool IsOpen() const { return m_nFile >= 0; }
    std::error_code Write(const void* pBytes, size_t nCount);
    /// As it is now.
    SFileStamp Stamp() const { return StampOfOpen(m_nFile); }
    std::error_code Close();

private:
    int m_nFile = -1;
};

/// Sees to it that a file's content stands on the disk.
std::error_code FlushFile(const std::string& sPath);
/// The same for all files of the disk that a folder stands on, whoever wrote them.
std::error_code FlushDisk(const std::string& sFolder);
/// In one step, instead of a file that stands there.
std::error_code RenameFile(const std::string& sFrom, const std::string& sTo);
/// One that is not there is none to complain about.
std::error_code RemoveFile(const std::string& sPath);
/// A new folder, empty and nobody else's, below the system's folder for such.
std::error_code MakeTemporaryFolder(std::string& sPath);
/// False when it is none, or anything is in it.
bool RemoveEmptyFolder(const std::string& sPath);
/// How many files this process may have open.
uint64_t MostOpenFiles();
/// For lack of room in the table of open files, which closing some cures.
bool IsOutOfFiles(const std::error_code& error);

} // namespace Os
