#pragma once

#include "os/mappedfile.h"

#include <cstddef>
#include <cstdint>
#include <string>

/// The bytes of a file. Large files are mapped, so that what is stepped over is never read from the disk, and what is
/// looked at is not copied. One that others cut off meanwhile raises SIGBUS where it is looked at behind its end.
class FbxInput
{
public:
    FbxInput() = default;
    FbxInput(const FbxInput&) = delete;
    FbxInput& operator=(const FbxInput&) = delete;

    /// False with a text when the file can't be read.
    bool Open(const char* szPath, std::string& sError);
    /// The bytes stay the caller's.
    void Use(const void* pData, size_t nSize);
    void Close();

    const uint8_t* Data() const { return m_pData; }
    size_t Size() const { return m_nSize; }

private:
    const uint8_t* m_pData = nullptr;
    size_t m_nSize = 0;
    Os::ZMappedFile m_file;
};
