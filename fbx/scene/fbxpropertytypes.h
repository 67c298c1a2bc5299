#pragma once

#include "fbx/scene/fbxproperty.h"

struct SFbxRecord;
class FbxArena;

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

/// Fills a property from a record: name, type, label (not in files before version 7), flags, values. Texts are copied
/// into the arena. False when the record is no property.
bool FbxParseProperty(const SFbxRecord& record, bool bLabel, FbxArena& arena, SFbxPropertyData& data);
