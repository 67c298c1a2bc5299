#include "fbx/file/fbxarraybytes.h"

#include <bit>
#include <cstring>
#include <limits>
#include <vector>

// The layout of a binary file:
//   27 bytes   head: 20 of text, 0, 0x1A, byte order (1 big), version as 32 bits
//   records    end offset, number of values, bytes of values (32 bits each, 64 from version 7500 on), length of the
//              name (8 bits), name, values, nested records, and a record of zeros where there were nested ones
//   values     a letter, then: C B Z 1 byte, Y 2, I F 4, L D 8, S R 32-bit length and bytes; i f l d b c arrays:
//              32-bit count, encoding (1 deflated) and byte length, then the bytes
namespace
{

template <class T>
T Load(const uint8_t* p, bool bBigEndian)
{
    T value;
    std::memcpy(&value, p, sizeof value);
    if (bBigEndian)
    {
        if constexpr (sizeof(T) == 8)
            value = static_cast<T>(__builtin_bswap64(static_cast<uint64_t>(value)));
        else if constexpr (sizeof(T) == 4)
            value = static_cast<T>(__builtin_bswap32(static_cast<uint32_t>(value)));
        else if constexpr (sizeof(T) == 2)
            value = static_cast<T>(__builtin_bswap16(static_cast<uint16_t>(value)));
    }
    return value;
}

class BinaryReader
{
public:
    BinaryReader(const uint8_t* pData, size_t nSize, const SFbxHead& head, SFbxRecordTree& tree, std::string& sError)
        : m_pData(pData),
          m_nSize(nSize),
          m_bBig(head.bBigEndian),
          m_bWide(head.nVersion >= 7500),
          m_tree(tree),
          m_sError(sError)
    {
    }

    bool Read();

private:
    struct SLevel
    {
        SFbxRecord** ppTail;
        size_t nEnd;
        EFbxScope eScope;
    };

    bool Fail(const char* szWhat, size_t nAt)
    {
        m_sError = std::string(szWhat) + " (at byte " + std::to_string(nAt) + ")";
        return false;
    }
    bool ReadValues(SFbxRecord& record, uint64_t nCount, size_t nBegin, size_t nEnd);
    bool ReadArray(SFbxValue& value, size_t& nAt, size_t nEnd);

