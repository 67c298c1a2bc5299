#pragma once

#include "base/collections/tarray.h"
#include "base/misc/export.h"
#include "base/misc/hash.h"
#include "base/typeinfo/zobjectref.h"

#include <cstdint>
#include <string_view>

/// Byte string of 16 bytes, always with a zero byte behind the text.
///
///   offset size
///      0     8  pointer to the text
///      8     4  length; the top bit marks text that the string does not own
///     12     4  bytes allocated, 0 for text that it does not own
///
/// A literal becomes a string without allocating (ReferenceCString, or the constructor from text). A copy always owns
/// its text, so it may outlive what it was copied from; a move keeps what it finds. Case means A to Z.
class ZString
{
public:
    static constexpr uint32_t BORROWED_BIT = 0x80000000u;
    static constexpr size_t NOT_FOUND = static_cast<size_t>(-1);

    ZString() = default;
    /// Borrows: for literals. A static string made so exists before any code runs. The text ends at its first zero
    /// byte; an array without one halts, or does not compile where it is constant.
    template <size_t N>
    constexpr ZString(const char (&szLiteral)[N])
        : m_pText(const_cast<char*>(szLiteral)), m_nLength(LengthWithin(szLiteral, N) | BORROWED_BIT)
    {
    }
    /// A buffer is not a literal: its length and its life are not known here.
    template <size_t N>
    ZString(char (&buffer)[N]) = delete;
    ZString(const ZString& other) { Assign(other.ToCString(), other.Length()); }
    ZString(ZString&& other) noexcept { Swap(other); }
    ~ZString() { Free(); }
    ZString& operator=(const ZString& other)
    {
        if (this != &other)
            Assign(other.ToCString(), other.Length());
        return *this;
    }
    ZString& operator=(ZString&& other) noexcept
    {
        Swap(other);
        return *this;
    }

    Z_EXPORT static ZString ReferenceCString(const char* szText);
    Z_EXPORT static ZString AllocateFromCString(const char* szText);
    /// `nLength` counts what is read; the string ends at a zero byte inside it, if there is one.
    Z_EXPORT static ZString AllocateFromCString(const char* szText, size_t nLength);
    static ZString FromView(std::string_view text)
    {
        ZString result;
        result.Assign(text.data(), text.size());
        return result;
    }
    Z_EXPORT void GetCStringCopy(const char* szText);
    /// An empty string that grows inside the caller's buffer, up to nSize - 1 characters, before it allocates.
    Z_EXPORT static ZString PlacementReserve(char* pBuffer, size_t nSize);

    bool IsEmpty() const { return Length() == 0; }
    uint32_t Length() const { return m_nLength & ~BORROWED_BIT; }
    bool IsBorrowed() const { return (m_nLength & BORROWED_BIT) != 0; }
    const char* ToCString() const { return m_pText != nullptr ? m_pText : ""; }
    std::string_view View() const { return {ToCString(), Length()}; }
    char operator[](size_t nIndex) const
    {
        ZASSERT_OR_HALT(nIndex < Length());
        return m_pText[nIndex];
    }

    friend bool operator==(const ZString& a, const ZString& b) { return a.View() == b.View(); }
    friend bool operator==(const ZString& a, const char* szB) { return a.View() == szB; }
    friend bool operator<(const ZString& a, const ZString& b) { return a.View() < b.View(); }

    /// Below, at or above zero as this stands before, beside or behind the other, case ignored.
    Z_EXPORT int ICompare(const ZString& other) const;
    uint32_t GetHashCode() const { return HashBytes(ToCString(), Length()); }

    Z_EXPORT void ToLower();
    Z_EXPORT ZString CopyToLower() const;
    /// White space is blank, tab, line feed and carriage return.
    Z_EXPORT void Trim();
    Z_EXPORT ZString CopyTrim() const;

    void Append(const ZString& text) { Append(text.View()); }
    void Append(const char* szText) { Append(std::string_view(szText)); }
    void Append(char c) { Append(std::string_view(&c, 1)); }
    Z_EXPORT void Append(std::string_view text);
    friend ZString operator+(const ZString& a, const ZString& b)
    {
        ZString result(a);
        result.Append(b.View());
        return result;
    }

    Z_EXPORT void Replace(char cOld, char cNew);
    Z_EXPORT ZString CopyReplace(char cOld, char cNew) const;
    Z_EXPORT void Remove(size_t nStart, size_t nCount);
    /// A count of -1 means to the end; parts beyond the text are cut off.
    Z_EXPORT ZString Substring(size_t nStart, size_t nCount = NOT_FOUND) const;

