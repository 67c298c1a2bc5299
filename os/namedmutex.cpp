#include "os/namedmutex.h"

#include <cerrno>
#include <fcntl.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Os
{

namespace
{

/// Lives in shared memory. The word tells that the mutex has been initialised; it is read and set under a file lock.
struct SSharedMutex
{
    uint32_t nReady;
    pthread_mutex_t mutex;
};
constexpr uint32_t READY = 0x5A4D5458;

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

SSharedMutex* OpenShared(const std::string& sName)
{
    const int nFile = shm_open(('/' + sName).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
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

pthread_mutex_t* MutexOf(void* pShared)
{
    return &static_cast<SSharedMutex*>(pShared)->mutex;
}

} // namespace

ZSharedMutex::ZSharedMutex(const std::string& sName) : m_pShared(OpenShared(sName)) {}

ZSharedMutex::~ZSharedMutex()
{
    if (m_pShared != nullptr)
        munmap(m_pShared, sizeof(SSharedMutex));
}

int ZSharedMutex::Lock()
{
    if (m_pShared == nullptr)
        return EINVAL;
    const int nError = pthread_mutex_lock(MutexOf(m_pShared));
    return nError == EOWNERDEAD ? pthread_mutex_consistent(MutexOf(m_pShared)) : nError;
}

void ZSharedMutex::Unlock()
{
    if (m_pShared != nullptr)
        pthread_mutex_unlock(MutexOf(m_pShared));
}

uint32_t UserNumber()
{
    return getuid();
}

} // namespace Os
