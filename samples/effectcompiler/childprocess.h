#pragma once

#include <csignal>
#include <cstdint>
#include <string>
#include <vector>

namespace Samples
{

/// Bounds of a program that works on files from people and tools.
struct SProcessLimits
{
    double fSeconds = 30.0; ///< of wall time
    uint64_t nProcessorSeconds = 10;
    uint64_t nMemory = uint64_t(2) << 30;       ///< bytes of address space
    uint64_t nOutputBytes = uint64_t(64) << 20; ///< of any file that it writes
};

struct SProcessEnd
{
    enum EKind
    {
        eExited,     ///< nCode is its status
        eNotStarted, ///< nCode is the system's error number
        eTimedOut,   ///< it was ended with everything that it had started
        eKilled      ///< nCode is the signal; or one waits for this process, and it was ended for that
    };
    EKind eKind = eNotStarted;
    int nCode = 0;
};

/// Runs a program without a shell and waits for its end. Nothing stands on its standard input; the other two go to
/// files, which are made. Of the environment only PATH, HOME, TMPDIR and LD_LIBRARY_PATH are handed on: compilers and
/// the like take include folders and files to write from others. Messages are in English.
SProcessEnd RunProcess(const std::string& sProgram, const std::vector<std::string>& arguments,
                       const std::string& sOutputFile, const std::string& sErrorFile, const SProcessLimits& limits);

/// The file that a name stands for in PATH; empty when there is none.
std::string FindProgram(const std::string& sName);

/// A folder that only this user can look into, removed with all that is in it. Signals that ask the process to end wait
/// until that is done, and RunProcess() gives up when one does: so neither the folder nor a child outlives it.
class ZScratchFolder
{
public:
    /// In this folder; when it is empty, in that of the environment's TMPDIR, else in /tmp. std::system_error when it
    /// can't be made.
    explicit ZScratchFolder(const std::string& sParent);
    ZScratchFolder(const ZScratchFolder&) = delete;
    ZScratchFolder& operator=(const ZScratchFolder&) = delete;
    ~ZScratchFolder();

    std::string Path(const char* szName) const { return m_sPath + '/' + szName; }

private:
    std::string m_sPath;
    sigset_t m_before; ///< signals that were blocked
};

} // namespace Samples