    const uint8_t* m_pData;
    size_t m_nSize;
    bool m_bBig;
    bool m_bWide;
    SFbxRecordTree& m_tree;
    std::string& m_sError;
    std::vector<SLevel> m_levels;
};

bool BinaryReader::ReadArray(SFbxValue& value, size_t& nAt, size_t nEnd)
{
    if (nEnd - nAt < 12)
        return Fail("an array's head passes the end of its record", nAt);
    const size_t nElement = FbxElementSize(value.type);
    const uint32_t nCount = Load<uint32_t>(m_pData + nAt, m_bBig);
    const uint32_t nEncoding = Load<uint32_t>(m_pData + nAt + 4, m_bBig);
    const uint32_t nBytes = Load<uint32_t>(m_pData + nAt + 8, m_bBig);
    // What an array claims must be there, or be able to inflate from what is there: deflate packs at most 1032 to 1.
    const uint64_t nClaimed = uint64_t(nCount) * nElement;
    const size_t nLeft = nEnd - nAt - 12;
    const size_t nStored = nEncoding == 0 ? size_t(nClaimed) : size_t(nBytes);
    if (nEncoding > 1)
        return Fail("an array has an unknown encoding", nAt);
    if ((nEncoding == 0 && nClaimed > nLeft) || nStored > nLeft)
        return Fail("an array passes the end of its record", nAt);
    if (nEncoding == 1 && nClaimed > uint64_t(nBytes) * 1032)
        return Fail("an array claims more elements than its bytes can hold", nAt);
    value.p = reinterpret_cast<const char*>(m_pData + nAt);
    value.n = nCount;
    if (value.type == 'c')
        value.type = 'b';
    nAt += 12 + nStored;
    return true;
}

bool BinaryReader::ReadValues(SFbxRecord& record, uint64_t nCount, size_t nBegin, size_t nEnd)
{
    // The shortest value takes two bytes.
    if (nCount > (nEnd - nBegin) / 2)
        return Fail("a record claims more values than its bytes can hold", nBegin);
    SFbxValue* pValues = m_tree.arena.AllocateArray<SFbxValue>(static_cast<size_t>(nCount));
    size_t nAt = nBegin;
    for (uint64_t n = 0; n < nCount; ++n)
    {
        if (nAt >= nEnd)
            return Fail("a value passes the end of its record", nAt);
        SFbxValue& value = pValues[n];
        value.i = 0;
        value.n = 0;
        value.bNative = false;
        value.letter = 0;
        const uint8_t nType = m_pData[nAt++];
        const size_t nLeft = nEnd - nAt;
        const uint8_t* p = m_pData + nAt;
        size_t nUsed = 0;
        switch (nType)
        {
        case 'C':
        case 'B':
        case 'Z':
            nUsed = 1;
            break;
        case 'Y':
            nUsed = 2;
            break;
        case 'I':
        case 'F':
            nUsed = 4;
            break;
        case 'L':
        case 'D':
            nUsed = 8;
            break;
        case 'S':
        case 'R':
            if (nLeft < 4)
                return Fail("a text passes the end of its record", nAt);
            value.n = Load<uint32_t>(p, m_bBig);
            if (value.n > nLeft - 4)
                return Fail("a text passes the end of its record", nAt);
            value.type = static_cast<char>(nType);
            value.p = reinterpret_cast<const char*>(p + 4);
            nAt += 4 + value.n;
            continue;
        default:
            if (FbxElementSize(static_cast<char>(nType)) == 0)
            {
                // Nobody can tell its length; the record's own is known.
                if (nEnd - nAt >= std::numeric_limits<uint32_t>::max())
                    return Fail("a value has an unknown type", nAt - 1);
                value.type = 'U';
                value.p = reinterpret_cast<const char*>(p - 1);
                value.n = static_cast<uint32_t>(nEnd - nAt + 1);
                for (uint64_t nRest = n + 1; nRest < nCount; ++nRest)
                    pValues[nRest] = {{.p = value.p}, 0, 'U', false, 0};
                n = nCount;
                continue;
            }
            value.type = value.letter = static_cast<char>(nType);
            if (!ReadArray(value, nAt, nEnd))
                return false;
            continue;
        }
        if (nUsed > nLeft)
            return Fail("a value passes the end of its record", nAt);
        value.type = 'I';
        value.letter = static_cast<char>(nType);
        if (nUsed == 1)
            value.i = *p;
        else if (nType == 'Y')
            value.i = Load<int16_t>(p, m_bBig);
        else if (nType == 'I')
            value.i = Load<int32_t>(p, m_bBig);
        else if (nType == 'L')
            value.i = Load<int64_t>(p, m_bBig);
        else
        {
            value.type = 'D';
            value.d =
                nType == 'F' ? FbxWiden(Load<uint32_t>(p, m_bBig)) : std::bit_cast<double>(Load<uint64_t>(p, m_bBig));
        }
        nAt += nUsed;
    }
    record.pValues = pValues;
    record.nValues = static_cast<uint32_t>(nCount);
    return true;
}

bool BinaryReader::Read()
{
    const size_t nHead = m_bWide ? 25 : 13;
    size_t nAt = 27;
    m_levels.push_back({&m_tree.root.pChild, m_nSize, m_tree.bWhole ? EFbxScope::eAll : EFbxScope::eRoot});
    while (!m_levels.empty())
    {
        const bool bTop = m_levels.size() == 1;
        SLevel& level = m_levels.back();
        if (!bTop && nAt >= level.nEnd)
        {
            nAt = level.nEnd;
            m_levels.pop_back();
            continue;
        }
        if (level.nEnd - nAt < nHead)
            return Fail("the file ends within a record", nAt);
        const uint8_t* p = m_pData + nAt;
        const uint64_t nEnd = m_bWide ? Load<uint64_t>(p, m_bBig) : Load<uint32_t>(p, m_bBig);
        const uint64_t nCount = m_bWide ? Load<uint64_t>(p + 8, m_bBig) : Load<uint32_t>(p + 4, m_bBig);
        const uint64_t nValueBytes = m_bWide ? Load<uint64_t>(p + 16, m_bBig) : Load<uint32_t>(p + 8, m_bBig);
        const size_t nName = p[nHead - 1];
        if (nEnd == 0)
        {
            if (bTop)
            {
                m_tree.nRecordEnd = nAt + nHead;
                return true;
            }
            nAt = level.nEnd;
            m_levels.pop_back();
            continue;
        }
        const size_t nValues = nAt + nHead + nName;
        if (nEnd > level.nEnd)
            return Fail(bTop ? "a record passes the end of the file" : "a record passes the end of the one around it",
                        nAt);
        if (nEnd < nValues || nValueBytes > nEnd - nValues)
            return Fail("a record's values pass its end", nAt);

        const std::string_view name(reinterpret_cast<const char*>(p + nHead), nName);
        const EFbxScope eScope = FbxScopeOfChild(level.eScope, name);
        if (eScope == EFbxScope::eSkip)
        {
            nAt = static_cast<size_t>(nEnd);
            continue;
        }
        SFbxRecord* pRecord = m_tree.arena.New<SFbxRecord>();
        pRecord->pName = name.data();
        pRecord->nName = static_cast<uint16_t>(nName);
        *level.ppTail = pRecord;
        level.ppTail = &pRecord->pNext;
        const size_t nNested = nValues + static_cast<size_t>(nValueBytes);
        if (!ReadValues(*pRecord, nCount, nValues, nNested))
            return false;
        nAt = nNested;
        if (nNested < nEnd)
        {
            if (m_levels.size() >= kFbxMaxDepth)
                return Fail("records are nested too deep", nAt);
            pRecord->bBlock = true;
            m_levels.push_back({&pRecord->pChild, static_cast<size_t>(nEnd), eScope});
        }
    }
    return true;
}

} // namespace

bool FbxReadBinary(const uint8_t* pData, size_t nSize, const SFbxHead& head, SFbxRecordTree& tree, std::string& sError)
{
    tree.nVersion = head.nVersion;
    tree.bBinary = true;
    tree.bBigEndian = head.bBigEndian;
    if (!BinaryReader(pData, nSize, head, tree, sError).Read())
        return false;
    // Old writers left the head at the version of its layout; the header's record has the one that counts.
    const SFbxRecord* pHeader = head.nVersion < 6000 ? tree.root.Find("FBXHeaderExtension") : nullptr;
    const SFbxRecord* pVersion = pHeader ? pHeader->Find("FBXVersion") : nullptr;
    if (pVersion && pVersion->Int(0) >= kFbxMinVersion && pVersion->Int(0) < 7000)
        tree.nVersion = static_cast<int>(pVersion->Int(0));
    return true;
}
