#include "fbx/file/fbxinput.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

/// A read file can't be pulled away while it is looked at, so small ones are read.
constexpr size_t kMapFrom = size_t(4) << 20;

bool ReadAll(int nFile, uint8_t* p, size_t nSize)
{
    while (nSize > 0)
    {
        const ssize_t n = ::read(nFile, p, nSize);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        p += n;
        nSize -= static_cast<size_t>(n);
    }
    return true;
}

} // namespace

FbxInput::~FbxInput()
{
    Close();
}

void FbxInput::Close()
{
    if (m_pMapped)
        ::munmap(m_pMapped, m_nSize);
    m_pMapped = nullptr;
    m_pData = nullptr;
    m_nSize = 0;
    m_pRead.reset();
}

void FbxInput::Use(const void* pData, size_t nSize)
{
    Close();
    m_pData = static_cast<const uint8_t*>(pData);
    m_nSize = nSize;
}

bool FbxInput::Open(const char* szPath, std::string& sError)
{
    Close();
    const int nFile = ::open(szPath, O_RDONLY | O_CLOEXEC);
    struct stat status
    {
    };
    if (nFile < 0 || ::fstat(nFile, &status) != 0)
    {
        sError = std::string("can't open '").append(szPath).append("': ").append(std::strerror(errno));
        if (nFile >= 0)
            ::close(nFile);
        return false;
    }
    bool bOk = S_ISREG(status.st_mode);
    if (!bOk)
        sError = std::string("'").append(szPath).append("' is not a file");
    else
    {
        m_nSize = static_cast<size_t>(status.st_size);
        if (m_nSize >= kMapFrom)
        {
            m_pMapped = ::mmap(nullptr, m_nSize, PROT_READ, MAP_PRIVATE, nFile, 0);
            bOk = m_pMapped != MAP_FAILED;
            if (!bOk)
                m_pMapped = nullptr;
            m_pData = static_cast<const uint8_t*>(m_pMapped);
        }
        else
        {
            m_pRead = std::make_unique_for_overwrite<uint8_t[]>(m_nSize);
            errno = EIO; // of one that got shorter by now
            bOk = ReadAll(nFile, m_pRead.get(), m_nSize);
            m_pData = m_pRead.get();
        }
        if (!bOk)
            sError = std::string("can't read '").append(szPath).append("': ").append(std::strerror(errno));
    }
    ::close(nFile);
    if (!bOk)
        Close();
    return bOk;
}
