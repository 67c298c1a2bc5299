#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <system_error>

namespace Os
{

/// The bytes of a regular file. Large files are mapped, so that what is stepped over is never read from the disk, and
/// what is looked at is not copied. One that others cut off meanwhile raises the system's bus error where it is looked
/// at behind its end; small ones are read, and can't be pulled away.
class ZMappedFile
{
public:
    ZMappedFile() = default;
    ~ZMappedFile() { Close(); }
    ZMappedFile(const ZMappedFile&) = delete;
    ZMappedFile& operator=(const ZMappedFile&) = delete;

    enum class EOutcome
    {
        eOpen,
        eNoFile, ///< something stands there that is no file
        eNotOpened,
        eNotRead
    };
    /// The error of eNotOpened and eNotRead is told.
    EOutcome Open(const std::string& sPath, std::error_code& error);
    void Close();

    const uint8_t* Data() const { return m_pData; }
    size_t Size() const { return m_nSize; }

private:
    const uint8_t* m_pData = nullptr;
    size_t m_nSize = 0;
    void* m_pMapped = nullptr;
    std::unique_ptr<uint8_t[]> m_pRead; ///< a small file
};

} // namespace Os
