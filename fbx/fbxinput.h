#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// The bytes of a file. Large files are mapped, so that what is stepped over is never read from the disk.
class FbxInput
{
public:
    FbxInput() = default;
    ~FbxInput();
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
    void* m_pMapped = nullptr;
    std::vector<uint8_t> m_read;
};
