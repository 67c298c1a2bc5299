#pragma once

#include "fbx/load/fbxscenebuilder.h"

/// Makes a curve of the keys of a channel of files before version 7, which are one list of numbers and letters. pOut
/// stays as it is for a channel without keys; false, with a text, when they can't be read.
bool FbxReadKeyList(const SFbxRecord& channel, int nFileVersion, FbxSceneBuilder& builder, const FbxAnimCurve*& pOut);
