#include "fbx/file/fbxarraybytes.h"
#include "fbx/file/fbxdocument.h"

#include <libdeflate.h>

#include <algorithm>
#include <cstring>
#include <memory>

namespace
{

/// Arrays of at least so many bytes are deflated when they are not the file's own.
constexpr size_t kDeflateFrom = 128;

// Readers check these: the first belongs to the creation time that a file says, and is kept from one that has it.
constexpr unsigned char kFooterId[16] = {0xfa, 0xbc, 0xab, 0x09, 0xd0, 0xc8, 0xd4, 0x66,
                                         0xb1, 0x76, 0xfb, 0x83, 0x1c, 0xf7, 0x26, 0x7e};
constexpr unsigned char kFooterEnd[16] = {0xf8, 0x5a, 0x8c, 0x6a, 0xde, 0xf5, 0xd9, 0x7e,
                                          0xec, 0xe9, 0x0c, 0xe3, 0x75, 0x8f, 0x29, 0x0b};

class BinaryWriter
{
public:
    BinaryWriter(const SFbxRecordTree& tree, std::string_view file, std::string& sOut, std::string& sError)
        : m_tree(tree),
          m_file(file),
          m_bWide(tree.nVersion >= 7500),
          m_sOut(sOut),
          m_sError(sError),
          m_arrays(file.size(), tree.bBigEndian),
          m_pDeflate(libdeflate_alloc_compressor(6), &libdeflate_free_compressor)
    {
    }

    bool Write();

private:
    struct SOpen
    {
        const SFbxRecord* pNext;
        size_t nStart;
    };

    template <class T>
    void Put(T value)
    {
        m_sOut.append(reinterpret_cast<const char*>(&value), sizeof value);
    }
    void PutHead(uint64_t nEnd, uint64_t nValues, uint64_t nBytes, size_t nName);
    bool PutValue(const SFbxValue& value);
    bool PutArray(const SFbxValue& value);
    bool Begin(const SFbxRecord& record);
    bool End(size_t nStart);
    void PutFooter();
    bool Fail(const char* szWhat)
    {
        m_sError = szWhat;
        return false;
    }

