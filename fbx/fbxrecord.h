#pragma once

#include "fbx/fbxarena.h"

#include <cstdint>
#include <string>
#include <string_view>

/// What text and binary files have in common: a tree of named records with values. Texts and arrays stay in the file's
/// bytes where that is possible, so a tree lives no longer than those.

/// One value of a record.
///   'I' integer   'D' floating point   'S' text   'R' raw bytes   'W' bare word of a text file
///   'i' 'l' 'f' 'd' 'b' array; bNative says that p is decoded memory, otherwise it is the array's head in the file
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
    uint32_t nName = 0;
    uint32_t nValues = 0;
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

/// A file as records.
struct SFbxRecordTree
{
    FbxArena arena;
    SFbxRecord root;
    int nVersion = 0;
    bool bBinary = false;
    bool bBigEndian = false;
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
