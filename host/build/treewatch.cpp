#include "host/build/treewatch.h"

#include "host/text/hosterror.h"
#include "os/filestamp.h"
#include "os/interrupt.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <unordered_set>
#include <utility>

namespace Host
{

namespace fs = std::filesystem;
using TClock = std::chrono::steady_clock;

namespace
{

constexpr auto QUIET = std::chrono::milliseconds(50);
constexpr auto QUIET_WHILE_OPEN = std::chrono::seconds(2);
/// A storm that does not end must not keep everybody waiting.
constexpr auto LONGEST_STORM = std::chrono::seconds(30);
constexpr int PATIENCE = 500; ///< milliseconds

} // namespace

ZTreeWatch::ZTreeWatch(std::string sRoot, std::vector<std::string> leftOut) : m_sRoot(std::move(sRoot))
{
    std::error_code error;
    for (const std::string& sPath : leftOut)
        m_leftOut.push_back(fs::weakly_canonical(sPath, error).string());
    if (!m_watch.IsOpen())
        throw ZHostError("this system does not tell of changes", "build without --watch");
    NameFolders();
}

bool ZTreeWatch::IsLeftOut(const std::string& sPath) const
{
    return std::any_of(m_leftOut.begin(), m_leftOut.end(),
                       [&sPath](const std::string& sOut) { return sPath == sOut || sPath.starts_with(sOut + '/'); }) ||
           Os::IsStandardStream(sPath);
}

/// A folder is watched before it is listed, so none in it comes unseen.
void ZTreeWatch::NameFolders()
{
    m_watch.BeginFolders();
    std::unordered_set<std::string> seen;
    std::vector<std::string> pending{m_sRoot};
    while (!pending.empty())
    {
        std::error_code error;
        const std::string sFolder = std::move(pending.back());
        pending.pop_back();
        if (IsLeftOut(sFolder) || !seen.insert(sFolder).second)
            continue;
        if (const std::error_code failure = m_watch.Add(sFolder);
            failure == std::errc::no_space_on_device || failure == std::errc::not_enough_memory)
            throw ZHostError("the system watches no more than " + std::to_string(m_watch.FolderCount()) +
                                 " folders for a user",
                             "'sysctl fs.inotify.max_user_watches=1000000' allows for more");
        for (fs::directory_iterator entry(sFolder, error), end; !error && entry != end; entry.increment(error))
        {
            std::error_code ignored;
            if (entry->is_symlink(ignored))
            {
                if (entry->is_directory(ignored))
                    pending.push_back(fs::canonical(entry->path(), ignored).string());
            }
            else if (entry->is_directory(ignored))
                pending.push_back(entry->path().string());
        }
    }
    m_watch.EndFolders();
    if (m_watch.FolderCount() == 0)
        throw ZHostError("there is no asset tree at '" + m_sRoot + "' any more");
}

std::vector<std::string> ZTreeWatch::Wait()
{
    Os::ZFolderWatch::SChanges changes;
    TClock::time_point first, last;
    std::vector<std::string> paths;
    while (!Os::Interrupted())
    {
        const bool bChanged = !paths.empty();
        if (m_watch.Wait(bChanged ? static_cast<int>(QUIET.count()) : PATIENCE, changes))
        {
            const bool bLost = std::exchange(changes.bLost, false);
            if (std::exchange(changes.bFolders, false) || bLost)
                NameFolders();
            std::erase_if(changes.paths, [this](const std::string& sPath) { return IsLeftOut(sPath); });
            if (bLost)
                changes.paths.push_back(m_sRoot);
            if (changes.paths.empty())
                continue;
            last = TClock::now();
            if (!bChanged)
                first = last;
            paths.insert(paths.end(), changes.paths.begin(), changes.paths.end());
            changes.paths.clear();
            if (last - first < LONGEST_STORM)
                continue;
        }
        const auto now = TClock::now();
        if (!paths.empty() && (now - last >= (changes.open.empty() ? TClock::duration(QUIET) : QUIET_WHILE_OPEN) ||
                               now - first >= LONGEST_STORM))
            break;
    }
    if (Os::Interrupted())
        return {};
    std::sort(paths.begin(), paths.end());
    paths.erase(std::unique(paths.begin(), paths.end()), paths.end());
    return paths;
}

} // namespace Host
