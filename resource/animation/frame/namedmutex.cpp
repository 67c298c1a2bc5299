#include "resource/animation/frame/namedmutex.h"

#include "base/misc/trace.h"

#include "os/namedmutex.h"

namespace
{

/// The system limits such names in length and alphabet, so they hold the name's hash; the user's number keeps the users
/// of a build machine apart.
std::string SharedName(const ZString& name)
{
    return std::string(
        ZString::Format("orvel-mutex-{0}-{1}-{2}", Os::UserNumber(), name.GetHashCode(), name.Length()).View());
}

} // namespace

ZNamedMutex::ZNamedMutex(const ZString& name)
    : m_mutexHandle(std::make_unique<Os::ZSharedMutex>(SharedName(name))), m_name(name)
{
    ZASSERT_TEXT(m_mutexHandle->IsOpen(), "m_mutexHandle != NULL");
}

ZNamedMutex::~ZNamedMutex()
{
    m_mutexHandle->Unlock();
}

void ZNamedMutex::Lock()
{
    const int nError = m_mutexHandle->Lock();
    if (nError != 0)
    {
        ZTRACE(ITraceListener::eTrace_Failure, "ZNamedMutex",
               "ERROR: Failed to lock named mutex '{0}': Error code {1}.\n", m_name, nError);
        throw zhalt_exception();
    }
}
