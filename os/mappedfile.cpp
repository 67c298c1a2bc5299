#include "os/mappedfile.h"

#include "os/errors.h"
#include "os/files.h"

#include <sys/mman.h>

namespace Os
{

namespace
{

constexpr size_t MAPPED_FROM = size_t(4) << 20;

} // namespace

ZMappedFile::EOutcome ZMappedFile::Open(const std::string& sPath, std::error_code& error)
{
    Close();
    ZInputFile file;
    error = file.Open(sPath);
    if (error == std::errc::is_a_directory || (!error && !file.IsOpen()))
        return EOutcome::eNoFile;
    if (error)
        return EOutcome::eNotOpened;
    m_nSize = static_cast<size_t>(file.Size());
    if (m_nSize < MAPPED_FROM)
    {
        m_pRead = std::make_unique_for_overwrite<uint8_t[]>(m_nSize);
        if (file.Read(m_pRead.get(), m_nSize, error) != m_nSize && !error)
            error = std::make_error_code(std::errc::io_error); // it got shorter
        m_pData = m_pRead.get();
    }
    else
    {
        m_pMapped = ::mmap(nullptr, m_nSize, PROT_READ, MAP_PRIVATE, file.m_nFile, 0);
        if (m_pMapped == MAP_FAILED)
        {
            error = LastError();
            m_pMapped = nullptr;
        }
        m_pData = static_cast<const uint8_t*>(m_pMapped);
    }
    if (!error)
        return EOutcome::eOpen;
    Close();
    return EOutcome::eNotRead;
}

void ZMappedFile::Close()
{
    if (m_pMapped != nullptr)
        ::munmap(m_pMapped, m_nSize);
    m_pMapped = nullptr;
    m_pData = nullptr;
    m_nSize = 0;
    m_pRead.reset();
}

} // namespace Os