    const SFbxRecordTree& m_tree;
    std::string_view m_file;
    bool m_bWide;
    std::string& m_sOut;
    std::string& m_sError;
    FbxArrayBytes m_arrays;
    std::unique_ptr<libdeflate_compressor, void (*)(libdeflate_compressor*)> m_pDeflate;
};

void BinaryWriter::PutHead(uint64_t nEnd, uint64_t nValues, uint64_t nBytes, size_t nName)
{
    for (const uint64_t n : {nEnd, nValues, nBytes})
    {
        if (m_bWide)
            Put(n);
        else
            Put(static_cast<uint32_t>(n));
    }
    m_sOut += static_cast<char>(nName);
}

bool BinaryWriter::PutArray(const SFbxValue& value)
{
    const char type = value.letter ? value.letter : value.type;
    m_sOut += type;
    if (!value.bNative && !m_tree.bBigEndian)
    {
        // The file's own bytes, packed as they are.
        uint32_t nEncoding;
        uint32_t nStored;
        std::memcpy(&nEncoding, value.p + 4, 4);
        std::memcpy(&nStored, value.p + 8, 4);
        if (nEncoding == 0)
            nStored = static_cast<uint32_t>(value.n * FbxElementSize(value.type));
        Put(value.n);
        Put(nEncoding);
        Put(nStored);
        m_sOut.append(value.p + 12, nStored);
        return true;
    }
    const char* p = m_arrays.Decode(value);
    if (!p)
        return Fail("an array's compressed bytes are damaged");
    const size_t nBytes = value.n * FbxElementSize(value.type);
    if (nBytes > UINT32_MAX)
        return Fail("an array is too long for a binary file");
    Put(value.n);
    if (nBytes >= kDeflateFrom && m_pDeflate)
    {
        const size_t nHead = m_sOut.size();
        m_sOut.resize(nHead + 8 + libdeflate_zlib_compress_bound(m_pDeflate.get(), nBytes));
        const size_t nPacked =
            libdeflate_zlib_compress(m_pDeflate.get(), p, nBytes, m_sOut.data() + nHead + 8, m_sOut.size() - nHead - 8);
        const uint32_t head[2] = {1, static_cast<uint32_t>(nPacked)};
        std::memcpy(m_sOut.data() + nHead, head, 8);
        m_sOut.resize(nHead + 8 + nPacked);
        // Beyond what deflate can pack a reader must take the array for damaged.
        if (nBytes <= uint64_t(nPacked) * 1032)
            return true;
        m_sOut.resize(nHead);
    }
    Put(uint32_t(0));
    Put(static_cast<uint32_t>(nBytes));
    m_sOut.append(p, nBytes);
    return true;
}

bool BinaryWriter::PutValue(const SFbxValue& value)
{
    if (value.IsArray())
        return PutArray(value);
    switch (value.type)
    {
    case 'S':
    case 'R':
    case 'W':
        m_sOut += value.type == 'R' ? 'R' : 'S';
        Put(value.n);
        m_sOut.append(value.p, value.n);
        return true;
    case 'U':
        if (m_tree.bBigEndian)
            return Fail("a record has values of an unknown type, whose byte order can't be changed");
        m_sOut.append(value.p, value.n);
        return true;
    case 'D':
        m_sOut += value.letter == 'F' ? 'F' : 'D';
        if (value.letter == 'F')
            Put(FbxNarrow(value.d));
        else
            Put(value.d);
        return true;
    default:
        break;
    }
    const char letter = value.letter ? value.letter : 'L';
    m_sOut += letter;
    if (letter == 'C' || letter == 'B' || letter == 'Z')
        Put(static_cast<uint8_t>(value.i));
    else if (letter == 'Y')
        Put(static_cast<int16_t>(value.i));
    else if (letter == 'I')
        Put(static_cast<int32_t>(value.i));
    else
        Put(value.i);
    return true;
}

bool BinaryWriter::Begin(const SFbxRecord& record)
{
    if (record.nName > 255)
        return Fail("a record's name is too long for a binary file");
    const size_t nStart = m_sOut.size();
    PutHead(0, record.nValues, 0, record.nName);
    m_sOut.append(record.Name());
    const size_t nValues = m_sOut.size();
    for (uint32_t n = 0; n < record.nValues; ++n)
        if (!PutValue(record.pValues[n]))
            return false;
    const uint64_t nBytes = m_sOut.size() - nValues;
    if (!m_bWide && nBytes > UINT32_MAX)
        return Fail("the file is too large for its version");
    const size_t nWord = m_bWide ? 8 : 4;
    std::memcpy(m_sOut.data() + nStart + 2 * nWord, &nBytes, nWord);
    return true;
}

/// The place of the end is filled in when all nested records are out.
bool BinaryWriter::End(size_t nStart)
{
    const uint64_t nEnd = m_sOut.size();
    if (!m_bWide && nEnd > UINT32_MAX)
        return Fail("the file is too large for its version");
    std::memcpy(m_sOut.data() + nStart, &nEnd, m_bWide ? 8 : 4);
    return true;
}

void BinaryWriter::PutFooter()
{
    const std::string_view known =
        m_tree.nRecordEnd > 0 && m_tree.nRecordEnd + 16 <= m_file.size() ? m_file.substr(m_tree.nRecordEnd, 16) : "";
    if (known.empty() || known.find_first_not_of('\0') == std::string_view::npos)
        m_sOut.append(reinterpret_cast<const char*>(kFooterId), 16);
    else
        m_sOut.append(known);
    m_sOut.append(4, '\0');
    m_sOut.append(16 - m_sOut.size() % 16, '\0');
    Put(static_cast<uint32_t>(m_tree.nVersion));
    m_sOut.append(120, '\0');
    m_sOut.append(reinterpret_cast<const char*>(kFooterEnd), 16);
}

bool BinaryWriter::Write()
{
    m_sOut.append(std::string_view("Kaydara FBX Binary  \0\x1a\0", 23));
    Put(static_cast<uint32_t>(m_tree.nVersion));
    std::vector<SOpen> open{{m_tree.root.pChild, 0}};
    for (;;)
    {
        const SFbxRecord* pRecord = open.back().pNext;
        if (!pRecord)
        {
            PutHead(0, 0, 0, 0);
            if (open.size() == 1)
                break;
            const size_t nStart = open.back().nStart;
            open.pop_back();
            if (!End(nStart))
                return false;
            continue;
        }
        open.back().pNext = pRecord->pNext;
        const size_t nStart = m_sOut.size();
        if (!Begin(*pRecord))
            return false;
        if (pRecord->bBlock || pRecord->pChild)
            open.push_back({pRecord->pChild, nStart});
        else if (!End(nStart))
            return false;
    }
    PutFooter();
    return true;
}

} // namespace

bool FbxWriteBinary(const SFbxRecordTree& tree, std::string_view file, std::string& sOut, std::string& sError)
{
    return BinaryWriter(tree, file, sOut, sError).Write();
}
