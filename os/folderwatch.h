#pragma once

#include <string>
#include <system_error>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace Os
{

/// Tells what changes in folders: what is written, comes, goes or is renamed right in them, not below.
class ZFolderWatch
{
public:
    ZFolderWatch();
    ~ZFolderWatch();
    ZFolderWatch(const ZFolderWatch&) = delete;
    ZFolderWatch& operator=(const ZFolderWatch&) = delete;

    /// Whether the system can do it at all.
    bool IsOpen() const { return m_nQueue >= 0; }

    /// Between the two calls the folders to watch from now on are named; others are let go. What is named again loses
    /// no change in between.
    void BeginFolders();
    std::error_code Add(const std::string& sFolder);
    void EndFolders();
    size_t FolderCount() const { return m_paths.size(); }

    struct SChanges
    {
        std::vector<std::string> paths;
        bool bFolders = false;                ///< one came or went: it is time to name them again
        bool bLost = false;                   ///< there was more than the system could keep
        std::unordered_set<std::string> open; ///< files that were written to and not closed by then
    };
    /// Adds what changes, as soon as something does. False when the time has passed without, or a signal has come.
    bool Wait(int nMilliseconds, SChanges& changes);

private:
    void Note(int nWatch, unsigned int nMask, const char* szName, SChanges& changes);

    int m_nQueue = -1;
    std::unordered_map<int, std::string> m_paths; ///< by the system's number
    std::unordered_set<int> m_named;
};

} // namespace Os
