#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// The bytes of a file. Of a large one only what is asked for is read: what is stepped over never comes from the disk.
///
/// Large files are not mapped, since one that is cut off by others while a mapping of it is looked at ends the process.
/// Their bytes have room set aside, and are read into it piece by piece; one that got shorter is an error like others.
class FbxInput
{
public:
    FbxInput() = default;
    ~FbxInput();
    FbxInput(const FbxInput&) = delete;
    FbxInput& operator=(const FbxInput&) = delete;

    /// False with a text when the file can't be read. bInPieces leaves out most of a large file.
    bool Open(const char* szPath, std::string& sError, bool bInPieces = false);
    /// The bytes stay the caller's.
    void Use(const void* pData, size_t nSize);
    void Close();

    /// Valid where it was read. The first kPiece bytes are.
    const uint8_t* Data() const { return m_pData; }
    size_t Size() const { return m_nSize; }
    bool IsWhole() const { return m_pieces.empty(); }
    /// Reads bytes that lie within the file, unless they were. False when they can't be read.
    bool Need(size_t nAt, size_t nBytes)
    {
        const size_t nFirst = nAt / kPiece;
        // Mostly a few more bytes of the piece that was just looked at.
        return IsWhole() || nBytes == 0 || ((nAt + nBytes - 1) / kPiece == nFirst && m_pieces[nFirst]) ||
               ReadPieces(nFirst, (nAt + nBytes - 1) / kPiece);
    }

    static constexpr size_t kPiece = size_t(32) << 10;

private:
    bool Allocate();
    void WantLargePages(size_t nAt, size_t nBytes);
    bool ReadPieces(size_t nFirst, size_t nLast);
    bool ReadAt(size_t nAt, size_t nBytes);

    const uint8_t* m_pData = nullptr;
    size_t m_nSize = 0;
    int m_nFile = -1;
    uint8_t* m_pOwn = nullptr;
    std::unique_ptr<uint8_t[]> m_pRead; ///< a small file
    void* m_pMapped = nullptr;          ///< room for a large one
    size_t m_nMapped = 0;
    std::vector<bool> m_pieces; ///< those that were read, of a file that is read in pieces
    size_t m_nPage = 0;         ///< that was read last, in large ones; and how many pieces of it were
    size_t m_nReadOfPage = 0;
    bool m_bPageFull = false;
};
