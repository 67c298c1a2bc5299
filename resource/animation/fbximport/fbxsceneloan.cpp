#include "resource/animation/fbximport/fbxsceneloan.h"

#include "resource/core/iresourcedatabase.h"

#include <exception>
#include <mutex>

namespace ResourceAnimation
{

namespace
{

std::mutex g_mutex;

} // namespace

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
    Os::SFileIdentity file;
    const bool bKnown = !path.IsEmpty() && Os::IdentityOf(path.ToCString(), file);
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
