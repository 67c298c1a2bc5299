#include "fbx/fbxinput.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

constexpr size_t kLarge = size_t(4) << 20;
/// What is read in full goes to pages of this size, which come at a third of the price of small ones; what is read here
/// and there does not, since each would be paid for in full.
constexpr size_t kLargePage = size_t(2) << 20;
constexpr size_t kPiecesOfPage = kLargePage / FbxInput::kPiece;

} // namespace

FbxInput::~FbxInput()
{
    Close();
}

void FbxInput::Close()
{
    if (m_nFile >= 0)
        ::close(m_nFile);
    if (m_pMapped)
        ::munmap(m_pMapped, m_nMapped);
    m_pRead.reset();
    m_nFile = -1;
    m_pOwn = nullptr;
    m_pMapped = nullptr;
    m_pData = nullptr;
    m_nSize = 0;
    m_pieces.clear();
    m_nPage = m_nReadOfPage = 0;
    m_bPageFull = false;
}

void FbxInput::Use(const void* pData, size_t nSize)
{
    Close();
    m_pData = static_cast<const uint8_t*>(pData);
    m_nSize = nSize;
}

/// Room for all of the file; pages of a large one cost nothing until they are read into.
bool FbxInput::Allocate()
{
    if (m_nSize >= kLarge)
    {
        m_nMapped = m_nSize + kLargePage;
        m_pMapped =
            ::mmap(nullptr, m_nMapped, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (m_pMapped == MAP_FAILED)
            m_pMapped = nullptr;
        else
        {
            const uintptr_t nAt = reinterpret_cast<uintptr_t>(m_pMapped);
            m_pOwn = static_cast<uint8_t*>(m_pMapped) + (kLargePage - nAt % kLargePage) % kLargePage;
            if (m_pieces.empty())
                WantLargePages(0, m_nSize);
        }
    }
    else
    {
        m_pRead = std::make_unique_for_overwrite<uint8_t[]>(m_nSize);
        m_pOwn = m_pRead.get();
    }
    m_pData = m_pOwn;
    errno = ENOMEM;
    return m_pOwn != nullptr;
}

/// An offer to the system: nothing depends on its being taken.
void FbxInput::WantLargePages(size_t nAt, size_t nBytes)
{
    ::madvise(m_pOwn + nAt, nBytes, MADV_HUGEPAGE);
}

bool FbxInput::ReadAt(size_t nAt, size_t nBytes)
{
    while (nBytes > 0)
    {
        const ssize_t n = ::pread(m_nFile, m_pOwn + nAt, nBytes, static_cast<off_t>(nAt));
        if (n < 0 && errno == EINTR)
            continue;
        if (n == 0)
            errno = EIO; // it was longer when it was opened
        if (n <= 0)
            return false;
        nAt += static_cast<size_t>(n);
        nBytes -= static_cast<size_t>(n);
    }
    return true;
}

bool FbxInput::ReadPieces(size_t nFirst, size_t nLast)
{
    for (size_t n = nFirst; n <= nLast;)
    {
        // Up to the end of a large page at the most.
        const size_t nPage = n / kPiecesOfPage;
        size_t nEnd = n;
        while (nEnd <= nLast && nEnd / kPiecesOfPage == nPage && !m_pieces[nEnd])
            m_pieces[nEnd++] = true;
        if (nEnd == n)
        {
            ++n;
            continue;
        }
        m_nReadOfPage = nPage == m_nPage ? m_nReadOfPage + (nEnd - n) : nEnd - n;
        if (nPage != m_nPage && nPage == m_nPage + 1 && m_bPageFull)
            WantLargePages(nPage * kLargePage, kLargePage);
        m_nPage = nPage;
        m_bPageFull = m_nReadOfPage >= kPiecesOfPage * 3 / 4;
        if (!ReadAt(n * kPiece, std::min(nEnd * kPiece, m_nSize) - n * kPiece))
            return false;
        n = nEnd;
    }
    return true;
}

bool FbxInput::Open(const char* szPath, std::string& sError, bool bInPieces)
{
    Close();
    m_nFile = ::open(szPath, O_RDONLY | O_CLOEXEC);
    struct stat status
    {
    };
    if (m_nFile < 0 || ::fstat(m_nFile, &status) != 0)
    {
        sError = std::string("can't open '").append(szPath).append("': ").append(std::strerror(errno));
        Close();
        return false;
    }
    if (!S_ISREG(status.st_mode))
    {
        sError = std::string("'").append(szPath).append("' is not a file");
        Close();
        return false;
    }
    m_nSize = static_cast<size_t>(status.st_size);
    const bool bPieces = bInPieces && m_nSize >= kLarge;
    if (bPieces)
        m_pieces.assign((m_nSize + kPiece - 1) / kPiece, false);
    if (!Allocate() || !(bPieces ? Need(0, kPiece) : ReadAt(0, m_nSize)))
    {
        sError = std::string("can't read '").append(szPath).append("': ").append(std::strerror(errno));
        Close();
        return false;
    }
    if (!bPieces)
    {
        ::close(m_nFile);
        m_nFile = -1;
    }
    return true;
}
