#include "resource/_shared/resourceheader.h"

namespace
{

constexpr size_t FIXED_SIZE = 24;
constexpr uint32_t OFFSET_MASK = ZResourceHeader::MAX_TEXT_BLOCK - 1;

void AppendWord(TArray<uint8_t>& bytes, uint32_t nWord, EEndian eEndian)
{
    uint8_t word[4];
    StoreEndian(word, nWord, eEndian);
    bytes.Append(word, sizeof word);
}

/// Flags of a reference that is added again.
uint32_t MergeFlags(uint32_t nOld, uint32_t f)
{
    uint32_t nFlags = (((f & 0xE8300000u) | 0x80000000u) & nOld) | (f & 0x80000000u);
    if (((f | nOld) & 0x10000000u) != 0 && (f & 0x30000000u) != 0 && (nOld & 0x30000000u) != 0)
        nFlags |= 0x10000000u;
    return nFlags;
}

} // namespace

ZResourceHeader::ZResourceHeader(uint32_t nCode, const ZString& platform) : m_platform(platform)
{
    for (int nShift = 24; nShift >= 0; nShift -= 8)
        m_type.Append(static_cast<char>((nCode >> nShift) & 0xff));
}

uint32_t ZResourceHeader::AddReference(const ZResourceID& id, uint32_t nFlags)
{
    ZASSERT(id.IsValid());
    ZASSERT(id.IsDerived());
    const ZResourceID reference = m_platform.IsEmpty() ? id : id.ReplacePlatform(m_platform);
    if (SReferenceInfo* pInfo = m_references.Find(reference))
    {
        pInfo->nFlags = MergeFlags(pInfo->nFlags, nFlags);
        return pInfo->nPosition;
    }
    const auto nPosition = static_cast<uint32_t>(m_references.Size());
    m_references.Insert(reference, {nPosition, nFlags, 0});
    return nPosition;
}

TArray<const ZResourceHeader::TReferences::TTree::value_type*> ZResourceHeader::InPositionOrder() const
{
    TArray<const TReferences::TTree::value_type*> result;
    result.Resize(m_references.Size());
    for (const auto& entry : m_references)
        result[entry.second.nPosition] = &entry;
    return result;
}

bool ZResourceHeader::Write(IOutputStream* pStream, EEndian eEndian) const
{
    const auto references = InPositionOrder();
    const uint32_t n = references.Size();
    uint64_t nTextSize = 0;
    for (const auto* pReference : references)
        nTextSize += pReference->first.ToString().Length() + 1;
    if (nTextSize > MAX_TEXT_BLOCK || m_nDataSize > UINT32_MAX || m_type.Length() != 4)
        return false;
    const auto nBlockSize = n == 0 ? 0 : static_cast<uint32_t>(8 * uint64_t(n) + 12 + nTextSize);

    uint32_t nCode = 0;
    for (int i = 0; i < 4; ++i)
        nCode = nCode << 8 | static_cast<uint8_t>(m_type[i]);
    TArray<uint8_t> bytes;
    bytes.Reserve(FIXED_SIZE + nBlockSize);
    for (const uint32_t nWord : {nCode, nBlockSize, 0u, static_cast<uint32_t>(m_nDataSize),
                                 static_cast<uint32_t>(m_nSecondSize), static_cast<uint32_t>(m_nThirdSize)})
        AppendWord(bytes, nWord, eEndian);
    if (n != 0)
    {
        AppendWord(bytes, n, eEndian);
        for (const auto* pReference : references)
            AppendWord(bytes, pReference->second.nThird, eEndian);
        AppendWord(bytes, 4 * n + 12, eEndian);
        AppendWord(bytes, 8 * n + 12, eEndian);
        uint32_t nOffset = 0;
        for (const auto* pReference : references)
        {
            AppendWord(bytes, pReference->second.nFlags | nOffset, eEndian);
            nOffset += pReference->first.ToString().Length() + 1;
        }
        for (const auto* pReference : references)
        {
            const ZString text = pReference->first.ToString().CopyToLower();
            bytes.Append(reinterpret_cast<const uint8_t*>(text.ToCString()), text.Length() + 1);
        }
    }
    return pStream->Write(bytes.GetStart(), bytes.Size()) == bytes.Size();
}

bool ZResourceHeader::Read(IInputStream* pStream, EEndian eEndian)
{
    uint8_t head[FIXED_SIZE];
    if (pStream->Read(head, sizeof head) != sizeof head)
        return false;
    const auto word = [&head, eEndian](size_t n) { return LoadEndian<uint32_t>(head + 4 * n, eEndian); };
    *this = ZResourceHeader(word(0), m_platform);
    m_nReferenceBlockSize = word(1);
    SetSizes(word(3), word(4), word(5));
    if (m_nReferenceBlockSize == 0)
        return true;
    if (m_nReferenceBlockSize > pStream->GetSize())
        return false;
    TArray<uint8_t> block;
    block.Resize(m_nReferenceBlockSize);
    return pStream->Read(block.GetStart(), block.Size()) == block.Size() && ReadReferences(block, eEndian);
}

bool ZResourceHeader::ReadReferences(TArrayRef<const uint8_t> block, EEndian eEndian)
{
    const auto word = [&block, eEndian](uint64_t nOffset)
    { return LoadEndian<uint32_t>(block.GetStart() + nOffset, eEndian); };
    if (block.Size() < 12)
        return false;
    const uint64_t n = word(0);
    const uint64_t nTexts = 8 * n + 12;
    if (nTexts > block.Size() || word(4 * n + 4) != 4 * n + 12 || word(4 * n + 8) != nTexts)
        return false;
    for (uint64_t i = 0; i < n; ++i)
    {
        const uint32_t nWord = word(4 * n + 12 + 4 * i);
        const uint64_t nStart = nTexts + (nWord & OFFSET_MASK);
        if (nStart >= block.Size())
            return false;
        const auto* pText = reinterpret_cast<const char*>(block.GetStart() + nStart);
        const size_t nRoom = block.Size() - nStart;
        const size_t nLength = strnlen(pText, nRoom);
        if (nLength == nRoom)
            return false;
        // Two spellings of one identifier are two references with one lower-cased text; the first one stands for both.
        m_references.Insert(ZString::FromView({pText, nLength}),
                            {static_cast<uint32_t>(i), nWord & ~OFFSET_MASK, word(4 + 4 * i)});
    }
    return true;
}
