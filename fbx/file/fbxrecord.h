#pragma once

#include "fbx/memory/fbxarena.h"

#include <bit>
#include <cstdint>
#include <string>
#include <string_view>

/// What text and binary files have in common: a tree of named records with values. Texts and arrays stay in the file's
/// bytes where that is possible, so a tree lives no longer than those.

/// One value of a record.
///   'I' integer   'D' floating point   'S' text   'R' raw bytes   'W' bare word of a text file
///   'U' the rest of a record's values from one on whose letter is not known, as bytes; those behind it are there,
///   empty 'i' 'l' 'f' 'd' 'b' array; bNative says that p is decoded memory, otherwise it is the array's head in the
///   file
struct SFbxValue
{
    union
    {
        int64_t i;
        double d;
        const char* p;
    };
    uint32_t n; ///< bytes of a text, elements of an array
    char type;
    bool bNative;
    char
        letter; ///< of numbers and arrays: the binary file's own letter, C B Z Y I L F D or c for b; 0 from a text file

    bool IsNumber() const { return type == 'I' || type == 'D'; }
    bool IsText() const { return type == 'S' || type == 'W'; }
    bool IsArray() const { return type >= 'a'; }

    int64_t AsInt64() const;
    double AsDouble() const;
    std::string_view AsText() const
    {
        return type == 'S' || type == 'W' || type == 'R' ? std::string_view(p, n) : std::string_view();
    }
    /// A letter: the first one of a word, or the character code of a number; 0 when it is neither.
    char AsLetter() const;
};
static_assert(sizeof(SFbxValue) == 16);

struct SFbxRecord
{
    const char* pName = "";
    uint32_t nValues = 0;
    uint16_t nName = 0;
    bool bBlock = false; ///< has a list of nested records, which may be empty
    const SFbxValue* pValues = nullptr;
    SFbxRecord* pChild = nullptr;
    SFbxRecord* pNext = nullptr;

    std::string_view Name() const { return {pName, nName}; }
    bool Is(std::string_view name) const { return Name() == name; }
    const SFbxRecord* Find(std::string_view name) const
    {
        for (const SFbxRecord* p = pChild; p; p = p->pNext)
            if (p->Is(name))
                return p;
        return nullptr;
    }
    const SFbxValue* Value(uint32_t nIndex) const { return nIndex < nValues ? pValues + nIndex : nullptr; }
    std::string_view Text(uint32_t nIndex) const
    {
        return nIndex < nValues ? pValues[nIndex].AsText() : std::string_view();
    }
    int64_t Int(uint32_t nIndex, int64_t nDefault = 0) const
    {
        return nIndex < nValues ? pValues[nIndex].AsInt64() : nDefault;
    }
};

/// A 32-bit float's bits as a double. Not-a-number keeps all its bits, which a conversion would change.
inline double FbxWiden(uint32_t nBits)
{
    if ((nBits & 0x7f800000u) != 0x7f800000u)
        return static_cast<double>(std::bit_cast<float>(nBits));
    return std::bit_cast<double>(uint64_t(nBits >> 31) << 63 | uint64_t(0x7ff) << 52 |
                                 uint64_t(nBits & 0x7fffffu) << 29);
}

/// The way back, for numbers that came from there.
inline uint32_t FbxNarrow(double f)
{
    const uint64_t nBits = std::bit_cast<uint64_t>(f);
    if ((nBits & uint64_t(0x7ff) << 52) != uint64_t(0x7ff) << 52)
        return std::bit_cast<uint32_t>(static_cast<float>(f));
    return static_cast<uint32_t>(nBits >> 63) << 31 | 0x7f800000u | (static_cast<uint32_t>(nBits >> 29) & 0x7fffffu);
}

/// A file as records.
struct SFbxRecordTree
{
    FbxArena arena;
    SFbxRecord root;
    int nVersion = 0;
    bool bBinary = false;
    bool bBigEndian = false;
    bool bWhole = false;   ///< to be set before reading: nothing is stepped over
    size_t nRecordEnd = 0; ///< of a binary file: where the footer begins
};

/// Where a record stands, as far as that decides what of it is read. A file may hold a thousand times more geometry
/// than animation, so whatever no scene object is made of is stepped over.
enum class EFbxScope : uint8_t
{
    eRoot,
    eObjects,    ///< children are scene objects
    eProperties, ///< an object of which only the properties are wanted
    eModel,      ///< an object of old files that holds its geometry in itself
    eAll,
    eSkip
};

EFbxScope FbxScopeOfChild(EFbxScope eParent, std::string_view name);

/// Limits of both readers.
constexpr size_t kFbxMaxDepth = 1000;
constexpr int kFbxMinVersion = 3000; // what files of version 5 have in their binary head
constexpr int kFbxMaxVersion = 7799;

/// What the bytes are, decided by their head alone.
enum class EFbxFormat
{
    eNone,
    eBinary,
    eText
};
struct SFbxHead
{
    EFbxFormat eFormat = EFbxFormat::eNone;
    int nVersion = 0;
    bool bBigEndian = false;
};
SFbxHead FbxReadHead(const uint8_t* pData, size_t nSize);

/// Both fail with a text in sError. A tree that was filled part of the way is not to be used.
bool FbxReadBinary(const uint8_t* pData, size_t nSize, const SFbxHead& head, SFbxRecordTree& tree, std::string& sError);
bool FbxReadText(const uint8_t* pData, size_t nSize, const SFbxHead& head, SFbxRecordTree& tree, std::string& sError);