    bool StartsWith(const ZString& text) const { return View().starts_with(text.View()); }
    bool EndsWith(const ZString& text) const { return View().ends_with(text.View()); }

    /// Each gives NOT_FOUND, the highest 64-bit value, when there is no match.
    size_t IndexOf(const ZString& text, size_t nStart = 0) const { return View().find(text.View(), nStart); }
    size_t IndexOf(char c, size_t nStart = 0) const { return View().find(c, nStart); }
    Z_EXPORT size_t IIndexOf(const ZString& text, size_t nStart = 0) const;
    size_t LastIndexOf(char c) const { return View().rfind(c); }

    /// The pieces between separators; one piece, possibly empty, when there is none.
    Z_EXPORT TArray<ZString> Split(char cSeparator) const;

    /// Replaces {n} by argument n and {n,.2} by argument n with two decimals (any one digit). Numbers may repeat or
    /// come in any order. What is no such form, or names an argument that was not given, stays as it stands.
    template <class... TArgs>
    requires(sizeof...(TArgs) <= 11) static ZString Format(const ZString& format, const TArgs&... args)
    {
        ZString result;
        result.FormatInplace(format, args...);
        return result;
    }
    template <class... TArgs>
    requires(sizeof...(TArgs) <= 11) void FormatInplace(const ZString& format, const TArgs&... args)
    {
        const ZVariantRef arguments[] = {ZVariantRef(args)..., ZVariantRef()};
        FormatArguments(format, {arguments, sizeof...(TArgs)});
    }
    Z_EXPORT void FormatArguments(const ZString& format, TArrayRef<const ZVariantRef> arguments);

private:
    ZString(const char* pText, size_t nLength, uint32_t nFlag)
        : m_pText(const_cast<char*>(pText)), m_nLength(static_cast<uint32_t>(nLength) | nFlag)
    {
    }
    static constexpr uint32_t LengthWithin(const char* pText, size_t nSize)
    {
        const std::string_view text(pText, nSize);
        const size_t nLength = text.find('\0');
        if (nLength == std::string_view::npos)
            throw zhalt_exception();
        return static_cast<uint32_t>(nLength);
    }
    Z_EXPORT void Assign(const char* pText, size_t nLength);
    Z_EXPORT void Free();
    void MakeOwn(size_t nCapacity);
    void Swap(ZString& other) noexcept
    {
        std::swap(m_pText, other.m_pText);
        std::swap(m_nLength, other.m_nLength);
        std::swap(m_nAllocated, other.m_nAllocated);
    }

    char* m_pText = nullptr;
    uint32_t m_nLength = 0;
    uint32_t m_nAllocated = 0; ///< with BORROWED_BIT in m_nLength: room in the caller's buffer, else on the heap
};
static_assert(sizeof(ZString) == 16, "packed records hold it in place");
Z_TYPE_NAME(ZString, "ZString");

/// What a ZString is inside a serialised block.
struct SStringLayout
{
    uint64_t nPointer;
    uint32_t nLength;
    uint32_t nAllocated;
};

template <class T>
struct TTypeName<TArray<T>>
{
    static const char* Get()
    {
        static const char* const s_arguments[] = {TTypeName<T>::Get()};
        static const ZTypeNameBuilder s_name("TArray", s_arguments, 1);
        return s_name.Get();
    }
};

/// Text reduced to its 32-bit hash. The text is not kept: serialised, compared and printed as the hash.
class ZHashedString
{
public:
    ZHashedString() = default;
    explicit ZHashedString(const ZString& text) : m_nHash(text.GetHashCode()) {}
    explicit ZHashedString(uint32_t nHash) : m_nHash(nHash) {}

    uint32_t GetHashCode() const { return m_nHash; }
    operator unsigned int() const { return m_nHash; }
    friend bool operator==(const ZHashedString& a, const ZHashedString& b) { return a.m_nHash == b.m_nHash; }

private:
    uint32_t m_nHash = HashBytes("", 0);
};
static_assert(sizeof(ZHashedString) == 4);
Z_TYPE_NAME(ZHashedString, "ZHashedString");

/// The same with case folded: texts that differ in case only have one hash.
class ZCaseInsensitiveHashedString : public ZHashedString
{
public:
    ZCaseInsensitiveHashedString() = default;
    explicit ZCaseInsensitiveHashedString(const ZString& text)
        : ZHashedString(HashBytes(text.ToCString(), text.Length(), true))
    {
    }
};
