#include "resource/animation/frame/namedmutex.h"

#include "base/misc/trace.h"

#include <cerrno>
#include <fcntl.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

/// Lives in shared memory. The word tells that the mutex has been initialised; it is read and set under a file lock.
struct SSharedMutex
{
    uint32_t nReady;
    pthread_mutex_t mutex;
};
constexpr uint32_t READY = 0x5A4D5458;

/// The system limits such names in length and alphabet, so they hold the name's hash; the user's number keeps the users
/// of a build machine apart.
ZString SharedName(const ZString& name)
{
    return ZString::Format("/orvel-mutex-{0}-{1}-{2}", static_cast<uint32_t>(getuid()), name.GetHashCode(),
                           name.Length());
}

bool InitializeMutex(SSharedMutex* pShared)
{
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    const bool bDone = pthread_mutex_init(&pShared->mutex, &attributes) == 0;
    pthread_mutexattr_destroy(&attributes);
    if (bDone)
        pShared->nReady = READY;
    return bDone;
}

SSharedMutex* OpenShared(const ZString& name)
{
    const int nFile = shm_open(SharedName(name).ToCString(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (nFile < 0)
        return nullptr;
    void* pMemory = MAP_FAILED;
    // Two processes may come at once; the second must not find a mutex half made.
    if (flock(nFile, LOCK_EX) == 0 && ftruncate(nFile, sizeof(SSharedMutex)) == 0)
        pMemory = mmap(nullptr, sizeof(SSharedMutex), PROT_READ | PROT_WRITE, MAP_SHARED, nFile, 0);
    auto* pShared = pMemory != MAP_FAILED ? static_cast<SSharedMutex*>(pMemory) : nullptr;
    if (pShared != nullptr && pShared->nReady != READY && !InitializeMutex(pShared))
    {
        munmap(pMemory, sizeof(SSharedMutex));
        pShared = nullptr;
    }
    flock(nFile, LOCK_UN); // closing would not end it: the mapping keeps the open file
    close(nFile);
    return pShared;
}

} // namespace

ZNamedMutex::ZNamedMutex(const ZString& name) : m_mutexHandle(OpenShared(name)), m_name(name)
{
    ZASSERT_TEXT(m_mutexHandle != nullptr, "m_mutexHandle != NULL");
}

ZNamedMutex::~ZNamedMutex()
{
    if (m_mutexHandle == nullptr)
        return;
    pthread_mutex_unlock(&static_cast<SSharedMutex*>(m_mutexHandle)->mutex);
    munmap(m_mutexHandle, sizeof(SSharedMutex));
}

void ZNamedMutex::Lock()
{
    int nError = EINVAL;
    if (m_mutexHandle != nullptr)
    {
        pthread_mutex_t* pMutex = &static_cast<SSharedMutex*>(m_mutexHandle)->mutex;
        nError = pthread_mutex_lock(pMutex);
        if (nError == EOWNERDEAD)
            nError = pthread_mutex_consistent(pMutex);
    }
    if (nError != 0)
    {
        ZTRACE(ITraceListener::eTrace_Failure, "ZNamedMutex",
               "ERROR: Failed to lock named mutex '{0}': Error code {1}.\n", m_name, nError);
        throw zhalt_exception();
    }
}
