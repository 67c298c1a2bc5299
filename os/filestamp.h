#pragma once

#include <cstdint>
#include <string>
#include <system_error>

namespace Os
{

/// What a look at the folder tells of a file.
struct SFileStamp
{
    bool bExists = false;
    uint64_t nSize = 0;
    int64_t nTime = 0; ///< of the last change, nanoseconds since 1970

    friend bool operator==(const SFileStamp&, const SFileStamp&) = default;
};

/// Of a regular file, links followed; anything else does not exist.
SFileStamp StampOf(const std::string& sPath);
/// The same for an open file, by the system's number for it.
SFileStamp StampOfOpen(int nFile);

/// Tells a file from another that took its place, and from itself after a write.
struct SFileIdentity
{
    uint64_t nDevice = 0, nNode = 0, nSize = 0;
    int64_t nModified = 0, nChanged = 0; ///< nanoseconds

    friend bool operator==(const SFileIdentity&, const SFileIdentity&) = default;
};

/// Links followed. False when nothing is there.
bool IdentityOf(const std::string& sPath, SFileIdentity& identity);

/// Whether it is the file that standard output or standard error of this process goes to.
bool IsStandardStream(const std::string& sPath);

/// Why this process can't reach what stands in a folder by its name; no error when it can.
std::error_code WhyNotEntered(const std::string& sFolder);

/// Whether this process may write to what stands there.
bool IsWritable(const std::string& sPath);

} // namespace Os
