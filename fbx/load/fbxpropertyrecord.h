#pragma once

#include "fbx/scene/fbxproperty.h"

struct SFbxRecord;
class FbxArena;

/// Fills a property from a record: name, type, label (not in files before version 7), flags, values. Texts are copied
/// into the arena. False when the record is no property.
bool FbxParseProperty(const SFbxRecord& record, bool bLabel, FbxArena& arena, SFbxPropertyData& data);
