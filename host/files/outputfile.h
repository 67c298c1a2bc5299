#pragma once

#include "host/files/contenthash.h"
#include "os/files.h"
#include "os/interrupt.h"
#include "os/process.h"
#include "system/io/streams.h"

#include <functional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace Host
{

/// A file that was written under a passing name, and where it is to stand.
struct SPublication
{
    std::string sPassingPath;
    std::string sPath;
};
/// Flushes and renames complete files, what fails is removed. An error, or an empty text, for each. Many at a time cost
/// hardly more than one, since the disk takes flushes that wait together for one; several files start threads.
std::vector<std::string> PublishFiles(const std::vector<SPublication>& files);

/// A file that appears complete or not at all: written under a passing name in its folder, flushed, then renamed.
/// Ends in nothing unless Publish() was called, or Release().
class ZOutputFile
{
public:
    ZOutputFile() = default;
    ZOutputFile(const ZOutputFile&) = delete;
    ZOutputFile& operator=(const ZOutputFile&) = delete;
    ~ZOutputFile() { Discard(); }

    /// Makes the folders in between. What was opened before is discarded.
    bool Open(const std::string& sPath);
    /// One that fails for want of room may be told by Close() only.
    bool Write(const void* pBytes, size_t nCount);
    /// No more writes; the file still waits for Publish().
    void Close();
    /// The file stands at its path from here on, instead of one that was there. False, with Error() told, when a write
    /// failed on the way, or nothing was opened.
    bool Publish();
    /// Hands the complete file over to whoever will publish it: from here on it is theirs to remove. False as with
    /// Publish().
    bool Release(SPublication& publication);
    /// Where a file with the same bytes stands already, it stays and is taken for this one. False: Publish() this one.
    bool LeaveSame();
    void Discard();

    bool IsOpen() const { return m_file.IsOpen(); }
    /// Whether it was opened and closed again without a failure.
    bool IsComplete() const { return m_bClosed && m_sError.empty(); }
    const std::string& Error() const { return m_sError; }
    const std::string& Path() const { return m_sPath; }
    /// Of all that was written.
    uint64_t Hash() const { return m_hash.Get(); }
    /// Of the complete file, wherever it stands by now.
    const SFileStamp& Stamp() const { return m_stamp; }

private:
    bool Fail(const std::string& sWhat, const std::error_code& error);
    bool WriteCollected();

    std::string m_sPath;
    std::string m_sPassingPath;
    std::string m_sError;
    std::string m_collected; ///< not written yet: most files are so small that one write will do
    ZContentHash m_hash;
    SFileStamp m_stamp;
    Os::ZNewFile m_file;
    Os::ZInterruptRemoves m_interrupt;
    bool m_bClosed = false;
};

/// Whether a file of this name is none yet: ZOutputFile's, before it stands in its place.
bool IsPassingName(std::string_view name);
/// Removes what ZOutputFile left below a folder when its process was killed.
void RemovePassingFiles(const std::string& sFolder);
/// The same for one process, in the folder of one file; what it has handed over is kept.
void RemovePassingFilesBeside(const std::string& sPath, Os::TProcessId nProcess,
                              const std::function<bool(const std::string& sPassingPath)>& isHandedOver);

/// What a packer writes to. Releasing it closes the file; whether that is published is the host's to decide.
/// The file must outlive the stream.
IOutputStream* CreateFileOutputStream(ZOutputFile& file);

/// Null when the file can't be opened; else its stamp is told, if that is asked for. The error is empty where it is no
/// regular file.
IInputStream* OpenFileInputStream(const std::string& sPath, SFileStamp* pStamp = nullptr,
                                  std::error_code* pError = nullptr);

} // namespace Host
