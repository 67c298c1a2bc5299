#pragma once

#include "fbx/load/fbxfiletime.h"
#include "fbx/scene/fbxproperty.h"

class FbxArena;

/// Fills a property from a record: name, type, label (not in files before version 7), flags, values. Texts are copied
/// into the arena, times become ticks of scenes. False when the record is no property.
bool FbxParseProperty(const SFbxRecord& record, bool bLabel, const FbxFileTime& fileTime, FbxArena& arena,
                      SFbxPropertyData& data);
