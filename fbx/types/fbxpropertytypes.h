#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// Data type of a property. The numbers are the ones that users of such libraries know.
enum class EFbxType : int
{
    eUndefined = 0,
    eChar = 1,
    eUChar = 2,
    eShort = 3,
    eUShort = 4,
    eUInt = 5,
    eLongLong = 6,
    eULongLong = 7,
    eHalfFloat = 8,
    eBool = 9,
    eInt = 10,
    eFloat = 11,
    eDouble = 12,
    eDouble2 = 13,
    eDouble3 = 14,
    eDouble4 = 15,
    eDouble4x4 = 16,
    eEnum = 17,
    eString = 18,
    eTime = 19,
    eReference = 20,
    eBlob = 21,
    eDistance = 22,
    eDateTime = 23
};

/// Readable name for messages: "Bool", "Integer", "Double3".
const char* FbxTypeName(EFbxType eType);

/// Flags of a property, as bits. `A` `+` `U` `H` `N` are the letters that files write; locked and muted are masks of
/// three channel bits each.
enum EFbxPropertyFlags : uint32_t
{
    eFbxFlag_Animatable = 1u << 0,
    eFbxFlag_Animated = 1u << 1,
    eFbxFlag_UserDefined = 1u << 2,
    eFbxFlag_Hidden = 1u << 3,
    eFbxFlag_NotSaved = 1u << 4,
    eFbxFlag_LockedShift = 8,
    eFbxFlag_MutedShift = 12
};

/// What a type name of a file stands for.
struct SFbxTypeInfo
{
    std::string_view name;
    EFbxType eType;
    uint8_t nChannels;
};

/// Null for a name that means nothing; a property of such a type is dropped.
const SFbxTypeInfo* FbxFindType(std::string_view name);

uint32_t FbxParseFlags(std::string_view text);
std::string FbxFlagsText(uint32_t nFlags);
