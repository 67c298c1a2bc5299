#include "resource/animation/fbximport/fbxsceneloan.h"

#include "resource/core/iresourcedatabase.h"

#include <exception>
#include <mutex>
#include <sys/stat.h>

namespace ResourceAnimation
{

namespace
{

std::mutex g_mutex;

int64_t Nanoseconds(const timespec& time)
{
    return int64_t{time.tv_sec} * 1000000000 + time.tv_nsec;
}

} // namespace

bool ZFbxSceneLoan::Identify(const ZString& path, SFileIdentity& file)
{
    struct stat found
    {
    };
    if (path.IsEmpty() || ::stat(path.ToCString(), &found) != 0)
        return false;
    file = {found.st_dev, found.st_ino, static_cast<uint64_t>(found.st_size), Nanoseconds(found.st_mtim),
            Nanoseconds(found.st_ctim)};
    return true;
}

ZFbxSceneLoan::SKept& ZFbxSceneLoan::Kept()
{
    // The mutex guards it.
    static SKept s_kept;
    return s_kept;
}

ZFbxSceneLoan::ZFbxSceneLoan(const ZResourceID& id) : m_nExceptions(std::uncaught_exceptions())
{
    // Asked for each time: the database keeps a record of what a resource is made from.
    const ZString path = GetResourceDatabase()->GetResourceFilePath(id).ToString();
    SFileIdentity file;
    const bool bKnown = Identify(path, file);
    SKept kept;
    {
        const std::lock_guard lock(g_mutex);
        std::swap(kept, Kept());
    }
    if (!bKnown || !kept.pReader || !(kept.path == path) || !(kept.file == file))
    {
        kept.pReader = {}; // before another scene takes its room
        kept = {bKnown ? path : ZString(), file, TUniquePtr<ZFbxSceneReader>(ZNew<ZFbxSceneReader>(id))};
    }
    m_lent = std::move(kept);
}

ZFbxSceneLoan::~ZFbxSceneLoan()
{
    if (m_lent.path.IsEmpty() || m_lent.pReader->WasConverted() || std::uncaught_exceptions() > m_nExceptions)
        return;
    const std::lock_guard lock(g_mutex);
    std::swap(m_lent, Kept());
}

void ZFbxSceneLoan::DropKept()
{
    SKept dropped;
    const std::lock_guard lock(g_mutex);
    std::swap(dropped, Kept());
}

} // namespace ResourceAnimation
