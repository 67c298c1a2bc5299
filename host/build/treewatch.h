#pragma once

#include "os/folderwatch.h"

#include <string>
#include <vector>

namespace Host
{

/// Waits for changes below a folder, and below folders that links in it lead to.
///
/// What changes between two waits is told by the second. When the system has lost changes, or folders have come or
/// gone, that is a change too, and all are looked for again.
class ZTreeWatch
{
public:
    /// Changes at the paths left out, and below them, are none. ZHostError when the system does not let it watch.
    ZTreeWatch(std::string sRoot, std::vector<std::string> leftOut);

    /// Waits for a change, and then until nothing has changed for a moment: a storm is one change. Files that are open
    /// for writing get a longer moment. Empty when an interrupt is noted meanwhile.
    std::vector<std::string> Wait();

    size_t FolderCount() const { return m_watch.FolderCount(); }

private:
    void NameFolders();
    bool IsLeftOut(const std::string& sPath) const;

    std::string m_sRoot;
    std::vector<std::string> m_leftOut;
    Os::ZFolderWatch m_watch;
};

} // namespace Host
