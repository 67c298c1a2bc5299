#include "base/misc/zstring.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace
{

constexpr std::string_view WHITE_SPACE = " \t\n\r";

bool EqualsFolded(const char* pA, const char* pB, size_t nCount)
{
    for (size_t i = 0; i < nCount; ++i)
        if (FoldCase(pA[i]) != FoldCase(pB[i]))
            return false;
    return true;
}

} // namespace

ZString ZString::ReferenceCString(const char* szText)
{
    return {szText, std::strlen(szText), BORROWED_BIT};
}

ZString ZString::AllocateFromCString(const char* szText)
{
    return FromView(szText);
}

ZString ZString::AllocateFromCString(const char* szText, size_t nLength)
{
    return FromView({szText, strnlen(szText, nLength)});
}

void ZString::GetCStringCopy(const char* szText)
{
    Assign(szText, std::strlen(szText));
}

ZString ZString::PlacementReserve(char* pBuffer, size_t nSize)
{
    ZASSERT_OR_HALT(nSize > 0);
    pBuffer[0] = '\0';
    ZString result(pBuffer, 0, BORROWED_BIT);
    result.m_nAllocated = static_cast<uint32_t>(std::min<size_t>(nSize, BORROWED_BIT - 1));
    return result;
}

void ZString::Free()
{
    if (!IsBorrowed())
        GetMemoryManager()->Free(m_pText);
    m_pText = nullptr;
    m_nLength = 0;
    m_nAllocated = 0;
}

/// Makes room for nCapacity characters and a zero byte in memory that may be written, and keeps the text.
void ZString::MakeOwn(size_t nCapacity)
{
    if (nCapacity < m_nAllocated)
        return;
    ZASSERT_OR_HALT(nCapacity < BORROWED_BIT - 1);
    const size_t nLength = Length();
    auto* pText = static_cast<char*>(GetMemoryManager()->Allocate(nCapacity + 1));
    if (pText == nullptr)
        throw std::bad_alloc();
    std::memcpy(pText, ToCString(), nLength);
    pText[nLength] = '\0';
    Free();
    m_pText = pText;
    m_nLength = static_cast<uint32_t>(nLength);
    m_nAllocated = static_cast<uint32_t>(nCapacity + 1);
}

void ZString::Assign(const char* pText, size_t nLength)
{
    ZString fresh;
    if (nLength != 0)
    {
        fresh.MakeOwn(nLength);
        std::memcpy(fresh.m_pText, pText, nLength);
        fresh.m_pText[nLength] = '\0';
        fresh.m_nLength = static_cast<uint32_t>(nLength);
    }
    Swap(fresh);
}

int ZString::ICompare(const ZString& other) const
{
    const size_t nCommon = std::min(Length(), other.Length());
    for (size_t i = 0; i < nCommon; ++i)
    {
        const auto a = static_cast<unsigned char>(FoldCase(m_pText[i]));
        const auto b = static_cast<unsigned char>(FoldCase(other.m_pText[i]));
        if (a != b)
            return a < b ? -1 : 1;
    }
    return Length() == other.Length() ? 0 : Length() < other.Length() ? -1 : 1;
}

void ZString::ToLower()
{
    MakeOwn(Length());
    for (uint32_t i = 0; i < Length(); ++i)
        m_pText[i] = FoldCase(m_pText[i]);
}

ZString ZString::CopyToLower() const
{
    ZString result(*this);
    result.ToLower();
    return result;
}

void ZString::Trim()
{
    *this = CopyTrim();
}

ZString ZString::CopyTrim() const
{
    const std::string_view text = View();
    const size_t nFirst = text.find_first_not_of(WHITE_SPACE);
    if (nFirst == std::string_view::npos)
        return {};
    return FromView(text.substr(nFirst, text.find_last_not_of(WHITE_SPACE) - nFirst + 1));
}

void ZString::Append(std::string_view text)
{
    const size_t nOld = Length();
    if (nOld + text.size() >= m_nAllocated)
    {
        // The piece may be part of this string, so the old memory lives until it is copied.
        ZString fresh;
        fresh.MakeOwn(std::max(nOld + text.size(), nOld + nOld / 2));
        std::memcpy(fresh.m_pText, ToCString(), nOld);
        std::memcpy(fresh.m_pText + nOld, text.data(), text.size());
        fresh.m_nLength = static_cast<uint32_t>(nOld + text.size());
        fresh.m_pText[fresh.m_nLength] = '\0';
        Swap(fresh);
        return;
    }
    std::memmove(m_pText + nOld, text.data(), text.size());
    m_nLength = (m_nLength & BORROWED_BIT) | static_cast<uint32_t>(nOld + text.size());
    m_pText[nOld + text.size()] = '\0';
}

void ZString::Replace(char cOld, char cNew)
{
    MakeOwn(Length());
    std::replace(m_pText, m_pText + Length(), cOld, cNew);
}

ZString ZString::CopyReplace(char cOld, char cNew) const
{
    ZString result(*this);
    result.Replace(cOld, cNew);
    return result;
}

void ZString::Remove(size_t nStart, size_t nCount)
{
    const std::string_view text = View();
    if (nStart >= text.size())
        return;
    ZString result = FromView(text.substr(0, nStart));
    if (nCount < text.size() - nStart)
        result.Append(text.substr(nStart + nCount));
    Swap(result);
}

ZString ZString::Substring(size_t nStart, size_t nCount) const
{
    const std::string_view text = View();
    return nStart >= text.size() ? ZString() : FromView(text.substr(nStart, nCount));
}

size_t ZString::IIndexOf(const ZString& text, size_t nStart) const
{
    const size_t nLength = text.Length();
    for (size_t i = nStart; i + nLength <= Length(); ++i)
        if (EqualsFolded(ToCString() + i, text.ToCString(), nLength))
            return i;
    return NOT_FOUND;
}

TArray<ZString> ZString::Split(char cSeparator) const
{
    TArray<ZString> pieces;
    const std::string_view text = View();
    for (size_t nStart = 0;;)
    {
        const size_t nEnd = text.find(cSeparator, nStart);
        pieces.Add(FromView(text.substr(nStart, nEnd - nStart)));
        if (nEnd == std::string_view::npos)
            return pieces;
        nStart = nEnd + 1;
    }
}
